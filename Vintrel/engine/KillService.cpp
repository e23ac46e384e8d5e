#include "Vintrel/engine/KillService.h"

#include "Vintrel/engine/Background.h"
#include "VintrelCore/terminate/KillCore.h"

namespace Vintrel::KillService {

using VintrelCore::ProcessItem;
using VintrelCore::DockerCore::OwnerMap;
using VintrelCore::KillCore::KillResult;

std::vector<KillResult> endAll(const std::vector<ProcessItem>& items, const OwnerMap& containerOwners,
                               int interrupt) {
    VintrelCore::KillCore::World world;
    world.interrupt = interrupt;
    return VintrelCore::KillCore::killAll(items, containerOwners, world);
}

void kill(const ProcessItem& item, const OwnerMap& containerOwners, QObject* owner,
          const std::function<void(const KillResult&)>& onComplete, const Ending& ending) {
    kill(
        std::vector{item}, containerOwners, owner,
        [pid = item.pid, onComplete](const Outcomes& outcomes) { onComplete(outcomes.at(pid)); }, ending);
}

void kill(const std::vector<ProcessItem>& items, const OwnerMap& containerOwners, QObject* owner,
          const std::function<void(const Outcomes&)>& onComplete, const Ending& ending) {
    if (items.empty()) {
        onComplete({});
        return;
    }
    const auto work = [items, containerOwners, ending](int interrupt) {
        const std::vector<KillResult> results = ending(items, containerOwners, interrupt);
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
