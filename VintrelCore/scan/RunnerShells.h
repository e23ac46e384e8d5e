#pragma once

#include "VintrelCore/scan/SnapshotRecord.h"

#include <string_view>
#include <vector>

/// The shells that package runners put between themselves and what they run: "npm run dev" starts "sh -c
/// vite", and only that starts vite. Such a shell is part of its runner.
namespace VintrelCore::RunnerShells {

/// Whether a command is a package runner at work (npm, npx, pnpm, yarn, bunx, "bun run", "uv run" ...),
/// started directly or as the script of an interpreter.
[[nodiscard]] bool isPackageRunner(std::string_view command);

/// Marks the package runners, and takes their shells out of the records: each runner keeps the numbers of its
/// shells, and the shells' children count as the runner's.
void fold(std::vector<SnapshotRecord>& records);

} // namespace VintrelCore::RunnerShells
