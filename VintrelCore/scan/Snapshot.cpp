#include "VintrelCore/scan/Snapshot.h"

#include <algorithm>

namespace VintrelCore {

Snapshot::Snapshot(Platform::Facts& facts)
    : m_facts(facts), m_records(snapshotRecords(facts.processes(), facts.kernelView())) {}

std::vector<ProcessItem> Snapshot::candidates(ScanCore::EnumerateOptions options) const {
    options.startTimeProvider = [this](int32_t pid) { return m_facts.startTime(pid); };
    options.memoryProvider = [this](int32_t pid) { return m_facts.residentKB(pid); };
    auto items = ScanCore::candidatesIn(m_records, options, ProcessLookup::of(m_facts));
    std::erase_if(items, [](const ProcessItem& item) { return !item.startTime; });
    return items;
}

std::unordered_map<int32_t, std::string> Snapshot::managersOf(std::span<const ProcessItem> items) const {
    std::unordered_map<int32_t, std::string> managers;
    for (const SnapshotRecord& record : m_records) {
        if (!record.managedBy.empty() &&
            std::ranges::find(items, record.pid, &ProcessItem::pid) != items.end()) {
            managers.emplace(record.pid, record.managedBy);
        }
    }
    return managers;
}

} // namespace VintrelCore
