#pragma once

#include "Vintrel/engine/CleanSummary.h"
#include "Vintrel/engine/UserNotifications.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/terminate/KillResult.h"

#include <optional>
#include <span>
#include <string>

/// What the user is notified of, in words. No state.
namespace Vintrel::Announcements {

/// The items that were not there before; absent when there are none.
[[nodiscard]] std::optional<UserNotification> newStrays(std::span<const VintrelCore::ProcessItem> items,
                                                        const VintrelCore::ScanCore::PIDSet& previousPIDs);

[[nodiscard]] UserNotification cleanResult(const CleanSummary& summary);

/// For a clean that was not begun. `reason` is a sentence for people.
[[nodiscard]] UserNotification cleanRefused(const std::string& reason);

/// Why an item that was to be ended is still there, as a sentence; absent when it is gone.
[[nodiscard]] std::optional<std::string> notEnded(const VintrelCore::KillCore::KillResult& result);

} // namespace Vintrel::Announcements
