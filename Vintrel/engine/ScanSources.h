#pragma once

#include "Vintrel/engine/KillService.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/log/CPUSampler.h"
#include "VintrelCore/log/CleanEvent.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/Scan.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace Vintrel {

/// What the engine asks of the outside world, as functions, so that prepared answers can stand in for it.
///
/// All but `now` may block and are called off the main thread, several at the same time. Where `interrupt` (a
/// descriptor) becomes readable, they give up.
struct ScanSources {
    std::function<VintrelCore::Scan::Result(const VintrelCore::Scan::Inputs& inputs, int interrupt)> scan;
    std::function<VintrelCore::CPUSampler::Reading(const std::vector<VintrelCore::ProcessItem>& items)>
        usedCPU;
    std::function<VintrelCore::DockerService::OwnersAnswer(int interrupt)> containerOwners;
    std::function<VintrelCore::OpenFileList(const std::vector<int32_t>& pids, int interrupt)> openFiles;
    KillService::Ending kill;
    std::function<VintrelCore::Instant()> now;

    /// The real ones.
    ScanSources();
};

} // namespace Vintrel
