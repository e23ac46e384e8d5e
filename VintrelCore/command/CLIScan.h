#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ScanFaults.h"
#include "VintrelCore/scan/ScanRules.h"

#include <string>
#include <vector>

/// One scan from beginning to end on the calling thread, for the command line. Tools that do not depend on
/// each other run at the same time: ps and lsof's listeners first, and lsof's working directories as soon as
/// ps is done.
namespace VintrelCore::CLIScan {

/// The outside world of a scan.
struct World {
    std::string ps = Platform::psPath();
    std::string lsof = Lsof::path();
    std::string home = Platform::homeFolder();
    /// Whether the kernel is asked instead of the tools, where it tells.
    bool asksKernel = false;
    int interrupt = -1; ///< a descriptor that becomes readable when the scan is to stop; negative for none
};

struct Result {
    std::vector<ProcessItem> items{};
    CwdResolver::CwdMap cwds{};
    ScanCore::PIDSet protectedPIDs{}; ///< whose working directory belongs to a protected project
    /// Rules go by folders, and that of these is unknown: "clean" leaves them alone.
    ScanCore::PIDSet unknownFolderPIDs{};
    ScanFaults faults{};
    bool interrupted = false; ///< stopped on request; every tool has ended
};

[[nodiscard]] Result scan(const ScanRules& rules, const World& world = {});

} // namespace VintrelCore::CLIScan
