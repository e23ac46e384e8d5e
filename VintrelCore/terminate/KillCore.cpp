#include "VintrelCore/terminate/KillCore.h"

#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/terminate/ContainerStops.h"
#include "VintrelCore/terminate/Interruption.h"
#include "VintrelCore/terminate/RowEnding.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <iterator>

namespace VintrelCore::KillCore {

namespace {

/// Seconds until a forced process that has not disappeared is reported as still there. Giving back much
/// memory takes its time.
constexpr double forcedPatience = 2;

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

    void leaveAloneWhatMayBeAContainers() {
        forUndecided([&](RowEnding& row) {
            if (!m_world.ownersAreKnown && m_world.containerHere(row.item())) {
                row.giveUp(KillDetail::engineNotAnswering);
            }
        });
    }

    void stopContainers() {
        leaveAloneWhatMayBeAContainers();
        const std::vector<ContainerRow> rows = containerRows();
        if (const auto client = rows.empty() ? std::nullopt : m_world.client()) {
            KillCore::stopContainers(rows, *client, m_world.interrupt);
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
    case KillDetail::engineNotAnswering:
        return "its container engine did not answer, left alone";
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

std::vector<KillResult> killAll(std::span<const ProcessItem> items,
                                const DockerCore::OwnerMap& containerOwners, const World& world) {
    return Batch(items, containerOwners, world).run();
}

KillOutcome kill(const ProcessItem& item, const DockerCore::OwnerMap& containerOwners) {
    return killAll({&item, 1}, containerOwners).front().outcome;
}

} // namespace VintrelCore::KillCore
