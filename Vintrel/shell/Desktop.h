#pragma once

#include "Vintrel/engine/UserNotifications.h"

#include <memory>

/// What each desktop does in its own way.
namespace Vintrel::Desktop {

[[nodiscard]] std::unique_ptr<UserNotifications> makeUserNotifications();

} // namespace Vintrel::Desktop
