#pragma once

#include <QImage>
#include <QPainterPath>
#include <QRect>

/// The outlines of the status icon's symbols, laid out anew for each size: straight edges stand on whole
/// pixels, where a drawing that is scaled would have them between two. Beside that, nothing has to be loaded
/// to paint them.
namespace Vintrel::StatusGlyph {

enum class Chip { outlined, filled };

/// A chip with its pins, in the middle of a square of that size.
[[nodiscard]] QPainterPath chip(Chip chip, int size);

/// How far the chip's pins are from the square's edges.
[[nodiscard]] int chipMargin(int size);

/// Two arrows after each other in a circle.
[[nodiscard]] QPainterPath circlingArrows(int size);

} // namespace Vintrel::StatusGlyph
