#include "Vintrel/views/parts/Symbol.h"

#include <cmath>

#include <QFile>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

/// What a static library brings along has to be asked for. Outside the namespaces: the macro declares a
/// function.
static void registerDrawings() {
    Q_INIT_RESOURCE(vintrel);
}

namespace Vintrel::Symbol {

namespace {

QString fileOf(const QString& name) {
    registerDrawings();
    return QStringLiteral(":/symbols/%1.svg").arg(name);
}

} // namespace

bool exists(const QString& name) {
    return QFile::exists(fileOf(name));
}

QImage image(const QString& name, const QColor& color, int pixels) {
    QSvgRenderer renderer(fileOf(name));
    if (!renderer.isValid()) {
        return {};
    }
    QImage drawing(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    drawing.fill(Qt::transparent);
    QPainter painter(&drawing);
    renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(drawing.rect(), color);
    return drawing;
}

QPixmap pixmap(const QString& name, const QColor& color, int size, double pixelRatio) {
    const QString key =
        QStringLiteral("symbol/%1/%2/%3/%4").arg(name, color.name(QColor::HexArgb)).arg(size).arg(pixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) {
        return pixmap;
    }
    const QImage drawing = image(name, color, static_cast<int>(std::lround(size * pixelRatio)));
    if (drawing.isNull()) {
        return {};
    }
    pixmap = QPixmap::fromImage(drawing);
    pixmap.setDevicePixelRatio(pixelRatio);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

} // namespace Vintrel::Symbol
