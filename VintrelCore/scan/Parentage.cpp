#include "VintrelCore/scan/Parentage.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/Caretakers.h"
#include "VintrelCore/scan/ControlGroup.h"

#include <algorithm>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace VintrelCore::Parentage {

namespace {

using ControlGroup::Unit;
using Platform::KernelFacts;

constexpr int32_t orphansParent = 1;
constexpr int32_t noParentWorthNaming = 0;

/// Seconds within which an application forks itself away, at a login on a busy machine.
constexpr int64_t longestStart = 10;

/// Seconds within which process 1 of a container starts what it was told to.
constexpr int64_t longestContainersStart = 1;

/// Whether one moment comes no more than that many seconds after another one, or before it.
bool isWithin(int64_t seconds, ProcStartTime moment, ProcStartTime other) {
    other.sec += seconds;
    return moment <= other;
}

/// Decides for the children of adopters in one snapshot.
class Judge {
public:
    Judge(std::span<SnapshotRecord> records, const Platform::KernelView& kernel) : m_kernel(kernel) {
        for (const SnapshotRecord& record : records) {
            noteSurroundings(record);
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
        noteContainersCommand();
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

    void noteSurroundings(const SnapshotRecord& record) {
        if (Caretakers::isAdopter(record.pid, record.command)) {
            m_adopters.insert(record.pid);
        }
        if (ProcessItem::isTTYAttached(record.tty)) {
            m_parentsOfTerminals.insert(record.ppid);
        }
        if (record.pid == 1 && !Caretakers::isSystemsFirst(record.command)) {
            const auto facts = m_kernel.factsOf(1);
            m_containersFirst = {.program = Caretakers::programOf(record.command),
                                 .session = facts ? std::optional(facts->sessionID) : std::nullopt,
                                 .startTime = facts ? facts->startTime : ProcStartTime{}};
        }
    }

    /// Some programs that serve as process 1 put the one command that they were told into a session of its
    /// own. It is their oldest child, from the start; what was orphaned into the container comes later.
    void noteContainersCommand() {
        if (!m_containersFirst) {
            return;
        }
        const Child* oldest = nullptr;
        for (const Child& child : m_children) {
            if (child.facts && child.record->ppid == 1 &&
                (oldest == nullptr || ageOf(child) < ageOf(*oldest))) {
                oldest = &child;
            }
        }
        if (oldest != nullptr && oldest->facts->sessionID == oldest->record->pid &&
            isWithin(longestContainersStart, oldest->facts->startTime, m_containersFirst->startTime)) {
            m_containersFirst->commandsSession = oldest->facts->sessionID;
        }
    }

    static Age ageOf(const Child& child) {
        return {child.facts->startTime.sec, child.facts->startTime.usec, child.record->pid};
    }

    void noteAge(const Child& child) {
        const Age age = ageOf(child);
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
        if (ControlGroup::isInContainer(facts.controlGroup, m_kernel.ownControlGroup)) {
            return Path::lastComponent(facts.controlGroup); // the container's own name for itself
        }
        const Unit unit = ControlGroup::unitOf(facts.controlGroup);
        if (looksAfterItsOwn(unit) || isApplicationItself(record, facts, unit)) {
            return unit.name;
        }
        if (const std::string_view host = Caretakers::hostProgram(record.command); !host.empty()) {
            return host;
        }
        const bool leadsItsSession = facts.sessionID == record.pid;
        if (record.ppid == 1 && m_containersFirst && (leadsItsSession || isWorkOfFirst(facts))) {
            return m_containersFirst->program;
        }
        if (unit.name.empty() && leadsItsSession) {
            return ""; // a daemon by its own choice
        }
        if (m_parentsOfTerminals.contains(record.pid) || m_kernel.holdsTerminal(record.pid)) {
            return Caretakers::programOf(record.command); // a terminal's window or server
        }
        return std::nullopt;
    }

    /// Whether a process belongs to what a container's process 1 was told to run.
    [[nodiscard]] bool isWorkOfFirst(const KernelFacts& facts) const {
        return !m_containersFirst->session || facts.sessionID == *m_containersFirst->session ||
               facts.sessionID == m_containersFirst->commandsSession;
    }

    static bool looksAfterItsOwn(const Unit& unit) {
        const bool isDesktops = unit.belongsToUserManager && ControlGroup::isDesktopService(unit.name);
        return unit.name == "init.scope" || (ControlGroup::isService(unit.name) && !isDesktops);
    }

    static bool isTerminalsScope(std::string_view unit) {
        return unit.starts_with("vte-spawn-") || unit.starts_with("tmux-spawn-");
    }

    /// Whether it is what its desktop's unit was started for, and nothing that this left behind.
    [[nodiscard]] bool isApplicationItself(const SnapshotRecord& record, const KernelFacts& facts,
                                           const Unit& unit) const {
        // Nothing was launched into a login, and into a terminal's scopes only shells, which have a terminal.
        if (!unit.belongsToUserManager || isTerminalsScope(unit.name)) {
            return false;
        }
        const bool isInService = ControlGroup::isService(unit.name);
        const auto first =
            isInService ? m_kernel.unitProcessOf(record.pid) : ControlGroup::numberInScope(unit.name);
        if (first == record.pid) {
            return true;
        }
        if (first && isBeside(*first, facts)) {
            return false;
        }
        const bool isOldest = std::get<2>(m_oldest.at(facts.controlGroup)) == record.pid;
        const bool leadsItsSession = facts.sessionID == record.pid;
        if (!leadsItsSession && !first && unit.name.starts_with("app-")) {
            return !isInService && isOldest; // some desktops give a scope no number
        }
        if (!leadsItsSession) {
            return first && (beganWithItsUnit(facts) || (isInService && isForkedTwice(facts, *first)));
        }
        // An application that forks itself away leads a session. In a service it may have leftovers of the
        // run before it beside it; a scope is for one run only. That its oldest leader was left there by an
        // application that is closed cannot be known: one that began with an update, or a question for a
        // password, forks itself away as long after the scope was made.
        return isInService || isOldest;
    }

    /// Whether it started so soon that it may be what the unit was made for, forked away. The service manager
    /// would know; the kernel does not. What an application leaves behind was rarely started by then.
    [[nodiscard]] bool beganWithItsUnit(const KernelFacts& facts) const {
        const auto unitStart = m_kernel.controlGroupStart(facts.controlGroup);
        return unitStart && isWithin(longestStart, facts.startTime, *unitStart);
    }

    /// Whether it may be a service that has taken a session and then, by forking again, left its lead: the
    /// session is not that of the process with which the service began, its leader is gone, and no shell has
    /// divided it into jobs. Holds beside leftovers of a former run, too, for which the control group is
    /// older.
    [[nodiscard]] bool isForkedTwice(const KernelFacts& facts, int32_t first) const {
        return facts.sessionID != first && facts.processGroupID == facts.sessionID &&
               !m_kernel.factsOf(facts.sessionID);
    }

    /// Whether the process that a unit was started with still runs in it.
    [[nodiscard]] bool isBeside(int32_t first, const KernelFacts& facts) const {
        const auto found = m_kernel.factsOf(first);
        return found && found->state != 'Z' && found->controlGroup == facts.controlGroup &&
               !(facts.startTime < found->startTime); // else the number is another one's now
    }

    /// Process 1 of the container in which this program runs.
    struct ContainersFirst {
        std::string_view program;
        std::optional<int32_t> session;
        ProcStartTime startTime{};
        std::optional<int32_t> commandsSession{}; ///< where that is another one
    };

    const Platform::KernelView& m_kernel;
    std::unordered_set<int32_t> m_adopters{1};        // also where the system hides process 1 from its users
    std::unordered_set<int32_t> m_parentsOfTerminals; // they have a child on one
    std::optional<ContainersFirst> m_containersFirst;
    std::vector<Child> m_children;
    /// Per control group, start and pid of the oldest child that an adopter has in it.
    std::unordered_map<std::string, Age> m_oldest;
};

} // namespace

void correct(std::span<SnapshotRecord> records, const Platform::KernelView& kernel) {
    if (kernel.correctsParents) {
        Judge(records, kernel).correctAll();
    }
}

} // namespace VintrelCore::Parentage
