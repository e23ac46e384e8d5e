#pragma once

#include "VintrelCore/scan/SnapshotRecord.h"

#include <cstddef>
#include <vector>

namespace VintrelCore {

/// Shells that were told to run one thing, and whose parent is gone: "sh -c vitest", where dash waits for
/// what it runs. What such a shell started alone takes its place as the orphan, and the shell is folded into
/// it. Internal to scan/.
///
/// Only where both would be orphans: the shell by itself, and its child if the shell were gone already. To
/// that end the child is given the shell's parent before parents are corrected, and gets its own back where
/// the answer is no.
class OrphanedShells {
public:
    /// To be made before `Parentage::correct`. The records must outlive it, and stay in their places.
    explicit OrphanedShells(std::vector<SnapshotRecord>& records);

    /// To be called after `Parentage::correct`.
    void fold();

private:
    struct Pair {
        size_t shell;
        size_t child;
    };

    std::vector<SnapshotRecord>& m_records;
    std::vector<Pair> m_pairs; // of shells within shells, the outer one first
};

} // namespace VintrelCore
