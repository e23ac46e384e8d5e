#include "Vintrel/engine/ScanCycle.h"

#include "VintrelCore/scan/Protection.h"

#include <thread>
#include <utility>

namespace Vintrel::ScanCycle {

using namespace VintrelCore;

namespace {

/// Does something else until the end of the scope, on a thread of its own where the system gives one.
class Meanwhile {
public:
    explicit Meanwhile(const std::function<void()>& action) {
        try {
            m_thread = std::thread(action);
        } catch (const std::system_error&) {
            action();
        }
    }

    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

    ~Meanwhile() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    std::thread m_thread;
};

/// The steps that need each other, in their order.
void findCandidates(const Inputs& inputs, const ScanSources& sources, int interrupt, Results& results) {
    ScanSources::Listeners listeners = sources.listeningPorts(interrupt);
    results.faults.note(listeners.answer);
    results.listeningPorts = std::move(listeners.ports);

    ScanCore::EnumerateOptions options{.elapsedThreshold = inputs.rules.elapsedThreshold,
                                       .registeredPIDs = ScanCore::PIDSet(),
                                       .ignoredNames = inputs.ignores.names,
                                       .dismissedPIDs = inputs.dismissedPIDs,
                                       .disabledKinds = inputs.rules.disabledKinds,
                                       .customRules = inputs.rules.customRules};
    for (const auto& [pid, ports] : results.listeningPorts) {
        options.registeredPIDs->insert(pid);
    }
    ScanSources::Candidates candidates = sources.enumerate(options, interrupt);
    results.faults.ps = candidates.fault;
    results.managers = std::move(candidates.managers);

    ScanSources::Directories directories =
        sources.workingDirectories({.pids = allPIDsOf(candidates.items),
                                    .home = inputs.home,
                                    .mayTouchFiles = !listeners.answer.metDeadMount},
                                   interrupt);
    results.faults.note(directories.answer);
    results.cwds = std::move(directories.cwds);
    results.items = ScanCore::applyScopedIgnores(candidates.items, results.cwds, inputs.ignores.scoped);
    results.ended = sources.endedAmong(results.items, results.cwds);
    results.faults.foldersUnknown =
        results.cwds.empty() &&
        doesAnyOfOnesOwnLive(results.items, results.ended, sources.ofOtherAccounts(results.items));
    results.usedCPU = sources.usedCPU(results.items);
}

} // namespace

Results run(const Inputs& inputs, const ScanSources& sources, int interrupt) {
    Results results;
    VintrelCore::DockerService::OwnersAnswer owners;
    AncestryResolver::ProcessTable processTable;
    {
        // Nothing depends on these two.
        const Meanwhile meanwhile([&] {
            owners = sources.containerOwners(interrupt);
            processTable = sources.processTable(interrupt);
        });
        findCandidates(inputs, sources, interrupt, results);
    }
    results.containerOwners = std::move(owners.owners);
    results.containerEngine = owners.engine;
    results.processTable = std::move(processTable);
    return results;
}

} // namespace Vintrel::ScanCycle
