#pragma once

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/scan/RecordPipeline.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// The process table of one moment, and the candidates in it.
class Snapshot {
public:
    /// Refers to the facts.
    explicit Snapshot(Platform::Facts& facts);

    /// What `ScanCore::enumerate` finds in this snapshot; `options` need no records and no provider of
    /// anything. Left out are those whose start cannot be had: they are gone, or they started after ps did,
    /// and its line may be about a predecessor of that number.
    [[nodiscard]] std::vector<ProcessItem> candidates(ScanCore::EnumerateOptions options) const;

    /// Who looks after those of the items that somebody looks after, by pid.
    [[nodiscard]] std::unordered_map<int32_t, std::string>
    managersOf(std::span<const ProcessItem> items) const;

private:
    Platform::Facts& m_facts;
    std::vector<SnapshotRecord> m_records;
};

} // namespace VintrelCore
