#pragma once

#include "VintrelCore/command/CLIScan.h"
#include "VintrelCore/log/CleanEvent.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/terminate/KillResult.h"

#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <vector>

/// What "kill" and "clean" decide and say; the ending itself is KillCore's. No state.
namespace VintrelCore::CLIEnding {

/// The candidate that "kill" asks for; else, the line that says why there is none.
[[nodiscard]] std::expected<ProcessItem, std::string> itemToKill(int32_t pid, const CLIScan::Result& scan);

/// What "clean" ends: the safe candidates whose project is not protected, as far as that can be told.
[[nodiscard]] std::vector<ProcessItem> itemsToClean(const CLIScan::Result& scan);

/// A line for each safe candidate of which it cannot be told: "vitest 4242 is not in the sweep: its folder is
/// unknown".
[[nodiscard]] std::vector<std::string> leftOut(const CLIScan::Result& scan);

/// What "clean" says when there is nothing to end.
inline constexpr std::string_view nothingToClean = "No unprotected safe-to-clean processes.";

/// One item and what became of it.
struct Ending {
    ProcessItem item;
    KillCore::KillResult result;
};

/// "Vite 4242 (shop): ended".
[[nodiscard]] std::string resultLine(const Ending& ending, const CwdResolver::CwdMap& cwds);

/// "Cleaned 2 of 3, ~153 MB reclaimed".
[[nodiscard]] std::string closingLine(std::span<const Ending> endings);

/// The clean log's entries for what counts as cleaned.
[[nodiscard]] std::vector<CleanEvent> cleanEvents(std::span<const Ending> endings,
                                                  const CwdResolver::CwdMap& cwds, Instant now);

} // namespace VintrelCore::CLIEnding
