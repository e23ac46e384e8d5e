#include "Vintrel/shell/ApplicationRequests.h"

namespace Vintrel {

void ApplicationRequests::performAndTell(const AppShortcut& shortcut) {
    perform(shortcut,
            [this, title = std::string(shortcut.title)](const std::string& dialog) { tell(title, dialog); });
}

bool ApplicationActions::isKnown(std::string_view action) {
    return action == bindGlobalShortcuts || VintrelShortcuts::find(action) != nullptr;
}

} // namespace Vintrel
