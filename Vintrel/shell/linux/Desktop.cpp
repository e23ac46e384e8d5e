#include "Vintrel/shell/Desktop.h"

#include "Vintrel/shell/linux/DesktopNotifications.h"

namespace Vintrel::Desktop {

std::unique_ptr<UserNotifications> makeUserNotifications() {
    return std::make_unique<DesktopNotifications>();
}

} // namespace Vintrel::Desktop
