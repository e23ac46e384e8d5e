#pragma once

#include "Vintrel/shell/StatusIcon.h"
#include "Vintrel/views/parts/Theme.h"

#include <array>

#include <QImage>
#include <QList>

/// The status icon in pixels. Each size is painted by itself, so that none of them has to be scaled.
namespace Vintrel::StatusIconPainting {

/// Pixels along a side: what panels show at scales of 1, 1.5 and 2.
inline constexpr std::array sizes{16, 18, 20, 22, 24, 32, 33, 36, 44, 48, 64};

/// The symbol in the panel's colour; the number on a coloured badge in the lower right corner, with a
/// transparent ring around it. More than nine is "9+".
[[nodiscard]] QImage paint(const StatusIcon::Look& look, PanelScheme scheme, int size);

/// The icon in all of the sizes.
[[nodiscard]] QList<QImage> paintAll(const StatusIcon::Look& look, PanelScheme scheme);

/// The same with a share of its opacity, from 0 to 1.
[[nodiscard]] QImage faded(const QImage& image, double opacity);

} // namespace Vintrel::StatusIconPainting
