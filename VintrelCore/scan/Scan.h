#pragma once

#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/context/SlowMounts.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ScanFaults.h"
#include "VintrelCore/scan/ScanRules.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// One complete scan on the calling thread, for every front end. Everything that explains a row comes from
/// the same facts.
namespace VintrelCore::Scan {

struct Inputs {
    ScanRules rules{};
    ScanCore::PIDSet dismissedPIDs{};                  ///< not to be listed
    std::string home = Platform::homeFolder();         ///< the folder to write as "~", without links
    SlowMounts slowMounts{std::vector<std::string>()}; ///< where nothing is looked at without a deadline
};

struct Result {
    std::vector<ProcessItem> items{};
    /// Of the registered ports, those on which a process listens.
    std::unordered_map<int32_t, PortRegistry::PortSet> listeningPorts{};
    CwdResolver::CwdMap cwds{};
    ScanCore::PIDSet ended{}; ///< of the items' processes, those that had no folder any more
    AncestryResolver::ProcessTable processTable{};
    std::unordered_map<int32_t, std::string> managers{}; ///< the unit or program that looks after a pid
    /// Whether a process of an item may be a container's: by its pid namespace or control group, or the
    /// system does not tell.
    bool mayHoldContainers = false;
    ScanFaults faults{};
    bool interrupted = false; ///< stopped on request; every tool has ended
};

/// Takes the current facts, from the kernel where it provides them, else from ps and lsof.
[[nodiscard]] std::unique_ptr<Platform::Facts> factsOfNow(int interrupt = -1);

/// `interrupt` is a descriptor that becomes readable when the scan is to stop; negative for none.
[[nodiscard]] Result run(const Inputs& inputs, Platform::Facts& facts, int interrupt = -1);

} // namespace VintrelCore::Scan
