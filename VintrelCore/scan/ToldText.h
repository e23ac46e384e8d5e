#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

/// What a shell was told by "-c" to run: of the shells that package runners use, and others that run commands
/// for programs (sh, dash, bash).
///
/// Pure and without state; may be called from any thread.
namespace VintrelCore::ToldText {

/// Whether a command is such a shell, as in "sh -c vite" or "bash -lc vite".
[[nodiscard]] bool isToldText(std::string_view command);

// From exact arguments: ps prints a line feed, which separates commands, as a blank.

/// The text, when that is one plain command: then what the shell started is that command's. Absent otherwise,
/// and for any other program.
[[nodiscard]] std::optional<std::string> textOfOneProgram(std::span<const std::string> arguments);

/// Whether the text has the shell run no more than one command that lasts, once or again and again. False
/// where that cannot be told, and for any other program.
[[nodiscard]] bool isToldOneThing(std::span<const std::string> arguments);

} // namespace VintrelCore::ToldText
