#include "VintrelCore/scan/Interpreters.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <array>

namespace VintrelCore::Interpreters {

bool canBeTitle(std::string_view command) {
    constexpr std::string_view shells = "sh bash dash zsh fish ksh";
    const std::string_view word = Text::takeWord(command);
    const bool isSpecial = word.empty() || word.front() == '[' || word.front() == '-';
    return !isSpecial && !word.contains('/') && !CommandWords::isListed(shells, word) &&
           interpreterIn(word).empty();
}

std::string_view interpreterIn(std::string_view executable) {
    struct Interpreter {
        std::string_view file; // without version
        std::string_view name;
    };

    constexpr auto interpreters = std::to_array<Interpreter>({{"node", "node"},
                                                              {"nodejs", "node"},
                                                              {"bun", "bun"},
                                                              {"deno", "deno"},
                                                              {"python", "python"},
                                                              {"pypy", "python"}});
    constexpr std::string_view deleted = " (deleted)"; // it was upgraded meanwhile
    if (executable.ends_with(deleted)) {
        executable.remove_suffix(deleted.size());
    }
    const std::string_view file = ToolNames::plainName(ToolNames::lastComponent(executable));
    const auto found = std::ranges::find(interpreters, file, &Interpreter::file);
    return found != interpreters.end() ? found->name : std::string_view();
}

} // namespace VintrelCore::Interpreters
