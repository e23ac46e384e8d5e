#include "VintrelCore/scan/CommandWords.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <cstddef>

namespace VintrelCore::CommandWords {

namespace {

/// Whether a process' only argument is a title that it wrote, and no path with blanks in it. Browsers write
/// their children's whole command line there, and that begins with a path.
bool isTitle(std::string_view argument) {
    const auto blank = argument.find(' ');
    if (blank == std::string_view::npos) {
        return false;
    }
    const bool isPath = argument.substr(0, blank).contains('/');
    return !isPath || argument.substr(blank).starts_with(" -");
}

/// Where a joined line's program ends. Names of applications on macOS hold blanks, as in
/// "/Applications/Google Chrome.app/Contents/MacOS/Google Chrome --type=renderer": what has no slash up to
/// the first option belongs to it.
size_t programEnd(std::string_view line) {
    constexpr std::string_view bundle = ".app/Contents/MacOS/";
    const auto inBundle = line.find(bundle);
    if (!line.starts_with('/') || inBundle == std::string_view::npos) {
        return 0;
    }
    const auto end = std::min(line.find(" -", inBundle), line.size());
    return line.substr(0, end).rfind('/') < inBundle + bundle.size() ? end : 0;
}

} // namespace

std::vector<std::string_view> wordsOf(std::span<const std::string> arguments) {
    // What a shorter title left of the arguments is empty.
    while (!arguments.empty() && arguments.back().empty()) {
        arguments = arguments.first(arguments.size() - 1);
    }
    if (arguments.size() == 1 && isTitle(arguments.front())) {
        return wordsOf(arguments.front());
    }
    return {arguments.begin(), arguments.end()};
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    line = line.substr(0, line.find_last_not_of(' ') + 1); // of blanks alone: npos + 1 is 0
    if (const size_t end = programEnd(line); end > 0) {
        words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
    for (auto word = Text::takeWord(line); !word.empty(); word = Text::takeWord(line)) {
        words.push_back(word);
    }
    return words;
}

std::string joined(Words words) {
    std::string text;
    for (const std::string_view word : words) {
        text.append(text.empty() ? "" : " ").append(word);
    }
    return text;
}

bool isListed(std::string_view list, std::string_view word) {
    if (word.empty() || word.contains(' ')) {
        return false;
    }
    for (auto at = list.find(word); at != std::string_view::npos; at = list.find(word, at + 1)) {
        const size_t end = at + word.size();
        if ((at == 0 || list[at - 1] == ' ') && (end == list.size() || list[end] == ' ')) {
            return true;
        }
    }
    return false;
}

bool isAssignment(std::string_view word) {
    const auto isOfName = [](char byte) {
        return byte == '_' || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
               (byte >= 'a' && byte <= 'z');
    };
    const auto sign = word.find('=');
    return sign != std::string_view::npos && sign > 0 && std::ranges::all_of(word.substr(0, sign), isOfName);
}

} // namespace VintrelCore::CommandWords
