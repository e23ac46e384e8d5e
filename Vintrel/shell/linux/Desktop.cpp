#include "Vintrel/shell/Desktop.h"

#include "Vintrel/shell/linux/DesktopFileBrowser.h"
#include "Vintrel/shell/linux/DesktopNotifications.h"

#include <malloc.h>

namespace Vintrel::Desktop {

std::unique_ptr<UserNotifications> makeUserNotifications() {
    return std::make_unique<DesktopNotifications>();
}

std::unique_ptr<FileBrowser> makeFileBrowser() {
    return std::make_unique<DesktopFileBrowser>();
}

void giveMemoryBack() {
#ifdef __GLIBC__ // other C libraries do it by themselves
    ::malloc_trim(0);
#endif
}

bool hasGraphicalSession() {
    constexpr const char* const variables[] = {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"};
    for (const char* const variable : variables) {
        if (!qEnvironmentVariableIsEmpty(variable)) {
            return true;
        }
    }
    return false;
}

} // namespace Vintrel::Desktop
