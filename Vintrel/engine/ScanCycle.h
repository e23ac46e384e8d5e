#pragma once

#include "Vintrel/engine/ScanSources.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/log/CPUSampler.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/Protection.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ScanFaults.h"
#include "VintrelCore/scan/ScanRules.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/// One scan off the main thread: from copies of the engine's inputs to values that it can publish.
namespace Vintrel::ScanCycle {

struct Inputs {
    VintrelCore::ScanRules rules{};
    VintrelCore::SortedIgnores ignores{}; ///< of the rules
    VintrelCore::ScanCore::PIDSet dismissedPIDs{};
    std::string home{}; ///< the folder to write as "~"
};

struct Results {
    std::vector<VintrelCore::ProcessItem> items{};
    std::unordered_map<int32_t, VintrelCore::PortRegistry::PortSet> listeningPorts{};
    VintrelCore::DockerCore::OwnerMap containerOwners{};
    VintrelCore::CwdResolver::CwdMap cwds{};
    VintrelCore::ScanCore::PIDSet ended{}; ///< of the items' processes, those that had no folder any more
    VintrelCore::AncestryResolver::ProcessTable processTable{};
    std::unordered_map<int32_t, std::string> managers{};
    VintrelCore::CPUSampler::Reading usedCPU{};
    VintrelCore::ScanFaults faults{};
    VintrelCore::DockerService::EngineState containerEngine = VintrelCore::DockerService::EngineState::absent;
};

[[nodiscard]] Results run(const Inputs& inputs, const ScanSources& sources, int interrupt);

} // namespace Vintrel::ScanCycle
