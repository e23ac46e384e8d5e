#include "Vintrel/shell/linux/DesktopEntry.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <utility>

namespace Vintrel {

namespace Text = VintrelCore::Text;

namespace {

constexpr std::string_view groupHeader = "[Desktop Entry]";
constexpr std::string_view blanks =
    " \t\r"; // also what an editor of another system leaves before a line feed

/// Letters that stand behind a backslash, and what they mean.
constexpr auto escapes = std::to_array<std::pair<char, char>>(
    {{'s', ' '}, {'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'\\', '\\'}, {';', ';'}});

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isHeader(std::string_view line) {
    return trimmed(line).starts_with('[');
}

/// The pieces between separators that no backslash stands before, escapes resolved.
std::vector<std::string> unescapedPieces(std::string_view raw, std::optional<char> separator) {
    std::vector<std::string> pieces(1);
    for (size_t index = 0; index < raw.size(); ++index) {
        if (raw[index] == separator) {
            pieces.emplace_back();
            continue;
        }
        if (raw[index] == '\\' && index + 1 < raw.size()) {
            const auto* const escape =
                std::ranges::find(escapes, raw[index + 1], &std::pair<char, char>::first);
            if (escape != escapes.end()) {
                pieces.back() += escape->second;
                ++index;
                continue;
            }
        }
        pieces.back() += raw[index];
    }
    return pieces;
}

std::string escaped(std::string_view value) {
    std::string raw;
    for (const char character : value) {
        const bool isBlank = character == ' ';
        const auto* const escape = std::ranges::find(escapes, character, &std::pair<char, char>::second);
        const bool isPlain = escape == escapes.end() || character == ';' || (isBlank && !raw.empty());
        raw += isPlain ? std::string(1, character) : std::string{'\\', escape->first};
    }
    return raw;
}

} // namespace

std::string_view DesktopEntry::Line::key() const {
    const std::string_view line = text;
    const auto sign = line.find('=');
    const bool isKey = sign != std::string_view::npos && !line.starts_with('#') && !isHeader(line);
    return isKey ? trimmed(line.substr(0, sign)) : std::string_view();
}

std::string_view DesktopEntry::Line::rawValue() const {
    return trimmed(std::string_view(text).substr(text.find('=') + 1));
}

DesktopEntry::DesktopEntry(std::string_view text) {
    bool isInGroup = false;
    for (const std::string_view line : Text::split(text, '\n')) {
        if (isHeader(line)) {
            isInGroup = trimmed(line) == groupHeader;
        }
        m_lines.push_back({.text = std::string(line), .isInGroup = isInGroup});
    }
    if (m_lines.back().text.empty()) {
        m_lines.pop_back(); // what follows the last line feed is no line
    }
}

std::string DesktopEntry::text() const {
    std::string text;
    for (const Line& line : m_lines) {
        text += line.text + "\n";
    }
    return text;
}

const DesktopEntry::Line* DesktopEntry::last(std::string_view key) const {
    const auto isThat = [key](const Line& line) { return line.isInGroup && line.key() == key; };
    const auto found = std::ranges::find_if(m_lines | std::views::reverse, isThat);
    return found == m_lines.rend() ? nullptr : &*found;
}

std::optional<std::string> DesktopEntry::value(std::string_view key) const {
    const Line* const line = last(key);
    return line != nullptr ? std::optional(unescapedPieces(line->rawValue(), std::nullopt).front())
                           : std::nullopt;
}

std::optional<bool> DesktopEntry::flag(std::string_view key) const {
    const std::string text = Text::asciiLowered(value(key).value_or(""));
    if (text == "true" || text == "1") {
        return true;
    }
    return text == "false" || text == "0" ? std::optional(false) : std::nullopt;
}

std::optional<std::vector<std::string>> DesktopEntry::list(std::string_view key) const {
    const Line* const line = last(key);
    return line != nullptr ? std::optional(unescapedPieces(line->rawValue(), ';')) : std::nullopt;
}

void DesktopEntry::set(std::string_view key, std::string_view value) {
    std::string text = std::string(key) + "=" + escaped(value);
    const auto isThat = [key](const Line& line) { return line.isInGroup && line.key() == key; };
    if (const auto found = std::ranges::find_if(m_lines | std::views::reverse, isThat);
        found != m_lines.rend()) {
        found->text = std::move(text) + (found->text.ends_with('\r') ? "\r" : "");
        return;
    }
    if (std::ranges::none_of(m_lines, &Line::isInGroup)) { // it has to be the first group
        const auto first =
            std::ranges::find_if(m_lines, [](const Line& line) { return isHeader(line.text); });
        m_lines.insert(first, {.text = std::string(groupHeader), .isInGroup = true});
    }
    auto end = std::ranges::find_if(m_lines | std::views::reverse, &Line::isInGroup).base();
    while (trimmed(std::prev(end)->text).empty()) {
        --end; // before the blank lines that set the next group apart
    }
    m_lines.insert(end, {.text = std::move(text), .isInGroup = true});
}

void DesktopEntry::remove(std::string_view key) {
    std::erase_if(m_lines, [key](const Line& line) { return line.isInGroup && line.key() == key; });
}

bool DesktopEntry::holdsOnly(std::span<const std::string_view> keys) const {
    return std::ranges::all_of(m_lines, [keys](const Line& line) {
        const bool isKnown = line.isInGroup && std::ranges::find(keys, line.key()) != keys.end();
        return isKnown || trimmed(line.text).empty() || trimmed(line.text) == groupHeader;
    });
}

std::optional<std::string> DesktopEntry::commandFor(std::string_view program) {
    if (program.empty() || program.contains('=') || program.contains('\0')) {
        return std::nullopt;
    }
    constexpr std::string_view reserved = " \t\n\r\"'\\><~|&;$*?#()`";
    constexpr std::string_view escapedInQuotes = "\"`$\\";
    const std::string_view quote = program.find_first_of(reserved) != std::string_view::npos ? "\"" : "";
    std::string command(quote);
    for (const char character : program) {
        if (escapedInQuotes.contains(character)) {
            command += '\\';
        }
        command += character == '%' ? "%%" : std::string(1, character);
    }
    return command + std::string(quote);
}

} // namespace Vintrel
