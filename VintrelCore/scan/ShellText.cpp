#include "VintrelCore/scan/ShellText.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace VintrelCore {

namespace {

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view separators = ";&|()\n`";
constexpr std::string_view wordEnds = " \t\r;&|()\n`<>";

bool isIn(std::string_view set, char byte) {
    return set.find(byte) != std::string_view::npos;
}

/// "2" in "2>&1" is no word.
bool isDescriptor(std::string_view word) {
    return word.size() == 1 && word.front() >= '0' && word.front() <= '9';
}

} // namespace

std::optional<std::vector<std::string>> ShellText::nextCommand() {
    if (m_rest.empty()) {
        return std::nullopt;
    }
    m_isFed = std::exchange(m_feedsNext, false);
    std::vector<std::string> words;
    while (!m_rest.empty()) {
        const char byte = m_rest.front();
        if (isIn(blanks, byte)) {
            m_rest.remove_prefix(1);
        } else if (byte == '#') {
            m_rest.remove_prefix(std::min(m_rest.find('\n'), m_rest.size()));
        } else if (byte == '<' || byte == '>' || m_rest.starts_with("&>")) {
            passRedirection(words);
        } else if (isIn(separators, byte)) {
            passSeparator(words);
            return words;
        } else {
            takeWord(words);
        }
    }
    return words;
}

void ShellText::passSeparator(const std::vector<std::string>& words) {
    const char byte = m_rest.front();
    m_rest.remove_prefix(1);
    const std::string_view last = words.empty() ? std::string_view() : std::string_view(words.back());
    m_feedsNext = (byte == '|' && !words.empty()) || (byte == '(' && last == ">");
    const bool isSubstitution = last.ends_with('$') || last == "<" || last == ">";
    if (byte == '(' && !words.empty() && !isSubstitution) {
        m_mayHideCommands = true; // a function's name, for one
    }
}

void ShellText::takeWord(std::vector<std::string>& words) {
    std::string word = readWord();
    const bool redirects = !m_rest.empty() && isIn("<>", m_rest.front()) && isDescriptor(word);
    if (!redirects) {
        words.push_back(std::move(word));
    }
}

void ShellText::passRedirection(std::vector<std::string>& words) {
    if (m_rest.starts_with("<(") || m_rest.starts_with(">(")) {
        // Another command takes a file's place: its words are no redirection's.
        words.emplace_back(m_rest.substr(0, 1));
        m_rest.remove_prefix(1);
        return;
    }
    m_mayHideCommands = m_mayHideCommands || (m_rest.starts_with("<<") && !m_rest.starts_with("<<<"));
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of("<>&|-"), m_rest.size()));
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(blanks), m_rest.size()));
    if (!m_rest.empty() && !isIn(wordEnds, m_rest.front())) {
        static_cast<void>(readWord());
    }
}

std::string ShellText::readWord() {
    std::string word;
    while (!m_rest.empty() && !isIn(wordEnds, m_rest.front())) {
        const char byte = m_rest.front();
        if (byte == '\'' || byte == '"') {
            readQuoted(word);
        } else if (byte == '\\') {
            m_rest.remove_prefix(1);
            const auto escaped = m_rest.substr(0, 1);
            word += escaped == "\n" ? "" : escaped;
            m_rest.remove_prefix(escaped.size());
        } else {
            word += byte;
            m_rest.remove_prefix(1);
        }
    }
    return word;
}

void ShellText::readQuoted(std::string& word) {
    const char quote = m_rest.front();
    m_rest.remove_prefix(1);
    if (quote == '"') {
        readInDoubleQuotes(word);
        return;
    }
    const std::string_view quoted = m_rest.substr(0, m_rest.find('\''));
    // Some shells take a backslash for an escape there, and so do all of them behind "$".
    if (quoted.ends_with('\\') || word.ends_with('$')) {
        m_mayHideCommands = true;
    }
    word += quoted;
    m_rest.remove_prefix(quoted.size());
    passClosing();
}

void ShellText::readInDoubleQuotes(std::string& word) {
    while (!m_rest.empty() && m_rest.front() != '"') {
        if (m_rest.starts_with("$(") || m_rest.front() == '`') {
            m_mayHideCommands = true;
        }
        const bool isEscape = m_rest.size() > 1 && m_rest.front() == '\\' && isIn("$`\"\\\n", m_rest[1]);
        m_rest.remove_prefix(isEscape ? 1 : 0);
        word += m_rest.front();
        m_rest.remove_prefix(1);
    }
    passClosing();
}

void ShellText::passClosing() {
    m_mayHideCommands = m_mayHideCommands || m_rest.empty();
    m_rest.remove_prefix(m_rest.empty() ? 0 : 1);
}

} // namespace VintrelCore
