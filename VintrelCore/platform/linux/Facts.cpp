#include "VintrelCore/platform/linux/Facts.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/ProcText.h"
#include "VintrelCore/platform/SocketTables.h"
#include "VintrelCore/platform/linux/KernelClock.h"
#include "VintrelCore/platform/linux/KernelTable.h"
#include "VintrelCore/platform/linux/ListeningSockets.h"
#include "VintrelCore/platform/linux/SocketNames.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::Platform {

namespace {

bool isMasterOfTerminals(std::string_view file) {
    return file == "/dev/ptmx" || file == "/dev/pts/ptmx"; // the second is what the first leads to
}

/// The type in lsof's terms, as far as it matters here. Does not query the file system, which may not answer.
std::string typeOf(int folder, const char* number) {
    struct statx status{};
    if (::statx(folder, number, AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, 0, &status) != 0) {
        return "unknown";
    }
    switch (status.stx_mode & S_IFMT) {
    case S_IFREG:
        return "REG";
    case S_IFDIR:
        return "DIR";
    case S_IFCHR:
        return "CHR";
    case S_IFBLK:
        return "BLK";
    case S_IFIFO:
        return "FIFO";
    case S_IFSOCK:
        return "sock";
    default:
        return "a_inode";
    }
}

/// Absent when neither netlink nor /proc/net is available.
std::optional<std::unordered_map<uint64_t, int>> listenersOn(const std::set<int>& ports) {
    auto sockets = ListeningSockets::dumped();
    if (!sockets) {
        sockets = ListeningSockets::tabled();
    }
    if (!sockets) {
        return std::nullopt;
    }
    std::unordered_map<uint64_t, int> portsByInode;
    for (const SocketTables::ListeningSocket& socket : *sockets) {
        if (ports.contains(socket.port)) {
            portsByInode.emplace(socket.inode, socket.port);
        }
    }
    return portsByInode;
}

} // namespace

FactsFromKernel::FactsFromKernel() : m_buffer(KernelTable::bufferSize) {
    for (const int32_t pid : m_proc.isOpen() ? m_proc.pids() : std::vector<int32_t>()) {
        const FileDescriptor process = m_proc.open(pid);
        if (auto row = process ? m_reader.read(pid, process) : std::nullopt) {
            m_stats.emplace(pid, row->stat);
            if (row->isNew) {
                m_new.emplace(pid, *row);
            }
            m_processes.push_back(std::move(row->facts));
        }
    }
}

Shortfall FactsFromKernel::shortfall() {
    // This process is there at least.
    return {.fault = m_processes.empty() ? Shell::Fault::notLaunched : Shell::Fault::none, .source = "/proc"};
}

KernelView FactsFromKernel::kernelView() {
    KernelView view = Platform::kernelView();
    view.factsOf = [this](int32_t pid) { return readFacts(pid); };
    view.holdsTerminal = [this](int32_t pid) { return heldBy(pid).isMasterOfTerminals; };
    view.unitProcessOf = [this](int32_t pid) { return unitProcess(pid); };
    return view;
}

const FileDescriptor& FactsFromKernel::open(int32_t pid) {
    constexpr size_t mostOpened = 128; // of the thousand that a process may have at least
    static const FileDescriptor none;
    const auto opened = m_opened.find(pid);
    if (opened != m_opened.end()) {
        return opened->second;
    }
    FileDescriptor process = m_stats.contains(pid) ? m_proc.open(pid) : FileDescriptor();
    if (!process || !isOfTheTable(pid, process)) {
        return none;
    }
    if (m_opened.size() >= mostOpened) {
        m_opened.clear();
    }
    return m_opened.emplace(pid, std::move(process)).first->second;
}

bool FactsFromKernel::isOfTheTable(int32_t pid, const FileDescriptor& process) {
    if (const auto asNew = m_new.find(pid); asNew != m_new.end()) {
        const auto now = m_reader.read(pid, process);
        return now && asNew->second.saysTheSame(*now);
    }
    const auto record = readBelow(process, "stat", m_buffer);
    const auto stat = record ? ProcFiles::parseStat(*record) : std::nullopt;
    return stat && stat->startTicks == m_stats.at(pid).startTicks;
}

const FactsFromKernel::Held& FactsFromKernel::heldBy(int32_t pid) {
    const auto [known, isNew] = m_held.try_emplace(pid);
    Held& held = known->second;
    if (isNew) {
        forEachDescriptor(open(pid), [&held](int, const char*, std::string_view target) {
            held.isMasterOfTerminals = held.isMasterOfTerminals || isMasterOfTerminals(target);
            if (const auto socket = SocketTables::parseDescriptor(target)) {
                held.sockets.push_back(*socket);
            }
        });
    }
    return held;
}

std::optional<KernelFacts> FactsFromKernel::readFacts(int32_t pid) {
    const FileDescriptor& process = open(pid);
    const auto status = process ? readBelow(process, "status", m_buffer) : std::nullopt;
    const auto userID = status ? ProcFiles::parseUserID(*status) : std::nullopt;
    if (!userID) {
        return std::nullopt;
    }
    const ProcFiles::Stat& stat = m_stats.at(pid);
    KernelFacts facts{.userID = *userID,
                      .state = stat.state,
                      .processGroupID = stat.processGroupID,
                      .sessionID = stat.sessionID,
                      .startTime = KernelClock::timeOfTicks(static_cast<int64_t>(stat.startTicks)),
                      .isNamespacesFirst = ProcFiles::parseIsNamespacesFirst(*status),
                      .isInInnerNamespace = ProcFiles::parseIsInInnerNamespace(*status)};
    const auto cgroups = readBelow(process, "cgroup", m_buffer); // takes the place of "status"
    if (!cgroups) {
        return std::nullopt;
    }
    facts.controlGroup = ProcFiles::parseControlGroup(*cgroups);
    return facts;
}

std::optional<int32_t> FactsFromKernel::unitProcess(int32_t pid) {
    const auto environment = readEnvironment(pid);
    return environment ? ProcFiles::parseUnitProcess(*environment) : std::nullopt;
}

std::optional<std::string_view> FactsFromKernel::readEnvironment(int32_t pid) {
    const FileDescriptor& process = open(pid);
    const auto environment = process ? readBelow(process, "environ", m_buffer) : std::nullopt;
    const bool isWhole =
        environment && environment->size() < m_buffer.size(); // what is cut off may be what is asked for
    return isWhole ? environment : std::nullopt;
}

std::optional<std::string> FactsFromKernel::environmentValue(int32_t pid, std::string_view name) {
    const auto environment = readEnvironment(pid);
    return environment ? std::optional(std::string(ProcFiles::environmentValue(*environment, name)))
                       : std::nullopt;
}

std::optional<ProcStartTime> FactsFromKernel::startTime(int32_t pid) {
    const auto known = m_stats.find(pid);
    return known != m_stats.end()
               ? std::optional(KernelClock::timeOfTicks(static_cast<int64_t>(known->second.startTicks)))
               : std::nullopt;
}

std::optional<std::vector<std::string>> FactsFromKernel::arguments(int32_t pid) {
    const FileDescriptor& process = open(pid);
    const auto owner = process ? ownerOf(process) : std::nullopt;
    const auto record = owner ? readBelow(process, "cmdline", m_buffer) : std::nullopt;
    const bool isWhole = record && record->size() <= KernelTable::mostOfArguments(*owner);
    return isWhole ? std::optional(ProcFiles::parseArguments(*record)) : std::nullopt;
}

std::optional<std::string> FactsFromKernel::executable(int32_t pid) {
    const FileDescriptor& process = open(pid);
    return process ? readLinkBelow(process, "exe") : std::nullopt;
}

std::optional<int64_t> FactsFromKernel::residentKB(int32_t pid) {
    const FileDescriptor& process = open(pid);
    auto record = process ? readBelow(process, "statm", m_buffer) : std::nullopt;
    if (!record) {
        return std::nullopt;
    }
    static_cast<void>(Text::takeWord(*record)); // the size of its address space
    const auto pages = Text::parseInteger<int64_t>(Text::takeWord(*record));
    return pages ? std::optional(KernelTable::kibibytesOf(*pages)) : std::nullopt;
}

Folders FactsFromKernel::folders(std::span<const int32_t> pids) {
    Folders folders;
    for (const int32_t pid : pids) {
        const FileDescriptor& process = open(pid);
        if (auto folder = process ? readLinkBelow(process, "cwd") : std::nullopt) {
            folders.byPID.emplace(pid, *std::move(folder));
        }
    }
    return folders;
}

Listeners FactsFromKernel::listeners(const std::set<int>& ports, std::span<const int32_t> candidates) {
    const auto found = listenersOn(ports);
    if (!found) {
        return {.shortfall = {.fault = Shell::Fault::notLaunched, .source = "/proc/net"}};
    }
    const PortsByInode& portsByInode = *found;
    Listeners listeners;
    std::unordered_set<uint64_t> missing;
    for (const auto& [inode, port] : portsByInode) {
        missing.insert(inode);
    }
    const auto lookAt = [&](int32_t pid) {
        for (const uint64_t socket : heldBy(pid).sockets) {
            if (const auto port = portsByInode.find(socket); port != portsByInode.end()) {
                listeners.byPID[pid].insert(port->second);
                missing.erase(socket);
            }
        }
    };
    const std::unordered_set<int32_t> first(candidates.begin(), candidates.end());
    for (const int32_t pid : portsByInode.empty() ? std::unordered_set<int32_t>() : first) {
        lookAt(pid);
    }
    for (const ProcessFacts& process : m_processes) {
        if (missing.empty()) {
            break;
        }
        if (!first.contains(process.pid)) {
            lookAt(process.pid);
        }
    }
    return listeners;
}

std::vector<OpenDescriptor> FactsFromKernel::openDescriptors(std::span<const int32_t> pids) {
    std::vector<OpenDescriptor> descriptors;
    for (const int32_t pid : pids) {
        const FileDescriptor& process = open(pid);
        SocketNames sockets(process);
        forEachDescriptor(process, [&](int folder, const char* number, std::string_view target) {
            const auto inode = SocketTables::parseDescriptor(target);
            auto socket = inode ? sockets.find(*inode) : std::nullopt;
            descriptors.push_back(
                socket ? *std::move(socket)
                       : OpenDescriptor{.type = typeOf(folder, number), .name = std::string(target)});
        });
    }
    return descriptors;
}

std::unique_ptr<Facts> kernelFacts() {
    return std::make_unique<FactsFromKernel>();
}

} // namespace VintrelCore::Platform
