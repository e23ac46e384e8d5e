#include "tests/app/support/PreparedSources.h"

#include "VintrelCore/base/Path.h"

#include <algorithm>
#include <chrono>
#include <iterator>

namespace VintrelTests {

using Vintrel::ScanSources;
using VintrelCore::ProcessItem;
using VintrelCore::RiskTier;
namespace KillCore = VintrelCore::KillCore;

struct State {
    std::recursive_mutex mutex;
    PreparedSources::World world;
    Gate scan;
    Gate owners;
    Gate openFiles;
    Gate kill;
};

namespace {

/// Works on the world while nobody else does.
template <typename Work>
auto with(const std::shared_ptr<State>& state, Work work) {
    const std::scoped_lock lock(state->mutex);
    state->world.threads.push_back(std::this_thread::get_id());
    return work(state->world);
}

KillCore::KillResult resultOf(const PreparedSources::World& world, int32_t pid) {
    const auto found = world.killResults.find(pid);
    return found != world.killResults.end()
               ? found->second
               : KillCore::KillResult{.outcome = KillCore::KillOutcome::confirmed,
                                      .detail = KillCore::KillDetail::ended};
}

void prepareScan(ScanSources& sources, const std::shared_ptr<State>& state) {
    sources.scan = [state](const VintrelCore::Scan::Inputs& inputs, int) {
        with(state, [&](auto& world) { world.scans.push_back(inputs); });
        state->scan.pass();
        return with(state, [](auto& world) {
            VintrelCore::Scan::Result found = world.found;
            found.mayHoldContainers = !world.owners.owners.empty() ||
                                      world.owners.engine != VintrelCore::DockerService::EngineState::absent;
            return found;
        });
    };
    sources.containerOwners = [state](int) {
        state->owners.pass();
        return with(state, [](auto& world) { return world.owners; });
    };
    sources.usedCPU = [state](const std::vector<ProcessItem>& items) {
        return with(state, [&](auto& world) {
            world.sampled.push_back(pidsOf(items));
            auto reading = world.reading;
            if (reading.at == 0) { // where the time does not matter, scans are far enough from each other
                reading.at = 120.0 * static_cast<double>(world.scans.size());
            }
            return reading;
        });
    };
}

} // namespace

ScanSources PreparedSources::sources() const {
    const std::shared_ptr<State> state = m_state;
    ScanSources sources;
    prepareScan(sources, state);
    sources.openFiles = [state](const std::vector<int32_t>& pids, int) {
        with(state, [&](auto& world) { world.openFilesQueries.push_back(pids); });
        state->openFiles.pass();
        return with(state, [](auto& world) { return world.openFiles; });
    };
    sources.kill = [state](const std::vector<ProcessItem>& items,
                           const VintrelCore::DockerService::OwnersAnswer& containers, int) {
        with(state,
             [&](auto& world) { world.killings.push_back({.items = items, .owners = containers.owners}); });
        state->kill.pass();
        return with(state, [&](auto& world) {
            std::vector<KillCore::KillResult> results;
            std::ranges::transform(items, std::back_inserter(results),
                                   [&](const ProcessItem& item) { return resultOf(world, item.pid); });
            return results;
        });
    };
    sources.now = [state] {
        const std::scoped_lock lock(state->mutex);
        return state->world.now;
    };
    return sources;
}

PreparedSources::Access::Access(std::shared_ptr<State> state)
    : m_state(std::move(state)), m_lock(m_state->mutex) {}

PreparedSources::World* PreparedSources::Access::operator->() const {
    return &m_state->world;
}

std::shared_ptr<State> PreparedSources::makeState() {
    return std::make_shared<State>();
}

Gate& PreparedSources::scanGate() const {
    return m_state->scan;
}

Gate& PreparedSources::ownersGate() const {
    return m_state->owners;
}

Gate& PreparedSources::openFilesGate() const {
    return m_state->openFiles;
}

Gate& PreparedSources::killGate() const {
    return m_state->kill;
}

void PreparedSources::openGates() const {
    for (Gate* const gate : {&m_state->scan, &m_state->owners, &m_state->openFiles, &m_state->kill}) {
        gate->open();
    }
}

ProcessItem safeItem(int32_t pid) {
    return {.pid = pid,
            .ppid = 1,
            .command = "/home/me/work/p" + std::to_string(pid) + "/bin/vite --port " + std::to_string(pid),
            .elapsed = 7'200.0 + pid,
            .tty = "?",
            .kind = VintrelCore::ProcessKind::vite,
            .riskTier = RiskTier::easy,
            .cpuPercent = 0.25,
            .rssKB = int64_t{1'024} * pid,
            .startTime = VintrelCore::ProcStartTime{.sec = 1'000'000 + pid, .usec = 7}};
}

ProcessItem reviewItem(int32_t pid) {
    ProcessItem item = safeItem(pid);
    item.ppid = 77;
    item.riskTier = RiskTier::moderate;
    return item;
}

ProcessItem runnerItem(int32_t pid, const std::vector<int32_t>& folded) {
    ProcessItem item = safeItem(pid);
    item.command = "npm run dev";
    for (const int32_t child : folded) {
        item.folded.push_back({.pid = child, .startTime = safeItem(child).startTime});
    }
    return item;
}

std::vector<int32_t> pidsOf(const std::vector<ProcessItem>& items) {
    std::vector<int32_t> pids;
    std::ranges::transform(items, std::back_inserter(pids), &ProcessItem::pid);
    return pids;
}

VintrelCore::ProcessCwd cwdOf(const std::string& fullPath) {
    return {.label = std::string(VintrelCore::Path::lastComponent(fullPath)), .fullPath = fullPath};
}

} // namespace VintrelTests
