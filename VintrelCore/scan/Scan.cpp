#include "VintrelCore/scan/Scan.h"

#include "VintrelCore/context/RepositorySearch.h"
#include "VintrelCore/scan/ControlGroup.h"
#include "VintrelCore/scan/Protection.h"
#include "VintrelCore/scan/Snapshot.h"
#include "VintrelCore/scan/ToolFacts.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace VintrelCore::Scan {

namespace {

/// One scan under way.
class Scan {
public:
    Scan(const Inputs& inputs, Platform::Facts& facts, int interrupt)
        : m_inputs(inputs),
          m_facts(facts),
          m_interrupt(interrupt),
          m_ignores(SortedIgnores::parse(inputs.rules.ignoredNames)) {}

    Result run() {
        if (!takeTable()) {
            return std::move(m_result);
        }
        findCandidates();
        const std::vector<int32_t> pids = allPIDsOf(m_result.items);
        const auto folders = pids.empty() ? Platform::Folders() : m_facts.folders(pids);
        note(folders.shortfall);
        takePorts(pids);
        if (!m_result.interrupted) {
            takeDirectories(folders.byPID);
            m_result.mayHoldContainers = isAnyInContainer();
        }
        return std::move(m_result);
    }

private:
    bool takeTable() {
        const Platform::Shortfall shortfall = m_facts.shortfall();
        m_result.interrupted = shortfall.interrupted;
        m_result.faults.table = shortfall.fault;
        m_result.faults.tableSource = shortfall.source;
        if (shortfall.fault != Shell::Fault::none || shortfall.interrupted) {
            return false;
        }
        m_result.processTable = AncestryResolver::tableOf(m_facts.processes());
        return true;
    }

    /// Ports change how risky a candidate is, never which candidates there are: they are looked for among
    /// the candidates first.
    void findCandidates() {
        const Snapshot snapshot(m_facts);
        m_result.items = snapshot.candidates({.elapsedThreshold = m_inputs.rules.elapsedThreshold,
                                              .registeredPIDs = ScanCore::PIDSet(),
                                              .ignoredNames = m_ignores.names,
                                              .dismissedPIDs = m_inputs.dismissedPIDs,
                                              .disabledKinds = m_inputs.rules.disabledKinds,
                                              .customRules = m_inputs.rules.customRules});
        m_result.managers = snapshot.managersOf(m_result.items);
    }

    void takePorts(std::span<const int32_t> candidates) {
        Platform::Listeners listeners = m_facts.listeners(PortRegistry::portsOfNow(), candidates);
        note(listeners.shortfall);
        ScanCore::PIDSet listening;
        for (const auto& [pid, ports] : listeners.byPID) {
            listening.insert(pid);
        }
        ScanCore::applyRegisteredPorts(m_result.items, listening);
        m_result.listeningPorts = std::move(listeners.byPID);
    }

    void takeDirectories(CwdResolver::Directories directories) {
        const RepositorySearch repositories(directories, m_inputs.slowMounts, m_interrupt);
        const bool mayTouchFiles = !m_result.faults.metDeadMount;
        m_result.cwds =
            CwdResolver::cwdsOf(std::move(directories),
                                {.home = m_inputs.home,
                                 .gitRootFinder =
                                     [&](const std::string& directory) {
                                         return mayTouchFiles ? repositories.rootOf(directory) : std::nullopt;
                                     },
                                 .mayTouch =
                                     [&](const std::string& directory) {
                                         return mayTouchFiles && !m_inputs.slowMounts.hold(directory);
                                     }});
        m_result.items = ScanCore::applyScopedIgnores(m_result.items, m_result.cwds, m_ignores.scoped);
        m_result.ended = endedAmong(m_result.items, m_result.cwds);
        m_result.faults.foldersUnknown =
            m_result.cwds.empty() &&
            doesAnyOfOnesOwnLive(m_result.items, m_result.ended,
                                 ofOtherAccounts(m_result.items, m_facts.kernelView()));
    }

    bool isAnyInContainer() {
        const Platform::KernelView kernel = m_facts.kernelView();
        if (!kernel.knowsContainers) {
            return !m_result.items.empty();
        }
        return std::ranges::any_of(allPIDsOf(m_result.items), [&kernel](int32_t pid) {
            const auto known = kernel.factsOf(pid);
            return known && (known->isInInnerNamespace ||
                             ControlGroup::isInContainer(known->controlGroup, kernel.ownControlGroup));
        });
    }

    void note(const Platform::Shortfall& shortfall) {
        m_result.faults.note(shortfall);
        m_result.interrupted = m_result.interrupted || shortfall.interrupted;
    }

    const Inputs& m_inputs;
    Platform::Facts& m_facts;
    int m_interrupt;
    SortedIgnores m_ignores;
    Result m_result;
};

} // namespace

std::unique_ptr<Platform::Facts> factsOfNow(int interrupt) {
    auto facts = Platform::kernelFacts();
    return facts ? std::move(facts) : std::make_unique<ToolFacts>(ToolFacts::Tools{.interrupt = interrupt});
}

Result run(const Inputs& inputs, Platform::Facts& facts, int interrupt) {
    return Scan(inputs, facts, interrupt).run();
}

} // namespace VintrelCore::Scan
