#include "VintrelCore/scan/ToolFacts.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <array>
#include <utility>

namespace VintrelCore {

namespace {

Shell::Command with(const std::string& executable, Shell::Command command) {
    command.executable = executable;
    return command;
}

Platform::Shortfall shortfallOf(const Lsof::Answer& answer) {
    return {.fault = answer.fault,
            .source = "lsof",
            .metDeadMount = answer.metDeadMount,
            .interrupted = answer.interrupted};
}

/// ps shows a zombie's name in brackets, and says what it is; a living process may call itself so.
bool isZombie(const ScanCore::PSLine& line, const Platform::KernelView& kernel) {
    if (!line.args.ends_with("<defunct>")) {
        return false;
    }
    const auto facts = kernel.factsOf(line.pid);
    return !facts || facts->state == 'Z';
}

} // namespace

ToolFacts::ToolFacts(Tools tools)
    : m_tools(std::move(tools)),
      m_ps(with(m_tools.ps, ScanCore::psCommand())),
      m_listeners(PortRegistry::lsofArguments(), m_tools.lsof) {
    if (m_tools.tellsNames) {
        m_names.emplace(with(m_tools.ps, AncestryResolver::psCommand()));
    }
}

std::span<const Platform::ProcessFacts> ToolFacts::processes() {
    if (m_ps) {
        std::vector<Shell::Run*> runs{&*m_ps, &m_listeners.run()};
        if (m_names) {
            runs.push_back(&*m_names);
            Shell::await(runs, &*m_names, m_tools.interrupt);
        }
        Shell::await(runs, &*m_ps, m_tools.interrupt);
        take(m_ps->take());
        m_ps.reset();
    }
    if (m_names) {
        takeNames(m_names->take());
        m_names.reset();
    }
    return m_processes;
}

Platform::Shortfall ToolFacts::shortfall() {
    static_cast<void>(processes());
    return m_shortfall;
}

void ToolFacts::take(const Shell::Outcome& ps) {
    m_shortfall = {.fault = ps.fault(), .source = "ps", .interrupted = ps.interrupted};
    const Platform::KernelView kernel = Platform::kernelView();
    std::string_view rest = m_shortfall.fault == Shell::Fault::none ? ps.output : std::string_view();
    while (const auto text = Text::takeLine(rest)) {
        const auto line = ScanCore::parsePSLine(*text);
        if (!line) {
            continue;
        }
        m_processes.push_back({.pid = line->pid,
                               .ppid = line->ppid,
                               .elapsed = std::string(line->etime),
                               .tty = std::string(line->tty),
                               .cpuPercent = std::string(line->pcpu),
                               .rss = std::string(line->rss),
                               .command = std::string(line->args),
                               .isZombie = isZombie(*line, kernel)});
    }
    std::ranges::sort(m_processes, {}, &Platform::ProcessFacts::pid);
    if (m_processes.empty() && m_shortfall.fault == Shell::Fault::none) {
        m_shortfall.fault = Shell::Fault::broken; // there is at least ps itself
    }
}

void ToolFacts::takeNames(const Shell::Outcome& ps) {
    std::string_view rest = ps.ok() ? ps.output : std::string_view();
    while (const auto line = Text::takeLine(rest)) {
        std::string_view fields = *line;
        const auto pid = Text::parseInteger<int32_t>(Text::takeWord(fields));
        static_cast<void>(Text::takeWord(fields)); // the parent
        const auto process =
            std::ranges::lower_bound(m_processes, pid.value_or(0), {}, &Platform::ProcessFacts::pid);
        if (pid && process != m_processes.end() && process->pid == *pid) {
            process->name = Text::trimmed(fields);
        }
    }
}

std::optional<ProcStartTime> ToolFacts::startTime(int32_t pid) {
    // A process that started before ps and still runs is the one its line describes.
    const auto start = Platform::startTime(pid);
    return start && (!m_began || *start < *m_began) ? start : std::nullopt;
}

std::optional<std::vector<std::string>> ToolFacts::arguments(int32_t pid) {
    auto arguments = Platform::arguments(pid);
    return startTime(pid) ? std::move(arguments) : std::nullopt;
}

std::optional<std::string> ToolFacts::executable(int32_t pid) {
    auto executable = Platform::executable(pid);
    return startTime(pid) ? std::move(executable) : std::nullopt;
}

std::optional<std::string> ToolFacts::environmentValue(int32_t pid, std::string_view name) {
    auto value = Platform::environmentValue(pid, name);
    return startTime(pid) ? std::move(value) : std::nullopt;
}

std::optional<int64_t> ToolFacts::residentKB(int32_t pid) {
    const auto process = std::ranges::lower_bound(m_processes, pid, {}, &Platform::ProcessFacts::pid);
    return process != m_processes.end() && process->pid == pid ? Text::parseInteger<int64_t>(process->rss)
                                                               : std::nullopt;
}

Platform::Folders ToolFacts::folders(std::span<const int32_t> pids) {
    if (pids.empty()) {
        return {};
    }
    Lsof::Query query(CwdResolver::lsofArguments(pids), m_tools.lsof);
    const std::array<Shell::Run*, 2> runs{&query.run(), &m_listeners.run()};
    Shell::await(runs, &query.run(), m_tools.interrupt);
    const Lsof::Answer answer = query.finish(m_tools.interrupt);
    Platform::Folders folders{.byPID = CwdResolver::parseCwds(answer.output),
                              .shortfall = shortfallOf(answer)};
    for (auto& [pid, directory] : folders.byPID) {
        CwdResolver::dropAnnotation(directory, !answer.metDeadMount);
    }
    return folders;
}

Platform::Listeners ToolFacts::listeners(const std::set<int>& ports,
                                         std::span<const int32_t> /*candidates*/) {
    const Lsof::Answer answer = m_listeners.finish(m_tools.interrupt);
    Platform::Listeners listeners{.shortfall = shortfallOf(answer)};
    std::string_view rest = answer.output;
    while (const auto line = Text::takeLine(rest)) {
        if (const auto listener = PortRegistry::parseListenerLine(*line, ports)) {
            listeners.byPID[listener->pid].insert(listener->port);
        }
    }
    return listeners;
}

std::vector<Platform::OpenDescriptor> ToolFacts::openDescriptors(std::span<const int32_t> pids) {
    if (pids.empty()) {
        return {};
    }
    const auto answer =
        Lsof::Query(OpenFilesResolver::lsofArguments(pids), m_tools.lsof).finish(m_tools.interrupt);
    return OpenFilesResolver::parseDescriptors(answer.output);
}

} // namespace VintrelCore
