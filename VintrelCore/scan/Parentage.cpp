#include "VintrelCore/scan/Parentage.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace VintrelCore::Parentage {

namespace {

using Platform::KernelFacts;

constexpr int32_t orphansParent = 1;
constexpr int32_t noParentWorthNaming = 0;

std::string_view firstWord(std::string_view command) {
    return Text::takeWord(command);
}

/// "tmux" for "/usr/bin/tmux -u" and for the title "tmux: server".
std::string_view programOf(std::string_view command) {
    std::string_view program = Path::lastComponent(firstWord(command));
    if (program.ends_with(':')) {
        program.remove_suffix(1);
    }
    return program;
}

bool hasWord(std::string_view command, std::string_view wanted) {
    for (std::string_view word = Text::takeWord(command); !word.empty(); word = Text::takeWord(command)) {
        if (word == wanted) {
            return true;
        }
    }
    return false;
}

bool isUnitOfKind(std::string_view component, std::string_view ending) {
    return component.size() > ending.size() && component.ends_with(ending);
}

bool isService(std::string_view component) {
    return isUnitOfKind(component, ".service");
}

bool isUnit(std::string_view component) {
    return isService(component) || isUnitOfKind(component, ".scope");
}

bool isUserManager(std::string_view component) {
    return component.starts_with("user@") && isService(component);
}

/// Whether the desktop itself starts services of this name, so that what they leave behind is nobody's.
bool isLaunchedByDesktop(std::string_view service) {
    constexpr std::array<std::string_view, 7> prefixes{
        "app-", "vte-spawn-", "org.gnome.", "gnome-shell", "gnome-session", "xdg-desktop-portal", "plasma-"};
    const bool isActivatedByBus =
        service.starts_with("dbus-") && service.find('@', 5) != std::string_view::npos;
    return isActivatedByBus || service == "gnome-terminal-server.service" ||
           std::ranges::any_of(prefixes, [service](auto prefix) { return service.starts_with(prefix); });
}

/// The program in whose keeping its children are, although their parent is an adopter; "" when it is none
/// such.
std::string_view hostProgram(std::string_view command) {
    // screen calls itself SCREEN once it has become the server.
    constexpr auto hosts = std::to_array<std::string_view>(
        {"tmux", "screen", "SCREEN", "zellij", "abduco", "dtach", "conmon", "dockerd", "rootlesskit"});
    const std::string_view program = programOf(command);
    if (std::ranges::find(hosts, program) != hosts.end() || program.starts_with("containerd")) {
        return program;
    }
    for (const std::string_view server : {".vscode-server", ".cursor-server"}) {
        if (command.contains(server)) {
            return server.substr(1);
        }
    }
    return {};
}

/// The innermost control group by name, for telling people which container a process lives in.
std::string_view containerName(std::string_view controlGroup) {
    return Path::lastComponent(controlGroup);
}

/// Whether a command is no system's first process but a tool or a script with work of its own.
bool isAtWork(std::string_view command) {
    return RunnerShells::isPackageRunner(command) || RunnerShells::shellScript(command).has_value() ||
           ScanCore::detectKind(command).has_value();
}

/// Decides for the children of adopters in one snapshot.
class Judge {
public:
    Judge(std::span<SnapshotRecord> records, const Platform::KernelView& kernel) : m_kernel(kernel) {
        for (const SnapshotRecord& record : records) {
            if (isAdopter(record.pid, record.command)) {
                m_adopters.insert(record.pid);
            }
            if (record.pid == 1 && isAtWork(record.command)) {
                m_processOne = programOf(record.command);
            }
        }
        for (SnapshotRecord& record : records) {
            if (m_adopters.contains(record.ppid)) {
                m_children.push_back({.record = &record, .facts = kernel.factsOf(record.pid)});
            }
        }
        for (const Child& child : m_children) {
            if (child.facts) {
                noteAge(child);
            }
        }
    }

    void correctAll() {
        for (const Child& child : m_children) {
            correct(child);
        }
    }

private:
    using Age = std::tuple<int64_t, int64_t, int32_t>; // seconds and microseconds of the start, pid

    struct Child {
        SnapshotRecord* record;
        std::optional<KernelFacts> facts;
    };

    void noteAge(const Child& child) {
        const Age age{child.facts->startTime.sec, child.facts->startTime.usec, child.record->pid};
        const auto [oldest, isFirst] = m_oldest.try_emplace(child.facts->controlGroup, age);
        if (!isFirst) {
            oldest->second = std::min(oldest->second, age);
        }
    }

    void correct(const Child& child) {
        SnapshotRecord& record = *child.record;
        if (!child.facts || child.facts->userID != m_kernel.userID) {
            record.ppid = noParentWorthNaming; // what cannot be known is never an orphan
            return;
        }
        const bool keepsItsParent = ProcessItem::isTTYAttached(record.tty) ||
                                    m_adopters.contains(record.pid) || child.facts->state == 'Z';
        if (keepsItsParent) {
            return;
        }
        const auto keeper = keeperOf(record, *child.facts);
        record.ppid = keeper ? noParentWorthNaming : orphansParent;
        record.managedBy = keeper.value_or("");
    }

    /// Who looks after the process; absent when nobody does, "" when it is somebody without a name.
    [[nodiscard]] std::optional<std::string_view> keeperOf(const SnapshotRecord& record,
                                                           const KernelFacts& facts) const {
        if (record.ppid == 1 && !m_processOne.empty()) {
            return m_processOne;
        }
        if (isInContainer(facts.controlGroup, m_kernel.ownControlGroup)) {
            return containerName(facts.controlGroup);
        }
        const Unit unit = unitOf(facts.controlGroup);
        const bool leadsItsSession = facts.sessionID == record.pid;
        if (unit.name == "init.scope") {
            return unit.name;
        }
        if (isService(unit.name)) {
            const bool isDesktops = unit.belongsToUserManager && isLaunchedByDesktop(unit.name);
            const bool isOldest = std::get<2>(m_oldest.at(facts.controlGroup)) == record.pid;
            const bool isApplicationItself = leadsItsSession && isOldest;
            if (!isDesktops || isApplicationItself) {
                return unit.name;
            }
        }
        if (const std::string_view host = hostProgram(record.command); !host.empty()) {
            return host;
        }
        if (unit.name.empty() && leadsItsSession) {
            return ""; // a daemon by its own choice
        }
        return std::nullopt;
    }

    const Platform::KernelView& m_kernel;
    std::unordered_set<int32_t> m_adopters{1}; // also where the system hides process 1 from its users
    /// A developer tool that is process 1, as in a container made for it: its children are at work, too.
    std::string_view m_processOne;
    std::vector<Child> m_children;
    /// Per control group, start and pid of the oldest child that an adopter has in it.
    std::unordered_map<std::string, Age> m_oldest;
};

} // namespace

bool isAdopter(int32_t pid, std::string_view command) {
    const std::string_view word = firstWord(command);
    const std::string_view program = Path::lastComponent(word);
    const bool isWindowsRelay = word.starts_with("Relay(") && word.ends_with(')'); // as is /init: of WSL
    return pid == 1 || (program == "systemd" && hasWord(command, "--user")) || word == "/init" ||
           isWindowsRelay || program == "lxqt-session" || program == "dinit";
}

bool isInContainer(std::string_view controlGroup, std::string_view ownControlGroup) {
    // Inside a development container, what the program shares with everything around it says nothing.
    if (ownControlGroup.size() > 1 && Path::isAtOrBelow(controlGroup, ownControlGroup)) {
        controlGroup.remove_prefix(ownControlGroup.size());
    }
    constexpr std::array<std::string_view, 6> names{"/docker/", "libpod-",       "kubepods",
                                                    "/lxc",     "machine.slice", "buildkit"};
    if (std::ranges::any_of(names, [controlGroup](auto name) { return controlGroup.contains(name); })) {
        return true;
    }
    constexpr std::string_view engine = "docker-";
    constexpr size_t shortestID = 12; // what the engine prints; "docker-desktop" is an application
    for (auto at = controlGroup.find(engine); at != std::string_view::npos;
         at = controlGroup.find(engine, at + 1)) {
        const std::string_view name = controlGroup.substr(at + engine.size());
        if (std::min(name.find_first_not_of("0123456789abcdef"), name.size()) >= shortestID) {
            return true;
        }
    }
    return false;
}

Unit unitOf(std::string_view controlGroup) {
    Unit first;
    bool isBelowUserManager = false;
    for (const std::string_view component : Text::split(controlGroup, '/')) {
        if (isUnit(component) && isBelowUserManager) {
            return {.name = component, .belongsToUserManager = true};
        }
        if (isUnit(component) && first.name.empty()) {
            first.name = component;
        }
        isBelowUserManager = isBelowUserManager || isUserManager(component);
    }
    return first;
}

void correct(std::span<SnapshotRecord> records, const Platform::KernelView& kernel) {
    if (kernel.correctsParents) {
        Judge(records, kernel).correctAll();
    }
}

} // namespace VintrelCore::Parentage
