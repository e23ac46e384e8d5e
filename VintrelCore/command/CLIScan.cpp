#include "VintrelCore/command/CLIScan.h"

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <optional>
#include <span>
#include <unordered_map>
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

/// The path with links resolved, as lsof names directories; what does not exist (any more) stays as it
/// stands.
std::string resolved(const std::string& path) {
    std::error_code error;
    const auto found = std::filesystem::weakly_canonical(path, error);
    return error ? path : found.string();
}

/// Rows and what is folded into them: all of it counts for what protects.
std::vector<int32_t> allPIDsOf(std::span<const ProcessItem> items) {
    std::vector<int32_t> pids;
    for (const ProcessItem& item : items) {
        pids.push_back(item.pid);
        std::ranges::transform(item.folded, std::back_inserter(pids), &FoldedProcess::pid);
    }
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
        std::erase_if(m_result.items, [](const ProcessItem& item) { return !item.startTime; });
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
        m_result.psFailed = !outcome.completed() || outcome.output.empty();
        m_records = snapshotRecords(outcome.output, rememberingStarts(Platform::kernelView()));
        return !m_result.psFailed && !m_result.interrupted;
    }

    [[nodiscard]] std::vector<ProcessItem> enumerate() const {
        return ScanCore::enumerate({.elapsedThreshold = m_rules.elapsedThreshold,
                                    .records = m_records,
                                    .registeredPIDs = ScanCore::PIDSet(),
                                    .ignoredNames = m_ignores.names,
                                    .disabledKinds = m_rules.disabledKinds,
                                    .customRules = m_rules.customRules,
                                    .startTimeProvider = [this](int32_t pid) { return startTime(pid); }});
    }

    /// The kernel's records are read once: what the snapshot asks for tells the start as well.
    Platform::KernelView rememberingStarts(Platform::KernelView view) {
        view.factsOf = [this, factsOf = std::move(view.factsOf)](int32_t pid) {
            auto facts = factsOf(pid);
            if (facts) {
                m_starts.emplace(pid, facts->startTime);
            }
            return facts;
        };
        return view;
    }

    /// Absent for a process that is gone, and for one that started after ps did: the line of ps may be about
    /// a predecessor of that number, whose place it must not take.
    [[nodiscard]] std::optional<ProcStartTime> startTime(int32_t pid) const {
        const auto known = m_starts.find(pid);
        const auto start = known != m_starts.end() ? std::optional(known->second) : Platform::startTime(pid);
        return start && (!m_began || *start < *m_began) ? start : std::nullopt;
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
        m_result.cwds = CwdResolver::processCwds({.forPIDs = allPIDsOf(m_result.items),
                                                  .lsofOutput = answer.output,
                                                  .home = home,
                                                  .mayTouchFiles = !m_metDeadMount});
        m_result.items = ScanCore::applyScopedIgnores(m_result.items, m_result.cwds, m_ignores.scoped);
        const auto projects = protectedForms(home);
        for (const ProcessItem& item : m_result.items) {
            const auto pids = allPIDsOf({&item, 1});
            const bool mayBeSwept = item.bucket() == Bucket::safe;
            if (std::ranges::any_of(
                    pids, [&](int32_t pid) { return isProtected(pid, mayBeSwept, projects, home); })) {
                m_result.protectedPIDs.insert(item.pid);
            }
        }
    }

    /// A process that may be swept and that lsof cannot place is protected by whatever rule goes by folders.
    [[nodiscard]] bool isProtected(int32_t pid, bool mayBeSwept, std::span<const std::string> projects,
                                   const std::string& home) const {
        const auto cwd = m_result.cwds.find(pid);
        if (cwd == m_result.cwds.end()) {
            return mayBeSwept && goesByFolders();
        }
        return CwdResolver::isProtected(cwd->second.fullPath, projects, home);
    }

    [[nodiscard]] bool goesByFolders() const {
        return !m_rules.protectedProjects.empty() || !m_ignores.scoped.empty();
    }

    /// The protected projects as written, and with links resolved: lsof names directories in that form. More
    /// forms can only protect more.
    [[nodiscard]] std::vector<std::string> protectedForms(const std::string& home) const {
        std::vector<std::string> forms = m_rules.protectedProjects;
        for (const std::string& entry : m_rules.protectedProjects) {
            const bool isBelowHome = entry == "~" || entry.starts_with("~/");
            const std::string path = isBelowHome ? home + entry.substr(1) : entry;
            if (path.starts_with('/') && !m_metDeadMount) {
                forms.push_back(resolved(path));
            }
        }
        return forms;
    }

    void note(const Lsof::Answer& answer) {
        m_metDeadMount = m_metDeadMount || answer.metDeadMount;
        // Links in protected folders are not followed then.
        m_result.protectionUnknown = m_result.protectionUnknown || (answer.metDeadMount && goesByFolders());
        m_result.lsofFailed = m_result.lsofFailed || answer.failed;
        m_result.interrupted = m_result.interrupted || answer.interrupted;
    }

    const Rules& m_rules;
    const World& m_world;
    SortedIgnores m_ignores;
    std::vector<SnapshotRecord> m_records;
    std::unordered_map<int32_t, ProcStartTime> m_starts;
    std::optional<ProcStartTime> m_began = Platform::startTimeOfNow(); // before ps
    bool m_metDeadMount = false;
    Result m_result;
};

} // namespace

Result scan(const Rules& rules, const World& world) {
    return Scan(rules, world).run();
}

} // namespace VintrelCore::CLIScan
