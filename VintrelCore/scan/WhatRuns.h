#pragma once

#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/RiskTier.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// The words of a command line say what a process was told, not what it is: a browser is told an address, an
/// editor a file, and either may be named like a test runner. What runs is the program itself; the script of
/// an interpreter; the package of a package runner; and what launchers and a shell's "-c" launch. Only a tool
/// that is found there may be ended without a question.
///
/// Pure and without state; may be called from any thread.
namespace VintrelCore::WhatRuns {

/// Where the words that make a kind stand.
enum class Found : uint8_t {
    program,  ///< the program itself, by its whole path
    script,   ///< what an interpreter runs: a script, a module, or the title that a tool gave itself
    package,  ///< the package or script that a package runner was told to run
    launched, ///< what a launcher or a shell was told to start
    profile,  ///< the folder in which an automated browser keeps its profile
    nowhere,  ///< only in arguments, or not at all
};

/// Decides by the exact arguments, the program's name first, as the kernel keeps them. A process that wrote
/// its title over them has that in one piece, followed by empty ones. Always `nowhere` for kinds that are
/// never swept.
[[nodiscard]] Found foundIn(ProcessKind kind, std::span<const std::string> arguments);

/// The same for a command line whose arguments were joined by blanks. It cannot know where a name with blanks
/// ends; use it only where the exact arguments cannot be had.
[[nodiscard]] Found foundInLine(ProcessKind kind, std::string_view line);

/// Whether the process is a browser that a Playwright MCP server started: one whose profile lies in one of
/// the folders that the server uses.
[[nodiscard]] bool isPlaywrightMCPBrowser(std::span<const std::string> arguments);
[[nodiscard]] bool isPlaywrightMCPBrowser(std::string_view line);

/// The tier of a process whose tool was found there: what is named only in its arguments is not easy to end.
/// Nothing ever becomes easier.
[[nodiscard]] RiskTier tierOf(RiskTier tier, Found found);

} // namespace VintrelCore::WhatRuns
