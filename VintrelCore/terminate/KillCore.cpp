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
        std::string container; // as the engine is told
    };

    /// The rows that are containers here, as far as they are the processes that the scan saw.
    std::vector<ContainerRow> containerRows() {
        std::vector<ContainerRow> rows;
        forUndecided([&](RowEnding& row) {
            const ProcessItem& item = row.item();
            const auto owner = m_owners.find(item.pid);
            const auto id = owner != m_owners.end() ? m_world.containerHere(item) : std::nullopt;
            // Compared after the id was read: it might be that of a process which has got the number since.
            if (id && shouldSendSIGTERM(item.startTime, startTime(item.pid))) {
                rows.push_back({.row = &row, .container = id->empty() ? owner->second : *id});
            }
        });
        return rows;
    }

    /// Those that the engine does not stop stay undecided, and get signals.
    void stopContainers() {
        const std::vector<ContainerRow> rows = containerRows();
        const auto client = rows.empty() ? std::nullopt : m_world.client();
        if (!client) {
            return;
        }
        for (size_t first = 0; first < rows.size() && !m_interruption.hasCome(); first += mostStops) {
            stopSideBySide(*client, std::span(rows).subspan(first, std::min(mostStops, rows.size() - first)));
        }
    }

    void stopSideBySide(const std::string& client, std::span<const ContainerRow> rows) const {
        std::vector<Shell::Run> runs;
        for (const ContainerRow& row : rows) {
            runs.emplace_back(DockerService::command(client, DockerService::stopArguments(row.container)));
        }
        std::vector<Shell::Run*> pointers;
        std::ranges::transform(runs, std::back_inserter(pointers), [](Shell::Run& run) { return &run; });
        Shell::await(pointers, nullptr, m_world.interrupt);
        for (size_t index = 0; index < rows.size(); ++index) {
            if (runs[index].take().ok()) {
                rows[index].row->noteStoppedContainer();
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

std::optional<std::string> containerOf(const ProcessItem& item, const Platform::KernelView& kernel) {
    if (!kernel.knowsContainers) {
        return item.kind == ProcessKind::docker ? std::optional<std::string>("") : std::nullopt;
    }
    const auto facts = kernel.factsOf(item.pid);
    if (!facts || !ControlGroup::isInContainer(facts->controlGroup, kernel.ownControlGroup)) {
        return std::nullopt;
    }
    return ControlGroup::containerID(facts->controlGroup, kernel.ownControlGroup)
        .transform([](std::string_view id) { return std::string(id); });
}

std::vector<KillResult> killAll(std::span<const ProcessItem> items,
                                const DockerCore::OwnerMap& containerOwners, const World& world) {
    return Batch(items, containerOwners, world).run();
}

KillOutcome kill(const ProcessItem& item, const DockerCore::OwnerMap& containerOwners) {
    return killAll({&item, 1}, containerOwners).front().outcome;
}

} // namespace VintrelCore::KillCore
