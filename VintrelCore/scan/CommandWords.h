#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The words of a command line, and lists of words as the tables of what runs hold them.
namespace VintrelCore::CommandWords {

/// The program and its arguments.
using Words = std::span<const std::string_view>;

/// Views into `arguments`. A title in place of them is taken apart at its blanks.
[[nodiscard]] std::vector<std::string_view> wordsOf(std::span<const std::string> arguments);

/// Views into `line`, taken apart at its blanks.
[[nodiscard]] std::vector<std::string_view> wordsOf(std::string_view line);

/// With a blank between each two.
[[nodiscard]] std::string joined(Words words);

/// Whether `word` is one of those in `list`, which blanks separate.
[[nodiscard]] bool isListed(std::string_view list, std::string_view word);

/// Whether a word sets a variable, as in NAME=VALUE.
[[nodiscard]] bool isAssignment(std::string_view word);

} // namespace VintrelCore::CommandWords
