#include "VintrelCore/command/CLIScan.h"

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/scan/Protection.h"
#include "VintrelCore/scan/Snapshot.h"

#include <array>
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
        Shell::Command psCommand = ScanCore::psCommand();
        psCommand.executable = m_world.ps;
        Shell::Run ps(psCommand);
        Lsof::Query listeners(PortRegistry::lsofArguments(), m_world.lsof);
        const std::array<Shell::Run*, 2> first{&ps, &listeners.run()};
        Shell::await(first, &ps, m_world.interrupt);
        if (!takeSnapshot(ps)) {
            return std::move(m_result);
        }

        // Ports change how risky a candidate is, never which candidates there are: no need to wait for them
        // here.
        m_result.items = m_snapshot.candidates({.elapsedThreshold = m_rules.elapsedThreshold,
                                                .registeredPIDs = ScanCore::PIDSet(),
                                                .ignoredNames = m_ignores.names,
                                                .disabledKinds = m_rules.disabledKinds,
                                                .customRules = m_rules.customRules});
        std::optional<Lsof::Query> directories;
        if (!m_result.items.empty()) {
            directories.emplace(CwdResolver::lsofArguments(allPIDsOf(m_result.items)), m_world.lsof);
            const std::array<Shell::Run*, 2> second{&listeners.run(), &directories->run()};
            Shell::await(second, nullptr, m_world.interrupt);
        }
        takePorts(listeners);
        if (directories && !m_result.interrupted) {
            takeDirectories(*directories);
        }
        return std::move(m_result);
    }

private:
    bool takeSnapshot(Shell::Run& ps) {
        const Shell::Outcome outcome = ps.take();
        m_result.interrupted = outcome.interrupted;
        m_result.faults.ps = m_snapshot.take(outcome);
        return m_result.faults.ps == Shell::Fault::none && !m_result.interrupted;
    }

    void takePorts(Lsof::Query& listeners) {
        const Lsof::Answer answer = listeners.finish(m_world.interrupt);
        note(answer);
        ScanCore::applyRegisteredPorts(m_result.items, PortRegistry::listeningPIDs(answer.output));
    }

    void takeDirectories(Lsof::Query& directories) {
        const Lsof::Answer answer = directories.finish(m_world.interrupt);
        note(answer);
        Protection protection{.entries = m_rules.protectedProjects, .home = resolvedFolder(m_world.home)};
        if (!m_result.faults.metDeadMount) {
            protection.resolved = Protection::resolve(protection.entries, protection.home);
        }
        m_result.cwds = CwdResolver::processCwds({.forPIDs = allPIDsOf(m_result.items),
                                                  .lsofOutput = answer.output,
                                                  .home = protection.home,
                                                  .mayTouchFiles = !m_result.faults.metDeadMount});
        m_result.items = ScanCore::applyScopedIgnores(m_result.items, m_result.cwds, m_ignores.scoped);
        const ScanCore::PIDSet ended = endedAmong(m_result.items, m_result.cwds);
        m_result.faults.foldersUnknown =
            m_result.cwds.empty() &&
            doesAnyOfOnesOwnLive(m_result.items, ended, ofOtherAccounts(m_result.items));
        for (const ProcessItem& item : m_result.items) {
            if (protection.covers(item, m_result.cwds)) {
                m_result.protectedPIDs.insert(item.pid);
            } else if (m_rules.goByFolders() && isFolderUnknown(item, m_result.cwds, ended)) {
                m_result.unknownFolderPIDs.insert(item.pid);
            }
        }
    }

    void note(const Lsof::Answer& answer) {
        m_result.faults.note(answer);
        m_result.interrupted = m_result.interrupted || answer.interrupted;
    }

    const ScanRules& m_rules;
    const World& m_world;
    SortedIgnores m_ignores;
    Snapshot m_snapshot; // made before ps is started
    Result m_result;
};

} // namespace

Result scan(const ScanRules& rules, const World& world) {
    return Scan(rules, world).run();
}

} // namespace VintrelCore::CLIScan
