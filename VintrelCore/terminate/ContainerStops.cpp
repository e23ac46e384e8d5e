#include "VintrelCore/terminate/ContainerStops.h"

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/scan/ControlGroup.h"
#include "VintrelCore/terminate/Interruption.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace VintrelCore::KillCore {

namespace {

/// Client processes of the container engine at work at the same time.
constexpr size_t mostStops = 16;

struct ContainerStopping {
    RowEnding* row;
    Shell::Command command;
};

/// Whether a start time reported by an engine can belong to this process. The engine records it shortly after
/// the process began. A remote engine may have a process with the same pid, but not with the same start time.
bool isSameStart(const ContainerStop& stop, const ProcessItem& item) {
    constexpr int64_t longestStart = 10;
    constexpr int64_t rounding = 1;
    return stop.startedAt && item.startTime && *stop.startedAt >= item.startTime->sec - rounding &&
           *stop.startedAt <= item.startTime->sec + longestStart;
}

bool isOf(const ContainerStop& stop, const ProcessItem& item, const ContainerHere& here) {
    if (!here.id.empty()) {
        return stop.id == here.id;
    }
    return stop.pid == item.pid && (!here.isToBeConfirmed || isSameStart(stop, item));
}

/// The stop commands, each with the container's own timeout, and by its id where it is known.
std::vector<ContainerStopping> stoppingsOf(std::span<const ContainerRow> rows, const std::string& client,
                                           int interrupt) {
    std::vector<std::string> names;
    std::ranges::transform(rows, std::back_inserter(names), &ContainerRow::container);
    const auto answer = DockerService::askAboutStops(client, names, interrupt);
    const auto known = answer.value_or(std::vector<ContainerStop>());
    std::vector<ContainerStopping> stoppings;
    for (const ContainerRow& row : rows) {
        const auto stop = std::ranges::find_if(
            known, [&row](const ContainerStop& each) { return isOf(each, row.row->item(), row.here); });
        if (stop != known.end()) {
            stoppings.push_back(
                {.row = row.row,
                 .command = DockerService::command(client, DockerService::stopArguments(stop->id), *stop)});
        } else if (!row.here.isToBeConfirmed) {
            stoppings.push_back(
                {.row = row.row,
                 .command = DockerService::command(client, DockerService::stopArguments(row.container))});
        } else if (!answer && !Interruption(interrupt).hasCome()) {
            row.row->giveUp(KillDetail::engineNotAnswering); // it may be stopping this very container
        }
    }
    return stoppings;
}

void stopSideBySide(std::span<const ContainerStopping> stoppings, int interrupt) {
    std::vector<Shell::Run> runs;
    for (const ContainerStopping& stopping : stoppings) {
        runs.emplace_back(stopping.command);
    }
    std::vector<Shell::Run*> pointers;
    std::ranges::transform(runs, std::back_inserter(pointers), [](Shell::Run& run) { return &run; });
    Shell::await(pointers, nullptr, interrupt);
    for (size_t index = 0; index < stoppings.size(); ++index) {
        const Shell::Outcome outcome = runs[index].take();
        if (outcome.ok()) {
            stoppings[index].row->noteStoppedContainer();
        } else if (outcome.deadlineMissed) {
            stoppings[index].row->noteContainerBeingStopped();
        }
    }
}

} // namespace

void stopContainers(std::span<const ContainerRow> rows, const std::string& client, int interrupt) {
    const Interruption interruption(interrupt);
    const std::vector<ContainerStopping> stoppings = stoppingsOf(rows, client, interrupt);
    for (size_t first = 0; first < stoppings.size() && !interruption.hasCome(); first += mostStops) {
        stopSideBySide(std::span(stoppings).subspan(first, std::min(mostStops, stoppings.size() - first)),
                       interrupt);
    }
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

} // namespace VintrelCore::KillCore
