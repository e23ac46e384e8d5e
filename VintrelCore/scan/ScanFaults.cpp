#include "VintrelCore/scan/ScanFaults.h"

namespace VintrelCore {

namespace {

bool isPlace(const std::string& source) {
    return source.starts_with('/');
}

/// A source is either a tool to run or a path to read.
std::optional<std::string> complaint(const std::string& source, Shell::Fault fault,
                                     const std::string& consequence) {
    switch (fault) {
    case Shell::Fault::none:
        return std::nullopt;
    case Shell::Fault::notLaunched:
        return source + (isPlace(source) ? " could not be read: " : " could not be run: ") + consequence;
    case Shell::Fault::tooSlow:
        return source + " did not answer in time: " + consequence;
    case Shell::Fault::broken:
        return source + " gave no usable answer: " + consequence;
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> complaintAboutTable(const ScanFaults& faults) {
    return complaint(faults.tableSource, faults.table, "no processes are known");
}

std::optional<std::string> complaintAboutDetails(const ScanFaults& faults) {
    return complaint(faults.detailsSource, faults.details, "projects and ports are unknown");
}

void ScanFaults::note(const Platform::Shortfall& shortfall) {
    if (details == Shell::Fault::none && shortfall.fault != Shell::Fault::none) {
        details = shortfall.fault;
        detailsSource = shortfall.source;
    }
    metDeadMount = metDeadMount || shortfall.metDeadMount;
}

std::optional<std::string> reasonNotToClean(const ScanFaults& faults, const ScanRules& rules,
                                            const std::optional<std::string>& settingsProblem) {
    if (settingsProblem) {
        return *settingsProblem + "; what is protected is unknown, and nothing was ended";
    }
    if (faults.table != Shell::Fault::none) {
        return "without " + faults.tableSource + ", no processes are known; nothing was ended";
    }
    if (faults.details != Shell::Fault::none) {
        return "without " + faults.detailsSource + ", what is protected is unknown; nothing was ended";
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
