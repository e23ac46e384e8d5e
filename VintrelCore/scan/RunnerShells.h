#pragma once

#include "VintrelCore/scan/SnapshotRecord.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The shells that package runners put between themselves and what they run: "npm run dev" starts "sh -c
/// vite", and only that starts vite. Such a shell is part of its runner.
namespace VintrelCore::RunnerShells {

/// Whether a command is a package runner at work (npm, npx, pnpm, yarn, bunx, "bun run", "uv run" ...),
/// started directly or as the script of an interpreter.
[[nodiscard]] bool isPackageRunner(std::string_view command);

/// Whether a command is a shell that was told by "-c" what to run, as in "sh -c vite" or "bash -lc vite".
[[nodiscard]] bool isToldText(std::string_view command);

/// What such a shell was told, when that is one plain command: then what the shell started is that command's.
/// Absent otherwise, and for any other program. Takes the exact arguments, as ps prints a line feed, which
/// separates commands, as a blank.
[[nodiscard]] std::optional<std::string> textOfOneProgram(std::span<const std::string> arguments);

/// Marks the package runners, and takes their shells out of the records: each runner keeps the numbers of its
/// shells, and the shells' children count as the runner's.
void fold(std::vector<SnapshotRecord>& records);

} // namespace VintrelCore::RunnerShells
