#pragma once

#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/platform/Platform.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// A shell that is part of the row of a package runner, or of what it started itself.
struct FoldedShell {
    int32_t pid = 0;
    std::string command{}; ///< as ps printed it
};

/// One process of a snapshot that this program took itself: a line of ps, corrected by what the kernel knows.
/// A type of its own, so that raw lines cannot be taken for corrected ones.
struct SnapshotRecord {
    int32_t pid = 0;
    int32_t ppid =
        0; ///< 1: nobody's child any more; 0: somebody looks after it, and that is no parent worth naming
    std::string elapsed; ///< as ps printed it, like the next four; "0" in place of an age that cannot be
    std::string tty;
    std::string cpuPercent;
    std::string rss;
    std::string command;
    std::string managedBy{};     ///< the unit or host program that looks after it; "" when none is known
    bool isRunner = false;       ///< a package runner that has children
    bool startedSeveral = false; ///< this package runner, or a shell of it, has several children
    bool mayRunMore = false;     ///< this package runner may go on when its one child has ended
    std::vector<FoldedShell>
        foldedShells{}; ///< shells between this package runner and what it started, the outer ones first
    /// What such a shell started alone, or this runner did: its, whatever it is.
    std::vector<int32_t> onlyChildren{};
    std::vector<FoldedShell> shellsAbove{}; ///< shells that started this orphan, the outermost first
    int32_t onlyChildOf = 0;                ///< the folded shell that started this process alone; 0 for none
};

/// Turns the raw output of `ScanCore::runPS` into records, in its order: zombies and the tools of this
/// program's front ends left out, parents corrected so that 1 means "nobody's child any more", the shells of
/// package runners folded into them, and orphaned shells into what they started.
///
/// On Linux a bare parent of 1 is wrong both ways. A terminal's orphans go to the user's service manager,
/// never to process 1; and services, terminal multiplexers and container shims do have parent 1 and are no
/// strays.
[[nodiscard]] std::vector<SnapshotRecord> snapshotRecords(std::string_view psOutput,
                                                          const Platform::KernelView& kernel);

/// The same for a table of facts.
[[nodiscard]] std::vector<SnapshotRecord> snapshotRecords(std::span<const Platform::ProcessFacts> processes,
                                                          const Platform::KernelView& kernel);

} // namespace VintrelCore
