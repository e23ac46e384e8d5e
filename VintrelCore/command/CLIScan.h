#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"

#include <set>
#include <string>
#include <vector>

/// One scan from beginning to end on the calling thread, for the command line. Tools that do not depend on
/// each other run at the same time: ps and lsof's listeners first, and lsof's working directories as soon as
/// ps is done.
namespace VintrelCore::CLIScan {

/// The user's settings that a scan goes by, as the preferences store them.
struct Rules {
    double elapsedThreshold = ScanCore::defaultElapsedThreshold; ///< seconds
    std::vector<std::string> ignoredNames{}; ///< ignore rules as text, with or without a path
    std::vector<std::string> protectedProjects{};
    std::set<ProcessKind> disabledKinds{};
    std::vector<CustomRule> customRules{};
};

/// The outside world of a scan.
struct World {
    std::string ps = Platform::psPath();
    std::string lsof = Lsof::path();
    std::string home = Platform::homeFolder();
    int interrupt = -1; ///< a descriptor that becomes readable when the scan is to stop; negative for none
};

struct Result {
    std::vector<ProcessItem> items{};
    CwdResolver::CwdMap cwds{};
    ScanCore::PIDSet protectedPIDs{}; ///< whose working directory belongs to a protected project
    bool psFailed = false;            ///< nothing is known: ps could not be run or missed its deadline
    bool lsofFailed = false;          ///< projects or ports are unknown, and with them some of what protects
    bool protectionUnknown = false;   ///< lsof hung at first, and folders that protect could not be looked at
    bool interrupted = false;         ///< stopped on request; every tool has ended
};

[[nodiscard]] Result scan(const Rules& rules, const World& world = {});

} // namespace VintrelCore::CLIScan
