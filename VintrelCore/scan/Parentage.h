#pragma once

#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <span>
#include <string_view>

/// Who looks after a process: the rules behind the corrected parent column.
namespace VintrelCore::Parentage {

/// Whether a process takes in orphans by its office: process 1, a user's service manager, and the few like
/// them. A container's process 1 is one only for those that come from other sessions than its own.
[[nodiscard]] bool isAdopter(int32_t pid, std::string_view command);

/// Corrects the parent column of every adopter's child, and notes who looks after those who are no orphans.
void correct(std::span<SnapshotRecord> records, const Platform::KernelView& kernel);

} // namespace VintrelCore::Parentage
