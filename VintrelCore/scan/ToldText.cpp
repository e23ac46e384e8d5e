#include "VintrelCore/scan/ToldText.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/GoBetweens.h"
#include "VintrelCore/scan/OptionWalk.h"
#include "VintrelCore/scan/ShellCommands.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <vector>

namespace VintrelCore::ToldText {

namespace {

using CommandWords::Words;
using GoBetweens::GoBetween;
using GoBetweens::OptionWalk;

/// Null for any other program.
const GoBetween* shellNamed(std::string_view program) {
    const std::string_view name = ToolNames::lastComponent(program);
    return CommandWords::isListed("sh dash bash", name) ? GoBetweens::find(name) : nullptr;
}

/// A view into the words.
std::optional<std::string_view> textIn(const GoBetween& shell, Words arguments) {
    OptionWalk walk(shell, arguments);
    const bool isText = walk.next() == OptionWalk::Stop::operand && walk.isTextNext();
    const bool isOption = walk.value().starts_with('+'); // one that is switched off
    return isText && !isOption ? std::optional(walk.value()) : std::nullopt;
}

/// The same for a whole command, the program first.
std::optional<std::string_view> textIn(Words words) {
    const GoBetween* const shell = words.empty() ? nullptr : shellNamed(words.front());
    return shell != nullptr ? textIn(*shell, words.subspan(1)) : std::nullopt;
}

} // namespace

bool isToldText(std::string_view command) {
    std::string_view rest = command;
    const GoBetween* const shell = shellNamed(Text::takeWord(rest));
    return shell != nullptr && textIn(*shell, CommandWords::wordsOf(rest)).has_value();
}

std::optional<std::string> textOfOneProgram(std::span<const std::string> arguments) {
    const auto text = textIn(CommandWords::wordsOf(arguments));
    // Brackets stand for substitutions, too.
    const bool isOneCommand = text && text->find_first_of(";&|()`\n") == std::string_view::npos;
    return isOneCommand ? std::optional<std::string>(*text) : std::nullopt;
}

bool isToldOneThing(std::span<const std::string> arguments) {
    const auto text = textIn(CommandWords::wordsOf(arguments));
    if (!text) {
        return false;
    }
    int lasting = 0;
    bool isPlain = true;
    const auto look = [&](Words command, int /*left*/) {
        ++lasting;
        // In a loop, variables make several things of one.
        isPlain = isPlain && std::ranges::none_of(command, [](auto word) { return word.contains('$'); });
    };
    return ShellCommands::visitLasting(*text, GoBetweens::deepest, look) && isPlain && lasting <= 1;
}

} // namespace VintrelCore::ToldText
