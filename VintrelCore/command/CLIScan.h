#pragma once

#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/Scan.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ScanRules.h"

#include <functional>
#include <memory>
#include <string>

/// A single scan for the command line, with the protected rows worked out.
namespace VintrelCore::CLIScan {

/// The outside world of a scan.
struct World {
    std::function<std::unique_ptr<Platform::Facts>(int interrupt)> facts = Scan::factsOfNow;
    std::string home = Platform::homeFolder();
    int interrupt = -1; ///< a descriptor that becomes readable when the scan is to stop; negative for none
};

struct Result : Scan::Result {
    ScanCore::PIDSet protectedPIDs{}; ///< whose working directory belongs to a protected project
    /// Rules go by folders, and that of these is unknown: "clean" leaves them alone.
    ScanCore::PIDSet unknownFolderPIDs{};
};

[[nodiscard]] Result scan(const ScanRules& rules, const World& world = {});

} // namespace VintrelCore::CLIScan
