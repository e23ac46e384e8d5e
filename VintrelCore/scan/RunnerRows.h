#pragma once

#include "VintrelCore/scan/ItemMaker.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
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
/// the command of what runs. A rule of the user's that any process of it matches makes it custom. It is never
/// easy to end when a runner in it also started what is not in it, when a shell in it was told to run
/// something else, too, or when a process in it hosts a terminal. Internal to scan/.
class RunnerRows {
public:
    using Predicate = std::function<bool(const ProcessItem&)>;

    /// `isDropped` is asked of each process before it is merged. All of them must outlive it.
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
        std::optional<ReviewReason> reason{}; ///< why it is not to be easy to end, as far as parents tell
    };

    void add(const SnapshotRecord& record);
    static std::optional<ReviewReason> reasonOf(const SnapshotRecord& record);
    static void note(Row& row, std::optional<ReviewReason> reason);
    void takeShells(Row& row, std::span<const FoldedShell> shells, FoldedAs as);
    void mergeFromTheBottom();
    void merge(Row& runner);
    size_t takeOnlyChildren(Row& runner); ///< how many it took
    [[nodiscard]] Row* onlyCandidateBelow(const Row& runner);
    static void takeKind(ProcessItem& runner, const ProcessItem& child);
    static void take(ProcessItem& runner, const ProcessItem& child, FoldedAs as);

    [[nodiscard]] Row* rowOf(int32_t pid);

    /// Rates a row that is complete.
    void rate(Row& row) const;

    /// Why more than the row's tool may be lost with it: a terminal that one of its processes hosts, or what
    /// one of its shells was told to run later; absent when nothing may.
    [[nodiscard]] std::optional<ReviewReason> reasonToKeep(const ProcessItem& item) const;

    /// Whether the script that runs is not what the row's runners were told to run.
    [[nodiscard]] bool runsBeforeAnother(const ProcessItem& item) const;

    const ItemMaker& m_maker;
    const ProcessLookup& m_lookup;
    const Predicate& m_isDropped;
    std::vector<Row> m_rows;
    std::unordered_map<int32_t, const SnapshotRecord*>
        m_records;                            ///< those that may be taken as only children
    std::unordered_set<int32_t> m_candidates; ///< also those that were dropped
    std::unordered_map<int32_t, size_t> m_rowOf;
    std::unordered_map<int32_t, std::vector<size_t>> m_children; ///< rows, by their parent
    std::unordered_map<int32_t, size_t> m_childCount;            ///< of all records
    std::unordered_set<int32_t> m_parentsOfTerminals;            ///< they have a child on one
};

} // namespace VintrelCore::ScanCore
