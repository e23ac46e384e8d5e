#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/scan/ScanRules.h"

#include <optional>
#include <string>

namespace VintrelCore {

/// What a scan could not find out.
struct ScanFaults {
    Shell::Fault table = Shell::Fault::none; ///< of processes: nothing is known then
    std::string tableSource = "ps";          ///< where the table comes from
    /// Projects or ports are unknown, and with them some of what protects.
    Shell::Fault details = Shell::Fault::none;
    std::string detailsSource = "lsof"; ///< the first that failed
    bool metDeadMount = false;   ///< a mount does not answer, and folders that protect could not be looked at
    bool foldersUnknown = false; ///< no candidate's could be told, not even of one's own that live

    bool operator==(const ScanFaults&) const = default;

    /// Adds what was wrong with an answer about details.
    void note(const Platform::Shortfall& shortfall);
};

/// The message for users about the process table, if any.
[[nodiscard]] std::optional<std::string> complaintAboutTable(const ScanFaults& faults);

/// The message for users about projects and ports, if any.
[[nodiscard]] std::optional<std::string> complaintAboutDetails(const ScanFaults& faults);

/// Why nothing may be swept by these rules: a fact that protects is missing. `settingsProblem` is what is
/// wrong with the settings, if anything.
[[nodiscard]] std::optional<std::string> reasonNotToClean(const ScanFaults& faults, const ScanRules& rules,
                                                          const std::optional<std::string>& settingsProblem);

} // namespace VintrelCore
