#pragma once

#include "VintrelCore/model/ProcessKind.h"

#include <string>
#include <string_view>

/// Which names of programs, scripts and packages make a process the tool of a kind. Only for kinds that may
/// be swept; the others have none.
namespace VintrelCore::ToolNames {

/// What names something, without suffix and version: "vitest" for "vitest.mjs", "yarn" for
/// "yarn-1.22.22.cjs".
[[nodiscard]] std::string_view plainName(std::string_view name);

/// The same for a script of an unfinished version: "yarn" for "yarn-4.0.0-rc.53.cjs"; "" for any other name.
[[nodiscard]] std::string_view plainNameOfPrerelease(std::string_view name);

/// As in "vitest.mjs". Commands have none: such a file that is not installed is a script of the project's.
[[nodiscard]] bool hasScriptSuffix(std::string_view name);

/// What follows the last slash of a path; "" when that is nothing.
[[nodiscard]] std::string_view lastComponent(std::string_view path);

/// The package that a path leads into, to a file, by the innermost folder in which package managers install,
/// such as node_modules: "vitest", "@playwright/mcp"; "" when there is none.
[[nodiscard]] std::string packageOf(std::string_view path);

/// Whether a path leads to a file where programs and packages are installed: in a bin folder, or in a
/// package. Files elsewhere are a project's own, whatever their names are.
[[nodiscard]] bool isInstalled(std::string_view path);

/// Whether a program is the tool: by the name of its file, or by the package that holds it. Other folders
/// prove nothing.
[[nodiscard]] bool isToolsFile(ProcessKind kind, std::string_view path);

/// The same for what an interpreter was told to run, which may also be a folder or a file of the project's
/// ("tests/playwright", "playwright.py"): only an installed one is the tool.
[[nodiscard]] bool isToolsScript(ProcessKind kind, std::string_view path);

/// A module of Python's, as in "-m pytest".
[[nodiscard]] bool isToolsModule(ProcessKind kind, std::string_view module);

/// What a package runner is told to run: a package with scope and version ("@playwright/mcp@latest"), the
/// name of a script ("test:playwright"), or a file.
[[nodiscard]] bool isToolsPackage(ProcessKind kind, std::string_view package);

/// The package, without "npm:" in front of it and the version behind it.
[[nodiscard]] std::string_view withoutVersion(std::string_view package);

} // namespace VintrelCore::ToolNames
