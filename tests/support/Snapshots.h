#pragma once

#include "VintrelCore/scan/SnapshotRecord.h"

#include <map>
#include <optional>
#include <set>
#include <string>

namespace VintrelTests {

/// What the kernel is made to know: facts by pid, for the user 1000 and outside of any container.
class FakeKernel {
public:
    VintrelCore::Platform::KernelFacts& operator[](int32_t pid) { return m_facts[pid]; }

    [[nodiscard]] VintrelCore::Platform::KernelView view(std::string ownControlGroup = "/") const {
        return {.correctsParents = true,
                .userID = 1000,
                .ownControlGroup = std::move(ownControlGroup),
                .factsOf = [this](int32_t pid) -> std::optional<VintrelCore::Platform::KernelFacts> {
                    const auto found = m_facts.find(pid);
                    return found != m_facts.end() ? std::optional(found->second) : std::nullopt;
                },
                .holdsTerminal = [this](int32_t pid) { return m_terminalHolders.contains(pid); },
                .unitProcessOf = [this](int32_t pid) -> std::optional<int32_t> {
                    const auto found = m_unitProcesses.find(pid);
                    return found != m_unitProcesses.end() ? std::optional(found->second) : std::nullopt;
                },
                .controlGroupStart =
                    [this](const std::string& group) -> std::optional<VintrelCore::ProcStartTime> {
                    const auto found = m_groupStarts.find(group);
                    return found != m_groupStarts.end() ? std::optional(found->second) : std::nullopt;
                }};
    }

    void letHoldTerminal(int32_t pid) { m_terminalHolders.insert(pid); }

    /// What the environment of a process says of its unit.
    void setUnitProcess(int32_t pid, int32_t first) { m_unitProcesses[pid] = first; }

    void setControlGroupStart(const std::string& group, VintrelCore::ProcStartTime start) {
        m_groupStarts[group] = start;
    }

    /// A process of the user's in nobody's care: no unit, and not its session's leader.
    FakeKernel& addOrphan(int32_t pid) {
        m_facts[pid] = {
            .userID = 1000, .state = 'S', .sessionID = 1, .startTime = {.sec = 100}, .controlGroup = "/"};
        return *this;
    }

private:
    std::map<int32_t, VintrelCore::Platform::KernelFacts> m_facts;
    std::set<int32_t> m_terminalHolders;
    std::map<int32_t, int32_t> m_unitProcesses;
    std::map<std::string, VintrelCore::ProcStartTime> m_groupStarts;
};

} // namespace VintrelTests
