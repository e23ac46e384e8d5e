#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// The plain commands of a text that a shell was told to run, as words without quotes. Redirections and
/// comments are left out; what the text would only produce while it runs stays as it is written.
class ShellText {
public:
    explicit ShellText(std::string_view text) : m_rest(text) {}

    /// The next command's words; absent at the end. Keywords ("then", "do") are words, and what separates
    /// commands may leave none in between.
    [[nodiscard]] std::optional<std::vector<std::string>> nextCommand();

    /// Whether the last command reads what another one writes, as behind "|".
    [[nodiscard]] bool isFed() const { return m_isFed; }

    /// Whether what was read up to now may hold commands that are not shown: a substitution within quotes, a
    /// here-document, quotes that shells read differently. A function may stand for any command.
    [[nodiscard]] bool mayHideCommands() const { return m_mayHideCommands; }

private:
    void passSeparator(const std::vector<std::string>& words);
    void takeWord(std::vector<std::string>& words);
    void passRedirection(std::vector<std::string>& words);
    [[nodiscard]] std::string readWord();
    void readQuoted(std::string& word);
    void readInDoubleQuotes(std::string& word);
    void passClosing();

    std::string_view m_rest;
    bool m_isFed = false;
    bool m_feedsNext = false;
    bool m_mayHideCommands = false;
};

} // namespace VintrelCore
