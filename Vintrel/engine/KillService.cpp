#include "Vintrel/engine/KillService.h"

#include "Vintrel/engine/Background.h"
#include "VintrelCore/terminate/KillCore.h"

namespace Vintrel::KillService {

using VintrelCore::ProcessItem;
using VintrelCore::DockerService::OwnersAnswer;
using VintrelCore::KillCore::KillResult;

std::vector<KillResult> endAll(const std::vector<ProcessItem>& items, const OwnersAnswer& containers,
                               int interrupt) {
    VintrelCore::KillCore::World world;
    world.interrupt = interrupt;
    world.ownersAreKnown = !containers.isLate;
    return VintrelCore::KillCore::killAll(items, containers.owners, world);
}

void kill(const ProcessItem& item, const OwnersAnswer& containers, QObject* owner,
          const std::function<void(const KillResult&)>& onComplete, const Ending& ending) {
    kill(
        std::vector{item}, containers, owner,
        [pid = item.pid, onComplete](const Outcomes& outcomes) { onComplete(outcomes.at(pid)); }, ending);
}

void kill(const std::vector<ProcessItem>& items, const OwnersAnswer& containers, QObject* owner,
          const std::function<void(const Outcomes&)>& onComplete, const Ending& ending) {
    if (items.empty()) {
        onComplete({});
        return;
    }
    const auto work = [items, containers, ending](int interrupt) {
        const std::vector<KillResult> results = ending(items, containers, interrupt);
        Outcomes outcomes;
        for (size_t index = 0; index < items.size(); ++index) {
            outcomes.insert_or_assign(items[index].pid,
                                      index < results.size() ? results[index] : KillResult());
        }
        return outcomes;
    };
    Background::shared().run(owner, work, onComplete);
}

} // namespace Vintrel::KillService
