#pragma once

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ProcessLookup.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <span>

/// The words of a command line make a candidate's kind, also where they are an address or a file's name. Such
/// a candidate must not be ended without a question.
namespace VintrelCore::NamedOnly {

/// Raises the risk of the items whose tool is not what runs (`WhatRuns`) as far as they would be easy to end,
/// and notes that as the reason. `records` are those that the items were made of.
void raise(std::span<ProcessItem> items, std::span<const SnapshotRecord> records,
           const ProcessLookup& lookup);

} // namespace VintrelCore::NamedOnly
