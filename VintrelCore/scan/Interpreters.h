#pragma once

#include <string>
#include <string_view>

/// Tools that run in an interpreter may take a title that does not name it: "webpack", "ng serve". Only the
/// file that runs tells what they are.
namespace VintrelCore::Interpreters {

/// Whether a command line can be a title at all: it begins with neither a path nor the name of an interpreter
/// or a shell. A hyphen marks a login shell. The kernel's own processes, in brackets, have no file that runs.
[[nodiscard]] bool canBeTitle(std::string_view command);

/// The name that the interpreter in this file goes by in command lines: "node", "bun", "deno" or "python"; ""
/// for any other program.
[[nodiscard]] std::string_view interpreterIn(std::string_view executable);

} // namespace VintrelCore::Interpreters
