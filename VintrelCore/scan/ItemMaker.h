#pragma once

#include "VintrelCore/scan/ProcessLookup.h"
#include "VintrelCore/scan/ScanCore.h"

#include <optional>

namespace VintrelCore::ScanCore {

/// `makeItem` for many lines: the user's rules are prepared once. Internal to scan/.
class ItemMaker {
public:
    struct Inputs {
        double elapsedThreshold;
        const PIDSet& registeredPIDs;
        std::span<const CustomRule> customRules;
        const StartTimeProvider& startTimeProvider;
        const MemoryProvider& memoryProvider;
    };

    /// Refers to the inputs, which must outlive it.
    explicit ItemMaker(const Inputs& inputs) : m_inputs(inputs), m_customRules(inputs.customRules) {}

    [[nodiscard]] std::optional<ProcessItem> make(const PSLine& line) const;
    [[nodiscard]] std::optional<ProcessItem> make(const SnapshotRecord& record,
                                                  const ProcessLookup& lookup) const;

    /// For a process that is no candidate by its own words, but part of a row.
    [[nodiscard]] ProcessItem makeOfKind(const SnapshotRecord& record, ProcessKind kind) const;

    /// Absent when it cannot be read.
    [[nodiscard]] std::optional<ProcStartTime> startTimeOf(int32_t pid) const;

    /// The label of the user's rule that a command matches, if any.
    [[nodiscard]] std::optional<std::string> customLabelOf(std::string_view command) const;

    /// The risk of ending a row: by the kind that it shows, in the place of the process that it begins with,
    /// and of a listener if any process of it is one.
    [[nodiscard]] RiskTier tierOf(const ProcessItem& row) const;

private:
    /// `detect` is asked for the built-in kind when no rule of the user's matches.
    template <typename Detect>
    [[nodiscard]] std::optional<ProcessItem> makeWith(const PSLine& line, Detect detect) const;
    template <typename Detect>
    [[nodiscard]] std::optional<ProcessItem> makeWith(const SnapshotRecord& record, Detect detect) const;

    [[nodiscard]] int64_t memoryOf(const PSLine& line) const;

    Inputs m_inputs;
    CustomRuleMatcher m_customRules;
};

} // namespace VintrelCore::ScanCore
