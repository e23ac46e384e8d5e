#pragma once

#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <span>

/// Who looks after a process: the rules behind the corrected parent column.
namespace VintrelCore::Parentage {

/// Corrects the parent column of every adopter's child, and notes who looks after those who are no orphans.
void correct(std::span<SnapshotRecord> records, const Platform::KernelView& kernel);

} // namespace VintrelCore::Parentage
