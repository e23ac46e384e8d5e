#include "VintrelCore/scan/ScanFaults.h"

namespace VintrelCore {

namespace {

std::optional<std::string> complaint(const std::string& tool, Shell::Fault fault,
                                     const std::string& consequence) {
    switch (fault) {
    case Shell::Fault::none:
        return std::nullopt;
    case Shell::Fault::notLaunched:
        return tool + " could not be run: " + consequence;
    case Shell::Fault::tooSlow:
        return tool + " did not answer in time: " + consequence;
    case Shell::Fault::broken:
        return tool + " gave no usable answer: " + consequence;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> complaintAboutPS(const ScanFaults& faults) {
    return complaint("ps", faults.ps, "no processes are known");
}

std::optional<std::string> complaintAboutLsof(const ScanFaults& faults) {
    return complaint("lsof", faults.lsof, "projects and ports are unknown");
}

void ScanFaults::note(const Lsof::Answer& answer) {
    note(Platform::Shortfall{.fault = answer.fault, .metDeadMount = answer.metDeadMount});
}

void ScanFaults::note(const Platform::Shortfall& shortfall) {
    if (lsof == Shell::Fault::none) {
        lsof = shortfall.fault;
    }
    metDeadMount = metDeadMount || shortfall.metDeadMount;
}

std::optional<std::string> reasonNotToClean(const ScanFaults& faults, const ScanRules& rules,
                                            const std::optional<std::string>& settingsProblem) {
    if (settingsProblem) {
        return *settingsProblem + "; what is protected is unknown, and nothing was ended";
    }
    if (faults.ps != Shell::Fault::none) {
        return "without ps, no processes are known; nothing was ended";
    }
    if (faults.lsof != Shell::Fault::none) {
        return "without lsof, what is protected is unknown; nothing was ended";
    }
    if (faults.metDeadMount && rules.goByFolders()) {
        return "a mount does not answer; what is protected is unknown, and nothing was ended";
    }
    if (faults.foldersUnknown && rules.goByFolders()) {
        return "no working directory could be found out; what is protected is unknown, and nothing was ended";
    }
    return std::nullopt;
}

} // namespace VintrelCore
