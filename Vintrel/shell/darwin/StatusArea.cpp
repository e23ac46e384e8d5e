#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/TrayIconItem.h"

namespace Vintrel::Desktop {

std::unique_ptr<StatusItem> makeStatusItem(const Appearance& appearance) {
    return std::make_unique<TrayIconItem>(appearance);
}

PanelScheme panelScheme(const AppearanceSettings& settings) {
    if (!settings.prefersDark) {
        return PanelScheme::unknown;
    }
    return *settings.prefersDark ? PanelScheme::dark : PanelScheme::light;
}

} // namespace Vintrel::Desktop
