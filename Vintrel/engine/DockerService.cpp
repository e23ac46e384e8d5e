#include "Vintrel/engine/DockerService.h"

#include "Vintrel/engine/Background.h"

#include <array>
#include <utility>

namespace Vintrel::DockerService {

namespace Core = VintrelCore::DockerService;

void list(QObject* owner, OnContainers onComplete) {
    Background::shared().run(
        owner, [](int interrupt) { return Core::listContainers(interrupt); }, std::move(onComplete));
}

void stats(QObject* owner, std::function<void(const VintrelCore::DockerCore::StatsMap&)> onComplete) {
    Background::shared().run(
        owner, [](int interrupt) { return Core::containerStats(interrupt); }, std::move(onComplete));
}

void remove(const std::string& id, QObject* owner, OnContainers onComplete) {
    Background::shared().run(
        owner, [id](int interrupt) { return Core::removeContainer(id, interrupt); }, std::move(onComplete));
}

void performThenRefresh(std::vector<Arguments> commands, QObject* owner, OnContainers onComplete) {
    const auto work = [commands = std::move(commands)](int interrupt) {
        Core::perform(commands, interrupt);
        return Core::listContainers(interrupt);
    };
    Background::shared().run(owner, work, std::move(onComplete));
}

} // namespace Vintrel::DockerService
