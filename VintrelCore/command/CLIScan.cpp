#include "VintrelCore/command/CLIScan.h"

#include "VintrelCore/context/SlowMounts.h"
#include "VintrelCore/scan/Protection.h"

#include <utility>

namespace VintrelCore::CLIScan {

namespace {

void noteProtected(Result& result, const ScanRules& rules, const Protection& protection) {
    for (const ProcessItem& item : result.items) {
        if (protection.covers(item, result.cwds)) {
            result.protectedPIDs.insert(item.pid);
        } else if (rules.goByFolders() && isFolderUnknown(item, result.cwds, result.ended)) {
            result.unknownFolderPIDs.insert(item.pid);
        }
    }
}

} // namespace

Result scan(const ScanRules& rules, const World& world) {
    const auto facts = world.facts(world.interrupt); // tools run while links are followed
    SlowMounts slowMounts;
    auto protection = Protection::found(rules.protectedProjects, world.home, slowMounts, world.interrupt);
    const bool metDeadMount = !protection;
    if (!protection) {
        protection = Protection{.entries = rules.protectedProjects, .home = world.home};
    }
    Result result{Scan::run({.rules = rules, .home = protection->home, .slowMounts = std::move(slowMounts)},
                            *facts, world.interrupt)};
    result.faults.metDeadMount = result.faults.metDeadMount || metDeadMount;
    noteProtected(result, rules, *protection);
    return result;
}

} // namespace VintrelCore::CLIScan
