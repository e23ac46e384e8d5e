#include "Vintrel/shell/linux/PanelSchemes.h"

#include <algorithm>

#include <QStringList>

namespace Vintrel {

namespace {

bool isOneOf(const QString& desktops, const QString& wanted) {
    const QStringList names = desktops.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return std::ranges::any_of(
        names, [&wanted](const QString& name) { return name.compare(wanted, Qt::CaseInsensitive) == 0; });
}

/// Others that are made from its parts name it, too, but have panels of their own.
bool isGNOMEShell(const QString& desktops) {
    return isOneOf(desktops, QStringLiteral("GNOME")) && !isOneOf(desktops, QStringLiteral("Budgie")) &&
           !isOneOf(desktops, QStringLiteral("GNOME-Flashback"));
}

} // namespace

PanelScheme panelSchemeOf(const QString& desktops, std::optional<bool> prefersDark) {
    // Its top bar is black whatever windows look like.
    if (prefersDark == true || isGNOMEShell(desktops)) {
        return PanelScheme::dark;
    }
    // Windows and panel go by the same setting there alone; elsewhere a dark panel above light windows is
    // common.
    if (prefersDark == false && isOneOf(desktops, QStringLiteral("KDE"))) {
        return PanelScheme::light;
    }
    return PanelScheme::unknown;
}

bool clicksOpenMenus(const QString& desktops) {
    return isGNOMEShell(desktops) || isOneOf(desktops, QStringLiteral("Unity"));
}

} // namespace Vintrel
