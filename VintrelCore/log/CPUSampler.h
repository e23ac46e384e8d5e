#pragma once

#include "VintrelCore/log/ScanHistory.h"
#include "VintrelCore/model/ProcessItem.h"

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// What candidates used of the processor since the scan before. ps may only know the share of their whole
/// life: a server that worked for a minute would look busy for hours, and one that starts to spin after days
/// would look idle.
class CPUSampler {
public:
    /// What the kernel had counted at one moment.
    struct Reading {
        double at = 0; ///< seconds of a clock that is never set
        /// Processor seconds used so far, by pid: of processes that still are who the scan saw.
        std::unordered_map<int32_t, double> used{};
    };

    /// What is used by the candidates and by what is folded into them, now.
    [[nodiscard]] static Reading read(std::span<const ProcessItem> items);

    /// Whether the reading before is old enough for another sample: over a shorter time than ten seconds a
    /// busy server can rest, and an idle one work.
    [[nodiscard]] bool isDue(const Reading& reading) const;

    /// The sample of each item, and the reading to compare the next one with: its share since the reading
    /// before, in percent, of it and what is folded into it; the share that ps told where that is not known.
    [[nodiscard]] std::vector<ScanHistory::Observation> observe(std::span<const ProcessItem> items,
                                                                const Reading& reading);

private:
    struct Counted {
        std::optional<ProcStartTime> startTime{};
        double used = 0;
    };

    /// What a process used since the reading before; absent when it was not in both.
    [[nodiscard]] std::optional<double> usedSince(const FoldedProcess& process, const Reading& reading) const;

    std::optional<double> m_at; // of the reading before
    std::unordered_map<int32_t, Counted> m_before;
};

} // namespace VintrelCore
