#pragma once

#include "Vintrel/views/parts/Theme.h"

#include <optional>

#include <QString>

namespace Vintrel {

/// What the panel of these desktops looks like. `desktops` is the value of XDG_CURRENT_DESKTOP: names
/// separated by colons. `prefersDark` is what the user wants windows to look like, where that is known.
[[nodiscard]] PanelScheme panelSchemeOf(const QString& desktops, std::optional<bool> prefersDark);

/// Whether the tray of these desktops answers a left click on an icon with its menu.
[[nodiscard]] bool clicksOpenMenus(const QString& desktops);

} // namespace Vintrel
