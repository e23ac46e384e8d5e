#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Made-up process tables, the same on every run.
namespace Bench::Snapshot {

/// The raw output of ps for so many processes, mixed as on a developer's machine: mostly threads of the
/// kernel, services, browsers, editors and shells; one line in twenty is a candidate's, and one in ten is a
/// child of process 1.
[[nodiscard]] std::string psOutput(size_t lines);

/// The command lines of such a table. Views into `psOutput`.
[[nodiscard]] std::vector<std::string_view> commands(std::string_view psOutput);

/// A kernel's word on those processes, prepared, so that no file is read.
[[nodiscard]] VintrelCore::Platform::KernelView kernelView();

/// So many candidates. Two in ten are a package runner and its only child.
[[nodiscard]] std::vector<VintrelCore::ProcessItem> candidates(size_t count);

/// The same candidates as the output of ps.
[[nodiscard]] std::string psOutput(const std::vector<VintrelCore::ProcessItem>& items);

/// A working directory for each of them.
[[nodiscard]] VintrelCore::CwdResolver::CwdMap
workingDirectories(const std::vector<VintrelCore::ProcessItem>& items);

} // namespace Bench::Snapshot
