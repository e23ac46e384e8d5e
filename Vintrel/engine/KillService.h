#pragma once

#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/terminate/KillResult.h"

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

class QObject;

/// The asynchronous front of `KillCore`: ending blocks for the grace period, so it happens off the main
/// thread, and the outcome is delivered on it. To be called on the main thread. When `owner` is gone by then,
/// nothing is delivered; what was begun is ended all the same, unless the program ends: then nobody is
/// forced. No state.
namespace Vintrel::KillService {

/// By pid.
using Outcomes = std::unordered_map<int32_t, VintrelCore::KillCore::KillResult>;

/// Ends items and blocks until it is done; one result per item, in order. Called on another thread.
using Ending = std::function<std::vector<VintrelCore::KillCore::KillResult>(
    const std::vector<VintrelCore::ProcessItem>& items,
    const VintrelCore::DockerService::OwnersAnswer& containers, int interrupt)>;

/// The real one.
[[nodiscard]] std::vector<VintrelCore::KillCore::KillResult>
endAll(const std::vector<VintrelCore::ProcessItem>& items,
       const VintrelCore::DockerService::OwnersAnswer& containers, int interrupt);

void kill(const VintrelCore::ProcessItem& item, const VintrelCore::DockerService::OwnersAnswer& containers,
          QObject* owner, const std::function<void(const VintrelCore::KillCore::KillResult&)>& onComplete,
          const Ending& ending = endAll);

/// All of them in one grace period. For no items at all, `onComplete` is called before this returns. Of two
/// items with the same pid, the later one's outcome counts.
void kill(const std::vector<VintrelCore::ProcessItem>& items,
          const VintrelCore::DockerService::OwnersAnswer& containers, QObject* owner,
          const std::function<void(const Outcomes&)>& onComplete, const Ending& ending = endAll);

} // namespace Vintrel::KillService
