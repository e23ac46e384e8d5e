#pragma once

#include <QPainterPath>

/// Figures so small that outlines of a font would be blurred: drawn pixel by pixel.
namespace Vintrel::SmallFigures {

inline constexpr int width = 5;
inline constexpr int height = 7;

/// One of 0 to 9, from 0, 0 on.
[[nodiscard]] QPainterPath path(int figure);

} // namespace Vintrel::SmallFigures
