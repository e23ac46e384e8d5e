#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QString>

/// The program's own line drawings, one for each name. No state but a cache.
namespace Vintrel::Symbol {

/// The drawing in one colour, `size` by `size` device-independent pixels, sharp at a scale of `pixelRatio`.
/// Null for a name that has no drawing.
[[nodiscard]] QPixmap pixmap(const QString& name, const QColor& color, int size, double pixelRatio);

/// The same in so many real pixels along a side, without the cache: for what is painted once and kept.
[[nodiscard]] QImage image(const QString& name, const QColor& color, int pixels);

/// Whether there is a drawing of that name.
[[nodiscard]] bool exists(const QString& name);

} // namespace Vintrel::Symbol
