#include "VintrelCore/scan/Snapshot.h"

#include <algorithm>
#include <utility>

namespace VintrelCore {

Shell::Fault Snapshot::take(const Shell::Outcome& ps) {
    if (ps.fault() != Shell::Fault::none) {
        return ps.fault();
    }
    Platform::KernelView view = Platform::kernelView();
    view.factsOf = [this, factsOf = std::move(view.factsOf)](int32_t pid) {
        auto facts = factsOf(pid);
        if (facts) {
            m_starts.emplace(pid, facts->startTime);
        }
        return facts;
    };
    m_records = snapshotRecords(ps.output, view);
    // There is at least ps itself. Text that is not valid comes as none.
    return ps.output.empty() ? Shell::Fault::broken : Shell::Fault::none;
}

std::vector<ProcessItem> Snapshot::candidates(ScanCore::EnumerateOptions options) const {
    options.startTimeProvider = [this](int32_t pid) { return startTime(pid); };
    auto items = ScanCore::candidatesIn(m_records, options, ProcessLookup::since(m_began));
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

std::optional<ProcStartTime> Snapshot::startTime(int32_t pid) const {
    const auto known = m_starts.find(pid);
    const auto start = known != m_starts.end() ? std::optional(known->second) : Platform::startTime(pid);
    return start && (!m_began || *start < *m_began) ? start : std::nullopt;
}

} // namespace VintrelCore
