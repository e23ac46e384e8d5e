#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/RiskTier.h"
#include "VintrelCore/scan/CustomRule.h"
#include "VintrelCore/scan/IgnoreRule.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

/// From the process table to the list of candidates. No state; every function may be called from any thread,
/// and those that run a tool block their caller.
namespace VintrelCore::ScanCore {

/// The set of pids that own something, or that the user has dismissed.
using PIDSet = std::unordered_set<int32_t>;

/// Looks up the exact resident memory of a process in KiB; absent when only the line's value is known.
using MemoryProvider = std::function<std::optional<int64_t>(int32_t pid)>;

/// Seconds after which a process counts as old, unless the user says otherwise.
inline constexpr double defaultElapsedThreshold = 1800;

// The snapshot.

/// The raw process table: one line a process, columns pid, ppid, etime, tty, pcpu, rss, args. "" when ps
/// failed. Whoever runs ps hands its output to `snapshotRecords`.
[[nodiscard]] std::string runPS();

/// The command behind `runPS`, for callers that overlap it with others.
[[nodiscard]] Shell::Command psCommand();

/// The fields of one line of ps. Views into the line.
struct PSLine {
    int32_t pid = 0;
    int32_t ppid = 0;
    std::string_view etime;
    std::string_view tty;
    std::string_view pcpu;
    std::string_view rss;
    std::string_view args; ///< with its inner spacing

    bool operator==(const PSLine&) const = default;
};

/// Absent for a line with fewer than seven fields, or whose pid or ppid is no number.
[[nodiscard]] std::optional<PSLine> parsePSLine(std::string_view line);

/// Seconds of an elapsed-time column, [[days-]hours:]minutes:seconds; pieces that are no numbers count as 0.
[[nodiscard]] double parseElapsed(std::string_view etime);

// Kinds.

/// What sort of developer tool a command line is; absent for none. The order of its rules decides between
/// several.
[[nodiscard]] std::optional<ProcessKind> detectKind(std::string_view command);

/// Whether `token` stands in `haystack` as a word of its own: between spaces, as a path's last component, or
/// between dots. Exact and case-sensitive.
[[nodiscard]] bool hasTokenBoundary(std::string_view haystack, std::string_view token);

/// Whether a command says that it runs in a development or watch mode.
[[nodiscard]] bool hasDevModeFlag(std::string_view command);

// Classification.

/// The risk of ending a process. A stray has no terminal, is an orphan and is old.
[[nodiscard]] RiskTier riskTier(ProcessKind kind, bool hasTTY, bool isOrphan, bool isOld);

/// Who listens on a known port is never safe: something may be talking to it.
[[nodiscard]] RiskTier riskTierOfListener(RiskTier tier);

struct ItemOptions {
    double elapsedThreshold = defaultElapsedThreshold; ///< seconds, inclusive
    PIDSet registeredPIDs{};                           ///< who listens on a known port is never safe
    std::vector<CustomRule> customRules{};             ///< they take precedence over the built-in kinds
    StartTimeProvider startTimeProvider{};
};

/// The candidate behind one raw line of ps; absent when the line is malformed or no developer tool's.
[[nodiscard]] std::optional<ProcessItem> makeItem(std::string_view line, const ItemOptions& options);

// The pipeline.

struct EnumerateOptions {
    double elapsedThreshold = defaultElapsedThreshold; ///< seconds, inclusive
    /// Raw output of ps, taken as it stands: nothing is corrected.
    std::optional<std::string_view> psOutput{};
    /// A snapshot that the caller took itself. Without either, `enumerate` takes its own. In a snapshot every
    /// package runner is one row with what it started, rated in the runner's place.
    std::optional<std::span<const SnapshotRecord>> records{};
    /// When absent, whoever holds a known listening port now.
    std::optional<PIDSet> registeredPIDs{};
    std::vector<std::string> ignoredNames{}; ///< substrings of the unscoped ignore rules
    PIDSet dismissedPIDs{};
    std::set<ProcessKind> disabledKinds{};
    std::vector<CustomRule> customRules{};
    StartTimeProvider startTimeProvider{};
    MemoryProvider memoryProvider{};
};

/// The candidates, in the order of ps.
[[nodiscard]] std::vector<ProcessItem> enumerate(const EnumerateOptions& options);

/// Raises the risk of candidates that hold a registered port, they or what is folded into them, for callers
/// that do not want to wait for the ports. For a snapshot's records the result is the one that `enumerate`
/// gives when it knows the ports.
void applyRegisteredPorts(std::vector<ProcessItem>& items, const PIDSet& registeredPIDs);

/// Merges each npm and npx that has exactly one candidate child with that child. The row shows what runs,
/// with the child's tier; its identity (pid and start time) is the runner's, and the child is folded into it.
/// For items of prepared text; rows of a snapshot's records are merged by what the snapshot knows beyond
/// them.
[[nodiscard]] std::vector<ProcessItem> collapseWrappers(const std::vector<ProcessItem>& items);

/// Without the items that some rule matches. A rule with a path matches only items whose working directory is
/// known and is that folder or lies below it.
[[nodiscard]] std::vector<ProcessItem> applyScopedIgnores(const std::vector<ProcessItem>& items,
                                                          const CwdResolver::CwdMap& cwds,
                                                          std::span<const IgnoreRule> rules);

/// The short name of the candidate that is the parent `ppid`; absent when it is not among the candidates, and
/// for parents below 2.
[[nodiscard]] std::optional<std::string> parentCommand(int32_t ppid, std::span<const ProcessItem> items);

} // namespace VintrelCore::ScanCore
