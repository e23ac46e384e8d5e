#include "VintrelCore/command/CLIScan.h"

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/context/RepositorySearch.h"
#include "VintrelCore/context/SlowMounts.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/scan/Protection.h"
#include "VintrelCore/scan/Snapshot.h"
#include "VintrelCore/scan/ToolFacts.h"

#include <memory>
#include <optional>
#include <utility>

namespace VintrelCore::CLIScan {

namespace {

/// One scan under way.
class Scan {
public:
    Scan(const ScanRules& rules, const World& world)
        : m_rules(rules), m_world(world), m_ignores(SortedIgnores::parse(rules.ignoredNames)) {}

    Result run() {
        const auto facts = factsOf(m_world);
        if (!takeTable(*facts)) {
            return std::move(m_result);
        }
        const auto pids = findCandidates(*facts);
        std::optional<Platform::Folders> folders;
        if (!pids.empty()) {
            folders = facts->folders(pids);
            note(folders->shortfall);
        }
        takePorts(facts->listeners(PortRegistry::portsOfNow(), pids));
        if (folders && !m_result.interrupted) {
            takeDirectories(std::move(folders->byPID));
        }
        return std::move(m_result);
    }

private:
    static std::unique_ptr<Platform::Facts> factsOf(const World& world) {
        auto facts = world.asksKernel ? Platform::kernelFacts() : nullptr;
        if (!facts) {
            facts = std::make_unique<ToolFacts>(ToolFacts::Tools{
                .ps = world.ps, .lsof = world.lsof, .interrupt = world.interrupt, .tellsNames = false});
        }
        return facts;
    }

    bool takeTable(Platform::Facts& facts) {
        const Platform::Shortfall shortfall = facts.shortfall();
        m_result.interrupted = shortfall.interrupted;
        m_result.faults.ps = shortfall.fault;
        return shortfall.fault == Shell::Fault::none && !shortfall.interrupted;
    }

    /// Ports change how risky a candidate is, never which candidates there are: no need to wait for them
    /// here.
    std::vector<int32_t> findCandidates(Platform::Facts& facts) {
        m_result.items = Snapshot(facts)
                             .candidates({.elapsedThreshold = m_rules.elapsedThreshold,
                                          .registeredPIDs = ScanCore::PIDSet(),
                                          .ignoredNames = m_ignores.names,
                                          .disabledKinds = m_rules.disabledKinds,
                                          .customRules = m_rules.customRules})
                             .items;
        return allPIDsOf(m_result.items);
    }

    void takePorts(const Platform::Listeners& listeners) {
        note(listeners.shortfall);
        ScanCore::PIDSet listening;
        for (const auto& [pid, ports] : listeners.byPID) {
            listening.insert(pid);
        }
        ScanCore::applyRegisteredPorts(m_result.items, listening);
    }

    void takeDirectories(CwdResolver::Directories directories) {
        const Protection protection = findProtection();
        const RepositorySearch repositories(directories, m_slowMounts, m_world.interrupt);
        const bool mayTouchFiles = !m_result.faults.metDeadMount || m_world.asksKernel;
        m_result.cwds =
            CwdResolver::cwdsOf(std::move(directories),
                                {.home = protection.home,
                                 .gitRootFinder =
                                     [&](const std::string& directory) {
                                         return mayTouchFiles ? repositories.rootOf(directory) : std::nullopt;
                                     },
                                 .mayTouch =
                                     [&](const std::string& directory) {
                                         return mayTouchFiles && !m_slowMounts.hold(directory);
                                     }});
        m_result.faults.foldersUnknown = m_result.cwds.empty();
        m_result.items = ScanCore::applyScopedIgnores(m_result.items, m_result.cwds, m_ignores.scoped);
        const ScanCore::PIDSet ended = endedAmong(m_result.items, m_result.cwds);
        for (const ProcessItem& item : m_result.items) {
            if (protection.covers(item, m_result.cwds)) {
                m_result.protectedPIDs.insert(item.pid);
            } else if (m_rules.goByFolders() && isFolderUnknown(item, m_result.cwds, ended)) {
                m_result.unknownFolderPIDs.insert(item.pid);
            }
        }
    }

    Protection findProtection() {
        Protection unresolved{.entries = m_rules.protectedProjects, .home = m_world.home};
        if (m_result.faults.metDeadMount) { // as lsof found out
            unresolved.home = resolvedFolder(m_world.home);
            return unresolved;
        }
        auto found =
            Protection::found(m_rules.protectedProjects, m_world.home, m_slowMounts, m_world.interrupt);
        m_result.faults.metDeadMount = !found;
        return found ? *std::move(found) : unresolved;
    }

    void note(const Platform::Shortfall& shortfall) {
        m_result.faults.note(shortfall);
        m_result.interrupted = m_result.interrupted || shortfall.interrupted;
    }

    const ScanRules& m_rules;
    const World& m_world;
    SortedIgnores m_ignores;
    /// lsof has looked at all mounts before anything else does.
    SlowMounts m_slowMounts{m_world.asksKernel ? Platform::mountsThatMayHang() : std::vector<std::string>()};
    Result m_result;
};

} // namespace

Result scan(const ScanRules& rules, const World& world) {
    return Scan(rules, world).run();
}

} // namespace VintrelCore::CLIScan
