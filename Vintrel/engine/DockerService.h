#pragma once

#include "VintrelCore/docker/DockerCore.h"
#include "VintrelCore/docker/DockerService.h"

#include <functional>
#include <string>
#include <vector>

class QObject;

/// The asynchronous forms of `VintrelCore::DockerService`: they run the client off the main thread and
/// deliver on it, unless `owner` is gone by then. To be called on the main thread. Failures give empty
/// results.
namespace Vintrel::DockerService {

using VintrelCore::DockerService::Arguments;
using OnContainers = std::function<void(const std::vector<VintrelCore::Container>&)>;

/// The running containers.
void list(QObject* owner, OnContainers onComplete);

/// What each running container uses.
void stats(QObject* owner, std::function<void(const VintrelCore::DockerCore::StatsMap&)> onComplete);

/// Stops a container and removes it, whatever becomes of the first; then, the running containers.
void remove(const std::string& id, QObject* owner, OnContainers onComplete);

/// Runs each of the commands in turn, whatever becomes of the ones before; then, the running containers.
void performThenRefresh(std::vector<Arguments> commands, QObject* owner, OnContainers onComplete);

} // namespace Vintrel::DockerService
