#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// The programs that run others, and how their command lines tell which. Lists of words are separated by
/// blanks.
namespace VintrelCore::GoBetweens {

/// More levels of programs that start programs than anything real has.
inline constexpr int deepest = 8;

enum class Sort : uint8_t {
    interpreter, ///< runs a script or a module
    runner,      ///< runs a package, or a script of the project's
    launcher,    ///< starts another program as it is
    shell,
    browser,
};

/// One program, or several whose command lines are alike.
struct GoBetween {
    std::string_view names; ///< without suffix and version
    Sort sort;
    std::string_view valued{};  ///< options that take the next word
    std::string_view code{};    ///< options that bring the code along: no script follows
    std::string_view module{};  ///< options whose value is the module to run
    std::string_view package{}; ///< options whose value is the package that a command is taken from
    std::string_view text{};    ///< options whose value is a text for a shell
    /// What stands before the command, the longest first and separated by "|": "run"; "*" for any word, "#"
    /// for a version of Node.
    std::string_view phrases{};
    bool needsPhrase = false;    ///< without one of them it does something else
    size_t operands = 0;         ///< words of its own before the command
    bool takesVariables = false; ///< NAME=VALUE before the command
    bool isScript = false;       ///< itself found as the script of an interpreter
    bool runsAnyProgram = false; ///< a runner's command is a program's name, never a script's of the project
    bool runsInShell = false;    ///< a launcher whose command is a text for a shell, in one word or several
    bool runsScripts = false; ///< a runner that runs a project's script of several commands without a shell
    bool runsFiles = false;   ///< a runner that is an interpreter as well, and runs a file by itself
};

/// By the last component of a program's path, which may be a browser's within its bundle, such as "Google
/// Chrome Helper"; null for any other program.
[[nodiscard]] const GoBetween* find(std::string_view program);

} // namespace VintrelCore::GoBetweens
