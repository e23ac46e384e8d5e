#pragma once

#include "Vintrel/engine/KillService.h"
#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/log/CPUSampler.h"
#include "VintrelCore/log/CleanEvent.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ScanCore.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Vintrel {

/// What the engine asks of the outside world, as functions, so that prepared answers can stand in for it.
///
/// All but `now` may block and are called off the main thread, several at the same time. Where `interrupt` (a
/// descriptor) becomes readable, they give up.
struct ScanSources {
    struct Listeners {
        std::unordered_map<int32_t, VintrelCore::PortRegistry::PortSet> ports{};
        VintrelCore::Lsof::Answer answer{}; ///< what was wrong with it, if anything
    };

    struct Candidates {
        std::vector<VintrelCore::ProcessItem> items{};
        std::unordered_map<int32_t, std::string> managers{}; ///< the unit or program that looks after a pid
        VintrelCore::Shell::Fault fault = VintrelCore::Shell::Fault::none;
    };

    struct DirectoriesQuery {
        std::vector<int32_t> pids{};
        std::string home{};
        bool mayTouchFiles = true;
    };

    struct Directories {
        VintrelCore::CwdResolver::CwdMap cwds{};
        VintrelCore::Lsof::Answer answer{};
    };

    std::function<Listeners(int interrupt)> listeningPorts;
    std::function<VintrelCore::DockerService::OwnersAnswer(int interrupt)> containerOwners;
    std::function<Candidates(const VintrelCore::ScanCore::EnumerateOptions& options, int interrupt)>
        enumerate;
    std::function<Directories(const DirectoriesQuery& query, int interrupt)> workingDirectories;
    std::function<VintrelCore::ScanCore::PIDSet(const std::vector<VintrelCore::ProcessItem>& items,
                                                const VintrelCore::CwdResolver::CwdMap& cwds)>
        endedAmong;
    std::function<VintrelCore::ScanCore::PIDSet(const std::vector<VintrelCore::ProcessItem>& items)>
        ofOtherAccounts;
    std::function<VintrelCore::AncestryResolver::ProcessTable(int interrupt)> processTable;
    std::function<VintrelCore::CPUSampler::Reading(const std::vector<VintrelCore::ProcessItem>& items)>
        usedCPU;
    std::function<VintrelCore::OpenFileList(const std::vector<int32_t>& pids, int interrupt)> openFiles;
    KillService::Ending kill;
    std::function<VintrelCore::Instant()> now;

    /// The real ones.
    ScanSources();
};

} // namespace Vintrel
