#pragma once

#include "VintrelCore/model/ProcStartTime.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// The CPU use of each live candidate over the last few scans: tells a server that merely sits idle from one
/// that works. Each scan makes a new history from the old.
class ScanHistory {
public:
    static constexpr int defaultWindowDepth = 5;          ///< samples kept per process
    static constexpr double defaultLowCPUThreshold = 1.0; ///< percent; below it a sample counts as idle
    static constexpr size_t defaultMinimumSamples = 3;    ///< samples needed before any verdict

    /// The identity of a process: a number that was used again starts a series of its own.
    struct Key {
        int32_t pid = 0;
        std::optional<ProcStartTime> startTime{};

        bool operator==(const Key&) const = default;
    };

    struct Observation {
        int32_t pid = 0;
        std::optional<ProcStartTime> startTime{};
        double cpuPercent = 0;
    };

    /// An empty history that keeps `windowDepth` samples per process; it must not be negative.
    explicit ScanHistory(int windowDepth = defaultWindowDepth);

    /// This history and one more scan. Whoever is not in it is forgotten.
    [[nodiscard]] ScanHistory recording(std::span<const Observation> observations) const;

    /// In percent, oldest first; empty for a process that was not seen in the last scan.
    [[nodiscard]] std::vector<double> samples(int32_t pid,
                                              const std::optional<ProcStartTime>& startTime) const;

    /// Whether there are enough samples, and every single one lies below the threshold.
    [[nodiscard]] bool isSustainedLowCPU(int32_t pid, const std::optional<ProcStartTime>& startTime,
                                         double threshold = defaultLowCPUThreshold,
                                         size_t minimumSamples = defaultMinimumSamples) const;

    [[nodiscard]] int windowDepth() const { return m_windowDepth; }

private:
    struct KeyHash {
        size_t operator()(const Key& key) const noexcept;
    };

    int m_windowDepth;
    std::unordered_map<Key, std::vector<double>, KeyHash> m_series;
};

} // namespace VintrelCore
