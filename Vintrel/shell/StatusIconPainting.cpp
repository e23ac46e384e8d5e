#include "Vintrel/shell/StatusIconPainting.h"

#include "Vintrel/views/parts/Symbol.h"

#include <algorithm>
#include <cmath>

#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

namespace Vintrel::StatusIconPainting {

namespace {

/// The badge's outline, on whole pixels.
QRectF badgeRect(int size, bool isWide) {
    const int height = static_cast<int>(std::lround(size * 0.6));
    const int width = isWide ? static_cast<int>(std::lround(size * 0.84)) : height;
    return {static_cast<double>(size - width), static_cast<double>(size - height), static_cast<double>(width),
            static_cast<double>(height)};
}

/// The text, as large as it has to be for figures of that height, around the middle of the rectangle.
QPainterPath textPath(const QString& text, const QRectF& rect, double height) {
    QFont font = QGuiApplication::font();
    constexpr int exact = 100; // pixels; outlines are scaled afterwards, free of the font's hints for a grid
    font.setPixelSize(exact);
    font.setWeight(QFont::Bold);
    QPainterPath path;
    path.addText(0, 0, font, text);
    QPainterPath figure;
    figure.addText(0, 0, font, QStringLiteral("8"));
    const double scale = height / std::max(1.0, figure.boundingRect().height());
    const QPointF middle = path.boundingRect().center();
    QTransform transform;
    transform.translate(rect.center().x(), rect.center().y());
    transform.scale(scale, scale);
    transform.translate(-middle.x(), -figure.boundingRect().center().y());
    return transform.map(path);
}

void paintBadge(QPainter& painter, const StatusIcon::Look& look, const PanelColors& colors, int size) {
    constexpr int most = 9;
    const int number = look.number.value_or(0);
    const bool isWide = number > most;
    const QRectF rect = badgeRect(size, isWide);
    const double ring = std::max(1.0, std::round(size / 16.0));
    const double radius = rect.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setBrush(Qt::black);
    painter.drawRoundedRect(rect.adjusted(-ring, -ring, ring, ring), radius + ring, radius + ring);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const bool isRed = look.tone == StatusIcon::Tone::red;
    painter.setBrush(isRed ? colors.safe : colors.review);
    painter.drawRoundedRect(rect, radius, radius);
    painter.setBrush(isRed ? colors.onSafe : colors.onReview);
    const QString text = isWide ? QStringLiteral("%1+").arg(most) : QString::number(number);
    painter.drawPath(textPath(text, rect, std::round(rect.height() * (isWide ? 0.58 : 0.66))));
}

} // namespace

QImage paint(const StatusIcon::Look& look, PanelScheme scheme, int size) {
    const PanelColors colors = PanelColors::on(scheme);
    if (!look.number) {
        return Symbol::image(look.symbolName, colors.glyph, size);
    }
    // In the opposite corner, so that the badge leaves more of it.
    const int symbolSize = static_cast<int>(std::lround(size * 0.86));
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.drawImage(0, 0, Symbol::image(look.symbolName, colors.glyph, symbolSize));
    painter.setRenderHint(QPainter::Antialiasing);
    paintBadge(painter, look, colors, size);
    return image;
}

QList<QImage> paintAll(const StatusIcon::Look& look, PanelScheme scheme) {
    QList<QImage> images;
    for (const int size : sizes) {
        images += paint(look, scheme, size);
    }
    return images;
}

QImage faded(const QImage& image, double opacity) {
    QImage faded(image.size(), QImage::Format_ARGB32_Premultiplied);
    faded.fill(Qt::transparent);
    QPainter painter(&faded);
    painter.setOpacity(opacity);
    painter.drawImage(0, 0, image);
    return faded;
}

} // namespace Vintrel::StatusIconPainting
