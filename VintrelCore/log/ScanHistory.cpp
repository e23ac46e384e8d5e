#include "VintrelCore/log/ScanHistory.h"

#include <algorithm>
#include <cassert>
#include <functional>
#include <utility>

namespace VintrelCore {

size_t ScanHistory::KeyHash::operator()(const Key& key) const noexcept {
    const size_t pid = std::hash<int32_t>{}(key.pid);
    return key.startTime ? pid ^ std::hash<ProcStartTime>{}(*key.startTime) : pid;
}

ScanHistory::ScanHistory(int windowDepth) : m_windowDepth(windowDepth) {
    assert(windowDepth >= 0);
}

ScanHistory ScanHistory::recording(std::span<const Observation> observations) const {
    ScanHistory next(m_windowDepth);
    next.m_series.reserve(observations.size());
    for (const Observation& observation : observations) {
        const Key key{.pid = observation.pid, .startTime = observation.startTime};
        const auto before = m_series.find(key);
        std::vector<double> samples = before != m_series.end() ? before->second : std::vector<double>();
        samples.push_back(observation.cpuPercent);
        if (std::cmp_greater(samples.size(), m_windowDepth)) {
            samples.erase(samples.begin(), samples.end() - m_windowDepth);
        }
        next.m_series.insert_or_assign(key, std::move(samples));
    }
    return next;
}

std::vector<double> ScanHistory::samples(int32_t pid, const std::optional<ProcStartTime>& startTime) const {
    const auto series = m_series.find({.pid = pid, .startTime = startTime});
    return series != m_series.end() ? series->second : std::vector<double>();
}

bool ScanHistory::isSustainedLowCPU(int32_t pid, const std::optional<ProcStartTime>& startTime,
                                    double threshold, size_t minimumSamples) const {
    const std::vector<double> kept = samples(pid, startTime);
    return kept.size() >= minimumSamples &&
           std::ranges::all_of(kept, [threshold](double sample) { return sample < threshold; });
}

} // namespace VintrelCore
