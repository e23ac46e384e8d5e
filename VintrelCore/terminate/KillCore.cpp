#include "VintrelCore/terminate/KillCore.h"

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ControlGroup.h"
#include "VintrelCore/terminate/RowEnding.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <iterator>

#include <poll.h>

namespace VintrelCore::KillCore {

namespace {

/// Seconds until a forced process that has not disappeared is reported as still there. Giving back much
/// memory takes its time.
constexpr double forcedPatience = 2;

/// Client processes of the container engine at work at the same time.
constexpr size_t mostStops = 16;

/// Whether a descriptor has become readable, and waits that it cuts short.
class Interruption {
public:
    /// Never comes for a negative descriptor.
    explicit Interruption(int descriptor) : m_descriptor(descriptor) {}

    [[nodiscard]] bool hasCome() const { return comesWithin(0); }

    void waitFor(double seconds) const {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        for (double left = seconds; left > 0 && !comesWithin(std::ceil(left * 1'000));) {
            left = std::chrono::duration<double>(end - Clock::now()).count();
        }
    }

private:
    /// Whether something came while waiting.
    [[nodiscard]] bool comesWithin(double milliseconds) const {
        pollfd interrupt{.fd = m_descriptor, .events = POLLIN, .revents = 0};
        constexpr double longest = 60'000; // who asked for more, waits again
        return ::poll(&interrupt, 1, static_cast<int>(std::min(milliseconds, longest))) > 0;
    }

    int m_descriptor;
};

/// Many items on their way through the sequence together.
class Batch {
public:
    Batch(std::span<const ProcessItem> items, const DockerCore::OwnerMap& owners, const World& world)
        : m_owners(owners), m_world(world), m_interruption(world.interrupt) {
        for (const ProcessItem& item : items) {
            m_rows.emplace_back(item, m_world);
        }
    }

    std::vector<KillResult> run() {
        forUndecided([](RowEnding& row) { row.refuseWhatIsNeverEnded(); });
        stopContainers();
        const Platform::MoreDescriptors more(countSignallable()); // the engine's clients went without
        const bool isToGoOn = !m_interruption.hasCome();
        forUndecided(
            [isToGoOn](RowEnding& row) { isToGoOn ? row.askToEnd() : row.giveUp(KillDetail::interrupted); });
        forUndecided([this](const RowEnding& row) {
            for (const int32_t pid : row.signalledPIDs()) {
                m_world.at(Moment::duringGrace, pid);
            }
        });
        if (anyUndecided()) {
            // To its end even when everybody has gone: what they leave behind may need the time to end, too.
            m_interruption.waitFor(m_world.gracePeriod);
        }
        const bool wasCutShort = m_interruption.hasCome();
        if (!wasCutShort) {
            force();
        }
        forUndecided([wasCutShort](RowEnding& row) { row.conclude(wasCutShort); });
        std::vector<KillResult> results;
        std::ranges::transform(m_rows, std::back_inserter(results), &RowEnding::result);
        return results;
    }

private:
    template <typename Action>
    void forUndecided(const Action& action) {
        for (RowEnding& row : m_rows) { // NOLINT(misc-const-correctness): most actions change it
            if (!row.isDecided()) {
                std::invoke(action, row);
            }
        }
    }

    /// How many processes may be signalled, each through a descriptor of its own.
    [[nodiscard]] size_t countSignallable() const {
        size_t count = 0;
        for (const RowEnding& row : m_rows) {
            count += row.isDecided() ? 0 : 1 + row.item().folded.size();
        }
        return count;
    }

    [[nodiscard]] bool anyUndecided() const { return !std::ranges::all_of(m_rows, &RowEnding::isDecided); }

    struct ContainerRow {
        RowEnding* row;
        ContainerHere here;
        std::string container; // as the engine is told
    };

    /// The rows that are containers here, as far as they are the processes that the scan saw.
    std::vector<ContainerRow> containerRows() {
        std::vector<ContainerRow> rows;
        forUndecided([&](RowEnding& row) {
            const ProcessItem& item = row.item();
            const auto owner = m_owners.find(item.pid);
            const auto here = owner != m_owners.end() ? m_world.containerHere(item) : std::nullopt;
            // Compared after the facts were read: they might be those of a process which has got the number
            // since.
            if (here && shouldSendSIGTERM(item.startTime, startTime(item.pid))) {
                rows.push_back(
                    {.row = &row, .here = *here, .container = here->id.empty() ? owner->second : here->id});
            }
        });
        return rows;
    }

    /// Those that the engine refuses to stop stay undecided, and get signals.
    void stopContainers() {
        const std::vector<ContainerRow> rows = containerRows();
        const auto client = rows.empty() ? std::nullopt : m_world.client();
        if (!client) {
            return;
        }
        const std::vector<ContainerStopping> stoppings = stoppingsOf(rows, *client);
        for (size_t first = 0; first < stoppings.size() && !m_interruption.hasCome(); first += mostStops) {
            stopSideBySide(
                std::span(stoppings).subspan(first, std::min(mostStops, stoppings.size() - first)));
        }
    }

    struct ContainerStopping {
        RowEnding* row;
        Shell::Command command;
    };

    /// How the engine is asked, with the time that each container takes, and by its id where it is known.
    [[nodiscard]] std::vector<ContainerStopping> stoppingsOf(std::span<const ContainerRow> rows,
                                                             const std::string& client) const {
        std::vector<std::string> names;
        std::ranges::transform(rows, std::back_inserter(names), &ContainerRow::container);
        const auto known = DockerService::askAboutStops(client, names, m_world.interrupt);
        std::vector<ContainerStopping> stoppings;
        for (const ContainerRow& row : rows) {
            const auto stop = std::ranges::find_if(
                known, [&row](const ContainerStop& each) { return isOf(each, row.row->item(), row.here); });
            if (stop != known.end()) {
                stoppings.push_back({.row = row.row,
                                     .command = DockerService::command(
                                         client, DockerService::stopArguments(stop->id), *stop)});
            } else if (!row.here.isToBeConfirmed) {
                stoppings.push_back(
                    {.row = row.row,
                     .command = DockerService::command(client, DockerService::stopArguments(row.container))});
            }
        }
        return stoppings;
    }

    static bool isOf(const ContainerStop& stop, const ProcessItem& item, const ContainerHere& here) {
        if (!here.id.empty()) {
            return stop.id == here.id;
        }
        return stop.pid == item.pid && (!here.isToBeConfirmed || isSameStart(stop, item));
    }

    /// Whether an engine's word on a start can be about this process. The engine notes it some time after the
    /// process began, and remote engines, whose numbers may be the same, started theirs at other times.
    static bool isSameStart(const ContainerStop& stop, const ProcessItem& item) {
        constexpr int64_t longestStart = 10;
        constexpr int64_t rounding = 1;
        return stop.startedAt && item.startTime && *stop.startedAt >= item.startTime->sec - rounding &&
               *stop.startedAt <= item.startTime->sec + longestStart;
    }

    void stopSideBySide(std::span<const ContainerStopping> stoppings) const {
        std::vector<Shell::Run> runs;
        for (const ContainerStopping& stopping : stoppings) {
            runs.emplace_back(stopping.command);
        }
        std::vector<Shell::Run*> pointers;
        std::ranges::transform(runs, std::back_inserter(pointers), [](Shell::Run& run) { return &run; });
        Shell::await(pointers, nullptr, m_world.interrupt);
        for (size_t index = 0; index < stoppings.size(); ++index) {
            const Shell::Outcome outcome = runs[index].take();
            if (outcome.ok()) {
                stoppings[index].row->noteStoppedContainer();
            } else if (outcome.deadlineMissed) {
                stoppings[index].row->noteContainerBeingStopped();
            }
        }
    }

    void force() {
        bool anyForced = false;
        forUndecided([&anyForced](RowEnding& row) { anyForced = row.forceUnlessEnded() || anyForced; });
        if (!anyForced) {
            return;
        }
        using Clock = std::chrono::steady_clock;
        constexpr double interval = 0.002;
        const auto end = Clock::now() + std::chrono::duration<double>(forcedPatience);
        const auto hasEnded = [](const RowEnding& row) { return row.isDecided() || row.hasEnded(); };
        while (!std::ranges::all_of(m_rows, hasEnded) && Clock::now() < end) {
            Interruption(-1).waitFor(interval);
        }
    }

    const DockerCore::OwnerMap& m_owners;
    const World& m_world;
    Interruption m_interruption;
    std::vector<RowEnding> m_rows;
};

} // namespace

std::string_view inWords(KillDetail detail) {
    switch (detail) {
    case KillDetail::containerStopped:
        return "container stopped";
    case KillDetail::containerStopping:
        return "its container is still being stopped";
    case KillDetail::ended:
        return "ended";
    case KillDetail::stillThere:
        return "still there, even after being forced";
    case KillDetail::alreadyGone:
        return "already gone";
    case KillDetail::notTheSame:
        return "no longer the same process, left alone";
    case KillDetail::notPermitted:
        return "not permitted";
    case KillDetail::refused:
        return "refused";
    case KillDetail::interrupted:
        return "still running when the wait was interrupted";
    }
    return {};
}

bool isCleaned(const KillResult& result) {
    return result.outcome == KillOutcome::confirmed && !isLeftRunning(result);
}

bool isLeftRunning(const KillResult& result) {
    return !result.left.empty();
}

std::optional<ProcStartTime> startTime(int32_t pid) {
    return Platform::startTime(pid);
}

bool shouldSendSIGTERM(const std::optional<ProcStartTime>& expected,
                       const std::optional<ProcStartTime>& current) {
    return !expected || expected == current;
}

bool shouldEscalateToSIGKILL(const std::optional<ProcStartTime>& snapshot,
                             const std::optional<ProcStartTime>& current) {
    return snapshot && snapshot == current;
}

std::optional<ContainerHere> containerOf(const ProcessItem& item, const Platform::KernelView& kernel) {
    if (!kernel.knowsContainers) {
        return item.kind == ProcessKind::docker ? std::optional(ContainerHere()) : std::nullopt;
    }
    const auto facts = kernel.factsOf(item.pid);
    if (!facts) {
        return std::nullopt;
    }
    const auto id = ControlGroup::isInContainer(facts->controlGroup, kernel.ownControlGroup)
                        ? ControlGroup::containerID(facts->controlGroup, kernel.ownControlGroup)
                        : std::nullopt;
    if (id) {
        return ContainerHere{.id = std::string(*id)};
    }
    // Engines without a right to make control groups, as a user's own may be, leave no id there.
    return facts->isNamespacesFirst ? std::optional(ContainerHere{.isToBeConfirmed = true}) : std::nullopt;
}

std::vector<KillResult> killAll(std::span<const ProcessItem> items,
                                const DockerCore::OwnerMap& containerOwners, const World& world) {
    return Batch(items, containerOwners, world).run();
}

KillOutcome kill(const ProcessItem& item, const DockerCore::OwnerMap& containerOwners) {
    return killAll({&item, 1}, containerOwners).front().outcome;
}

} // namespace VintrelCore::KillCore
