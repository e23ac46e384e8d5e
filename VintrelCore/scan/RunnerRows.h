#pragma once

#include "VintrelCore/scan/ItemMaker.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace VintrelCore::ScanCore {

/// The candidates of a snapshot, each package runner with what it started as one row. A runner takes the one
/// candidate among its children, and what is its only child whatever that is. A row of runners that run
/// runners is one, too.
///
/// The row begins with the outermost runner: its identity, parent and age count, and the kind, the label and
/// the command of what runs. Internal to scan/.
class RunnerRows {
public:
    using Predicate = std::function<bool(const ProcessItem&)>;

    /// `isDropped` is asked before anything is merged. All of them must outlive it.
    RunnerRows(const ItemMaker& maker, const ProcessLookup& lookup, const Predicate& isDropped)
        : m_maker(maker), m_lookup(lookup), m_isDropped(isDropped) {}

    /// In the order of the records. Once only.
    [[nodiscard]] std::vector<ProcessItem> of(std::span<const SnapshotRecord> records);

private:
    struct Row {
        ProcessItem item;
        const SnapshotRecord* record;
        bool isRunner;
        bool isCandidate; ///< false for a runner of which nothing is known but that it is one
        bool isTaken = false;
    };

    void add(const SnapshotRecord& record);
    void mergeFromTheBottom();
    void merge(Row& runner);
    bool takeOnlyChildren(Row& runner);
    static void take(ProcessItem& runner, const ProcessItem& child, FoldedAs as);

    [[nodiscard]] Row* rowOf(int32_t pid);

    const ItemMaker& m_maker;
    const ProcessLookup& m_lookup;
    const Predicate& m_isDropped;
    std::vector<Row> m_rows;
    std::unordered_map<int32_t, const SnapshotRecord*>
        m_records;                            ///< those that may be taken as only children
    std::unordered_set<int32_t> m_candidates; ///< also those that were dropped
    std::unordered_map<int32_t, size_t> m_rowOf;
    std::unordered_map<int32_t, std::vector<size_t>> m_children; ///< rows, by their parent
};

} // namespace VintrelCore::ScanCore
