#pragma once

#include "Vintrel/shell/Appearance.h"

#include <QFont>
#include <QPalette>

namespace Vintrel::AppPalette {

/// A calm palette for Qt's Fusion style, light unless dark is preferred, with every role in every group. Text
/// reaches a contrast of 4.5 to 1 on its ground (7 to 1 with high contrast), disabled text excepted; the
/// highlight is the accent, moved towards black or white where it would be lost on the window.
[[nodiscard]] QPalette makePalette(const AppearanceSettings& settings);

/// Gives the application, which must be a QApplication, this palette and font. What is already so is left
/// alone, so that no widget is redrawn for nothing.
void apply(const AppearanceSettings& settings);

/// The fixed-width font that was applied last; Qt's own before that.
[[nodiscard]] QFont fixedFont();

} // namespace Vintrel::AppPalette
