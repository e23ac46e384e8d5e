#include "VintrelCore/log/CPUSampler.h"

#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace VintrelCore {

namespace {

/// The item itself and what is folded into it.
std::vector<FoldedProcess> processesOf(const ProcessItem& item) {
    std::vector<FoldedProcess> processes{{.pid = item.pid, .startTime = item.startTime}};
    processes.insert(processes.end(), item.folded.begin(), item.folded.end());
    return processes;
}

} // namespace

CPUSampler::Reading CPUSampler::read(std::span<const ProcessItem> items) {
    using Seconds = std::chrono::duration<double>;
    Reading reading{.at = Seconds(std::chrono::steady_clock::now().time_since_epoch()).count()};
    for (const ProcessItem& item : items) {
        for (const FoldedProcess& process : processesOf(item)) {
            const auto record = Platform::processRecord(process.pid);
            if (record && record->usedCPU && process.startTime == record->startTime) {
                reading.used.emplace(process.pid, *record->usedCPU);
            }
        }
    }
    return reading;
}

bool CPUSampler::isDue(const Reading& reading) const {
    constexpr double shortestSpan = 10; // seconds
    return !m_at || reading.at - *m_at >= shortestSpan;
}

std::optional<double> CPUSampler::usedSince(const FoldedProcess& process, const Reading& reading) const {
    const auto before = m_before.find(process.pid);
    const auto now = reading.used.find(process.pid);
    if (before == m_before.end() || now == reading.used.end() || !m_at || *m_at >= reading.at ||
        before->second.startTime != process.startTime) {
        return std::nullopt;
    }
    return std::max(0.0, now->second - before->second.used);
}

std::vector<ScanHistory::Observation> CPUSampler::observe(std::span<const ProcessItem> items,
                                                          const Reading& reading) {
    constexpr double wholeInPercent = 100;
    std::unordered_map<int32_t, Counted> counted;
    std::vector<ScanHistory::Observation> observations;
    for (const ProcessItem& item : items) {
        const auto processes = processesOf(item);
        double share = item.cpuPercent;
        if (usedSince(processes.front(), reading)) {
            double used = 0; // of those that were there before: what a newcomer used may be from long ago
            for (const FoldedProcess& process : processes) {
                used += usedSince(process, reading).value_or(0);
            }
            share = used / (reading.at - *m_at) * wholeInPercent;
        }
        for (const FoldedProcess& process : processes) {
            if (const auto now = reading.used.find(process.pid); now != reading.used.end()) {
                counted.insert_or_assign(process.pid,
                                         Counted{.startTime = process.startTime, .used = now->second});
            }
        }
        observations.push_back({.pid = item.pid, .startTime = item.startTime, .cpuPercent = share});
    }
    m_before = std::move(counted);
    m_at = reading.at;
    return observations;
}

} // namespace VintrelCore
