#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/scan/ScanRules.h"

#include <optional>
#include <string>

namespace VintrelCore {

/// What a scan could not find out.
struct ScanFaults {
    Shell::Fault ps = Shell::Fault::none; ///< nothing is known then
    Shell::Fault lsof =
        Shell::Fault::none;      ///< projects or ports are unknown, and with them some of what protects
    bool metDeadMount = false;   ///< lsof hung at first, and folders that protect could not be looked at
    bool foldersUnknown = false; ///< lsof named that of no candidate, not even of one's own that live

    bool operator==(const ScanFaults&) const = default;

    /// Adds what was wrong with one of lsof's answers.
    void note(const Lsof::Answer& answer);
};

/// What to tell people about ps, if anything.
[[nodiscard]] std::optional<std::string> complaintAboutPS(const ScanFaults& faults);

/// What to tell people about lsof, if anything.
[[nodiscard]] std::optional<std::string> complaintAboutLsof(const ScanFaults& faults);

/// Why nothing may be swept by these rules: a fact that protects is missing. `settingsProblem` is what is
/// wrong with the settings, if anything.
[[nodiscard]] std::optional<std::string> reasonNotToClean(const ScanFaults& faults, const ScanRules& rules,
                                                          const std::optional<std::string>& settingsProblem);

} // namespace VintrelCore
