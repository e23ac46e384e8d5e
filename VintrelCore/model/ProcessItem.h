#pragma once

#include "VintrelCore/model/Bucket.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/ReviewReason.h"
#include "VintrelCore/model/RiskTier.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// The part that a folded process plays in its row.
enum class FoldedAs : uint8_t {
    part,    ///< something below the row's own process
    starter, ///< a shell that started the row's own process, and is signalled before it
    shown,   ///< a part, and the process that the row's command and kind are of
};

/// A process that is shown and ended together with the row it was folded into.
struct FoldedProcess {
    int32_t pid = 0;
    std::optional<ProcStartTime> startTime{}; ///< absent when it could not be read
    FoldedAs as = FoldedAs::part;
    std::string command{};

    /// Whether it is the same process, whatever it is to the row.
    bool operator==(const FoldedProcess& other) const {
        return pid == other.pid && startTime == other.startTime;
    }
};

/// A candidate: one process (or a package runner with what it started) that may be a stray, and its
/// classification.
struct ProcessItem {
    int32_t pid = 0;
    int32_t ppid = 0;    ///< the parent; 1 when nobody's child any more
    std::string command; ///< the command line as ps printed it
    double elapsed = 0;  ///< seconds since the process started
    std::string tty;     ///< the terminal as ps printed it, or its marker for none
    ProcessKind kind = ProcessKind::custom;
    RiskTier riskTier = RiskTier::high;
    double cpuPercent = 0;
    int64_t rssKB = 0;                        ///< resident memory in KiB
    std::optional<ProcStartTime> startTime{}; ///< absent when no provider was given or it failed
    std::optional<std::string> customLabel{}; ///< the label of the user's rule that matched
    std::vector<FoldedProcess> folded{};      ///< the other processes of the row
    std::string runnerCommand{}; ///< of the row's own process, where `command` is another's; else ""
    std::optional<ReviewReason> reviewReason{}; ///< absent when its kind, place and age say enough

    bool operator==(const ProcessItem&) const = default;

    [[nodiscard]] int32_t id() const { return pid; }

    [[nodiscard]] bool hasTTY() const { return isTTYAttached(tty); }

    [[nodiscard]] bool isOrphan() const { return ppid == 1; }

    [[nodiscard]] Bucket bucket() const {
        return riskTier == RiskTier::easy ? Bucket::safe : Bucket::needsReview;
    }

    /// The process that the command and the kind are of: the row's own, or one that is folded into it.
    [[nodiscard]] int32_t shownPID() const;

    /// The command line of the row's own process.
    [[nodiscard]] const std::string& ownCommand() const {
        return runnerCommand.empty() ? command : runnerCommand;
    }

    /// The user's label, or else that of the kind.
    [[nodiscard]] std::string_view displayLabel() const;

    /// A short form of the executable: an absolute path's last two components ("bin/node"), any other word as
    /// it is.
    [[nodiscard]] std::string displayPath() const;

    /// Whether a terminal column names a terminal, and not one of the markers for none.
    [[nodiscard]] static bool isTTYAttached(std::string_view tty);
};

} // namespace VintrelCore
