#include "VintrelCore/scan/OrphanedShells.h"

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/Caretakers.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ToldText.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace VintrelCore {

namespace {

bool isShell(const SnapshotRecord& record) {
    return ToldText::isToldText(record.command);
}

bool hasTTY(const SnapshotRecord& record) {
    return ProcessItem::isTTYAttached(record.tty);
}

/// Who is whose parent in one snapshot.
class Family {
public:
    explicit Family(const std::vector<SnapshotRecord>& records) : m_records(records) {
        for (size_t index = 0; index < records.size(); ++index) {
            m_byPID.emplace(records[index].pid, index);
            const auto [child, isFirst] = m_onlyChild.try_emplace(records[index].ppid, index);
            if (!isFirst) {
                child->second.reset();
            }
        }
    }

    /// Whether the process has a parent that takes in orphans and has not started it itself.
    [[nodiscard]] bool isAdopted(const SnapshotRecord& record) const {
        const auto parent = m_byPID.find(record.ppid);
        const std::string_view command =
            parent != m_byPID.end() ? std::string_view(m_records[parent->second].command) : "";
        return Caretakers::isAdopter(record.ppid, command) && !RunnerShells::isPackageRunner(command);
    }

    /// Absent when it has none, or several.
    [[nodiscard]] std::optional<size_t> onlyChildOf(const SnapshotRecord& record) const {
        const auto child = m_onlyChild.find(record.pid);
        return child != m_onlyChild.end() ? child->second : std::nullopt;
    }

private:
    const std::vector<SnapshotRecord>& m_records;
    std::unordered_map<int32_t, size_t> m_byPID;
    std::unordered_map<int32_t, std::optional<size_t>> m_onlyChild;
};

} // namespace

OrphanedShells::OrphanedShells(std::vector<SnapshotRecord>& records) : m_records(records) {
    if (std::ranges::none_of(records, isShell)) {
        return; // as on most machines most of the time
    }
    const Family family(records);
    for (size_t first = 0; first < records.size(); ++first) {
        if (records[first].pid == 1 || !isShell(records[first]) || !family.isAdopted(records[first])) {
            continue;
        }
        // The parents of a snapshot may form a ring, as it is not taken in one instant: the steps are
        // bounded.
        constexpr int deepest = 16;
        size_t shell = first;
        for (int depth = 0; depth < deepest && isShell(records[shell]) && !hasTTY(records[shell]); ++depth) {
            const auto child = family.onlyChildOf(records[shell]);
            if (!child || hasTTY(records[*child])) {
                break;
            }
            m_pairs.push_back({.shell = shell, .child = *child});
            shell = *child;
        }
    }
    for (const Pair& pair : m_pairs) {
        records[pair.child].ppid = records[pair.shell].ppid;
    }
}

void OrphanedShells::fold() {
    std::unordered_set<int32_t> folded;
    for (const auto& [shellIndex, childIndex] : m_pairs) {
        const SnapshotRecord& shell = m_records[shellIndex];
        SnapshotRecord& child = m_records[childIndex];
        if (shell.ppid != 1 || child.ppid != 1) {
            child.ppid = shell.pid;
            child.managedBy.clear();
            continue;
        }
        child.shellsAbove = shell.shellsAbove;
        child.shellsAbove.push_back({.pid = shell.pid, .command = shell.command});
        child.onlyChildOf = shell.pid;
        folded.insert(shell.pid);
    }
    std::erase_if(m_records, [&](const SnapshotRecord& record) { return folded.contains(record.pid); });
}

} // namespace VintrelCore
