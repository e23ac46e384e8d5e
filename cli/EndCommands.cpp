#include "cli/EndCommands.h"

#include "Vintrel/startup/Interrupt.h"
#include "VintrelCore/VintrelCore.h"
#include "cli/Output.h"
#include "cli/Scanning.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <expected>
#include <functional>
#include <string>
#include <vector>

namespace EndCommands {

namespace {

using namespace VintrelCore;
using CLIEnding::Ending;
using Items = std::vector<ProcessItem>;

/// What of a scan is to be ended; else, why nothing is.
using Choice = std::function<std::expected<Items, std::string>(const CLIScan::Result& scan)>;

std::vector<Ending> endAll(const Items& items, int interrupt) {
    const Output::Progress progress("Ending " + std::to_string(items.size()) +
                                    (items.size() == 1 ? " process…" : " processes…"));
    // An engine that does not answer would take its whole deadline; asked only when it matters.
    KillCore::World world;
    world.interrupt = interrupt;
    const bool anyInContainer = std::ranges::any_of(
        items, [&world](const ProcessItem& item) { return world.containerHere(item).has_value(); });
    const auto containers =
        anyInContainer ? DockerService::askForOwners(interrupt) : DockerService::OwnersAnswer();
    world.ownersAreKnown = !containers.isLate;
    const auto results = KillCore::killAll(items, containers.owners, world);
    std::vector<Ending> endings(items.size());
    for (size_t index = 0; index < items.size(); ++index) {
        endings[index] = {.item = items[index], .result = results[index]};
    }
    return endings;
}

/// Whole or not at all, so that an end by whatever signal leaves no half of it.
void record(std::span<const Ending> endings, const CwdResolver::CwdMap& cwds) {
    const auto now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    const auto events = CLIEnding::cleanEvents(endings, cwds, now);
    if (!events.empty() &&
        !CleanLogFile::append(events, CleanLogFile::defaultURL(), CleanLogFile::retentionCap).isSaved) {
        Output::complain("the clean log could not be written; this is not on record");
    }
}

int report(std::span<const Ending> endings, const CwdResolver::CwdMap& cwds) {
    std::string text;
    for (const Ending& ending : endings) {
        text += CLIEnding::resultLine(ending, cwds) + "\n";
    }
    const int status = Output::finish(text + CLIEnding::closingLine(endings));
    const bool anyLeft = std::ranges::any_of(
        endings, [](const Ending& ending) { return KillCore::isLeftRunning(ending.result); });
    return anyLeft ? EXIT_FAILURE : status;
}

int endWhatIsChosen(const ScanRules& rules, const Choice& choose, int interrupt) {
    const CLIScan::Result scan = CLIScan::scan(rules, {.interrupt = interrupt});
    if (scan.interrupted || !isUsable(scan)) {
        return EXIT_FAILURE;
    }
    const auto items = choose(scan);
    if (!items) {
        Output::complain(items.error());
        return EXIT_FAILURE;
    }
    if (items->empty()) {
        return Output::finish(CLIEnding::nothingToClean);
    }
    const auto endings = endAll(*items, interrupt);
    record(endings, scan.cwds); // before printing, which ends the program when nobody reads any more
    return report(endings, scan.cwds);
}

int end(const ScanRules& rules, const Choice& choose) {
    int status = EXIT_FAILURE;
    interruptibly([&](int interrupt) { status = endWhatIsChosen(rules, choose, interrupt); });
    return status;
}

} // namespace

int kill(int32_t pid, const Settings& settings) {
    settings.complainAboutDefaults();
    return end(settings.rules, [pid](const CLIScan::Result& scan) -> Choice::result_type {
        const auto item = CLIEnding::itemToKill(pid, scan);
        return item ? Choice::result_type(Items{*item}) : std::unexpected(item.error());
    });
}

int clean(const Settings& settings) {
    return end(settings.rules, [&settings](const CLIScan::Result& scan) -> Choice::result_type {
        if (const auto reason = reasonNotToClean(scan.faults, settings.rules, settings.problem)) {
            return std::unexpected(*reason);
        }
        std::ranges::for_each(CLIEnding::leftOut(scan), Output::complain);
        return CLIEnding::itemsToClean(scan);
    });
}

} // namespace EndCommands
