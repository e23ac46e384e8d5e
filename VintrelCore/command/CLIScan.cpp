#include "VintrelCore/command/CLIScan.h"

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <utility>

namespace VintrelCore::CLIScan {

namespace {

struct SortedIgnores {
    std::vector<std::string> names;
    std::vector<IgnoreRule> scoped;
};

SortedIgnores sortedIgnores(const std::vector<std::string>& lines) {
    SortedIgnores sorted;
    for (const std::string& line : lines) {
        if (auto rule = IgnoreRule::parse(line); rule && rule->pathPrefix) {
            sorted.scoped.push_back(*std::move(rule));
        } else if (rule) {
            sorted.names.push_back(std::move(rule->substring));
        }
    }
    return sorted;
}

/// lsof names directories with links resolved, so the home folder has to be known in that form.
std::string resolved(const std::string& home) {
    std::error_code error;
    const auto path = std::filesystem::canonical(home, error);
    return error ? home : path.string();
}

std::vector<int32_t> pidsOf(const std::vector<ProcessItem>& items) {
    std::vector<int32_t> pids;
    std::ranges::transform(items, std::back_inserter(pids), &ProcessItem::pid);
    return pids;
}

/// One scan under way.
class Scan {
public:
    Scan(const Rules& rules, const World& world)
        : m_rules(rules), m_world(world), m_ignores(sortedIgnores(rules.ignoredNames)) {}

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
        m_result.items = enumerate();
        std::optional<Lsof::Query> directories;
        if (!m_result.items.empty()) {
            directories.emplace(CwdResolver::lsofArguments(pidsOf(m_result.items)), m_world.lsof);
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
        m_result.psFailed = !outcome.completed() || outcome.output.empty();
        m_records = snapshotRecords(outcome.output, Platform::kernelView());
        return !m_result.psFailed && !m_result.interrupted;
    }

    [[nodiscard]] std::vector<ProcessItem> enumerate() const {
        return ScanCore::enumerate({.elapsedThreshold = m_rules.elapsedThreshold,
                                    .records = m_records,
                                    .registeredPIDs = ScanCore::PIDSet(),
                                    .ignoredNames = m_ignores.names,
                                    .disabledKinds = m_rules.disabledKinds,
                                    .customRules = m_rules.customRules,
                                    .startTimeProvider = Platform::startTime});
    }

    void takePorts(Lsof::Query& listeners) {
        const Lsof::Answer answer = listeners.finish(m_world.interrupt);
        note(answer);
        ScanCore::applyRegisteredPorts(m_result.items, PortRegistry::listeningPIDs(answer.output));
    }

    void takeDirectories(Lsof::Query& directories) {
        const Lsof::Answer answer = directories.finish(m_world.interrupt);
        note(answer);
        const std::string home = resolved(m_world.home);
        m_result.cwds = CwdResolver::processCwds({.forPIDs = pidsOf(m_result.items),
                                                  .lsofOutput = answer.output,
                                                  .home = home,
                                                  .mayTouchFiles = !m_metDeadMount});
        m_result.items = ScanCore::applyScopedIgnores(m_result.items, m_result.cwds, m_ignores.scoped);
        for (const auto& [pid, cwd] : m_result.cwds) {
            // An entry may name the home folder in either form.
            if (CwdResolver::isProtected(cwd.fullPath, m_rules.protectedProjects, home) ||
                CwdResolver::isProtected(cwd.fullPath, m_rules.protectedProjects, m_world.home)) {
                m_result.protectedPIDs.insert(pid);
            }
        }
    }

    void note(const Lsof::Answer& answer) {
        m_metDeadMount = m_metDeadMount || answer.metDeadMount;
        m_result.lsofFailed = m_result.lsofFailed || answer.failed;
        m_result.interrupted = m_result.interrupted || answer.interrupted;
    }

    const Rules& m_rules;
    const World& m_world;
    SortedIgnores m_ignores;
    std::vector<SnapshotRecord> m_records;
    bool m_metDeadMount = false;
    Result m_result;
};

} // namespace

Result scan(const Rules& rules, const World& world) {
    return Scan(rules, world).run();
}

} // namespace VintrelCore::CLIScan
