#include "Vintrel/shell/StatusIconPainting.h"

#include "Vintrel/shell/SmallFigures.h"
#include "Vintrel/shell/StatusGlyph.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

namespace Vintrel::StatusIconPainting {

namespace {

constexpr int most = 9; // on a badge

/// A number next to `number` that lies in the middle of `size` pixels without dividing one.
int centered(double number, int size) {
    const int lower = static_cast<int>(std::floor(number));
    const bool isLowerFit = (size - lower) % 2 == 0;
    const int other = isLowerFit ? lower + 2 : lower + 1;
    const int fit = isLowerFit ? lower : lower - 1;
    return number - fit < other - number ? fit : other;
}

/// The lengths on a badge, in whole pixels, so that its edges and those of its figures are sharp.
struct BadgeLayout {
    explicit BadgeLayout(int size)
        : height(static_cast<int>(std::lround(size * 0.6 - 0.2))),
          figureHeight(centered(height * 0.68, height)),
          figureWidth(std::max(SmallFigures::width, static_cast<int>(std::lround(figureHeight * 0.62)))),
          stroke(static_cast<int>(std::lround(figureHeight * 0.19))),
          plus(centered(figureHeight * 0.66, stroke)),
          gap(std::max(1, static_cast<int>(std::lround(figureHeight * 0.08)))),
          wideWidth(figureWidth + gap + plus + 2 * static_cast<int>(std::lround(height * 0.22))) {}

    int height;
    int figureHeight;
    int figureWidth; ///< of the nine before a plus, which has less room than one alone
    int stroke;      ///< of the plus
    int plus;        ///< its width and height
    int gap;         ///< before it
    int wideWidth;   ///< of the badge with both
};

/// A figure of the desktop's font that fills a rectangle: as wide as it is there when no width is given, but
/// in whole pixels around the middle.
QPainterPath figurePath(int figure, const QRect& rect, std::optional<int> wantedWidth) {
    if (rect.height() == SmallFigures::height) {
        const int aside = (rect.width() - SmallFigures::width) / 2;
        return SmallFigures::path(figure).translated(rect.left() + aside, rect.top());
    }
    QFont font = QGuiApplication::font();
    constexpr int exact = 100; // pixels; outlines are scaled afterwards, free of the font's hints for a grid
    font.setPixelSize(exact);
    font.setWeight(QFont::Bold);
    QPainterPath path;
    path.addText(0, 0, font, QString::number(figure));
    const QRectF outline = path.boundingRect();
    if (outline.isEmpty()) {
        return {};
    }
    const double natural = outline.width() * rect.height() / outline.height();
    const int width = wantedWidth.value_or(centered(natural, rect.width()));
    QTransform transform;
    transform.translate(rect.left() + (rect.width() - width) / 2.0, rect.top());
    transform.scale(width / outline.width(), rect.height() / outline.height());
    transform.translate(-outline.left(), -outline.top());
    return transform.map(path);
}

QPainterPath plusPath(const QPoint& corner, const BadgeLayout& layout) {
    const int aside = (layout.plus - layout.stroke) / 2;
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.addRect(corner.x(), corner.y() + aside, layout.plus, layout.stroke);
    path.addRect(corner.x() + aside, corner.y(), layout.stroke, layout.plus);
    return path;
}

void paintText(QPainter& painter, int number, const QRect& badge, const BadgeLayout& layout) {
    const int above = (badge.height() - layout.figureHeight) / 2;
    if (number <= most) {
        painter.drawPath(figurePath(number, badge.adjusted(0, above, 0, -above), std::nullopt));
        return;
    }
    const int aside = (badge.width() - layout.figureWidth - layout.gap - layout.plus) / 2;
    const QRect figure(badge.left() + aside, badge.top() + above, layout.figureWidth, layout.figureHeight);
    painter.drawPath(figurePath(most, figure, layout.figureWidth));
    const int lower = (layout.figureHeight - layout.plus + 1) / 2;
    const QPoint corner(figure.left() + layout.figureWidth + layout.gap, figure.top() + lower);
    painter.drawPath(plusPath(corner, layout));
}

void paintBadge(QPainter& painter, const StatusIcon::Look& look, const PanelColors& colors, int size) {
    const int number = look.number.value_or(0);
    const BadgeLayout layout(size);
    const int width = number > most ? layout.wideWidth : layout.height;
    const QRect rect(size - width, size - layout.height, width, layout.height);
    const int ring = std::max(1, static_cast<int>(std::lround(size / 16.0)));
    const double radius = rect.height() / 2.0;
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setBrush(Qt::black);
    painter.drawRoundedRect(rect.adjusted(-ring, -ring, ring, ring), radius + ring, radius + ring);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const bool isRed = look.tone == StatusIcon::Tone::red;
    painter.setBrush(isRed ? colors.safe : colors.review);
    painter.drawRoundedRect(rect, radius, radius);
    painter.setBrush(isRed ? colors.onSafe : colors.onReview);
    paintText(painter, number, rect, layout);
}

/// In the corner across from the badge, so that it leaves more of it.
void paintSymbol(QPainter& painter, const StatusIcon::Look& look, int size) {
    using namespace StatusGlyph;
    if (look.symbolName == QLatin1String("arrow.2.circlepath")) {
        painter.drawPath(circlingArrows(size));
    } else if (look.number) {
        const int margin = chipMargin(size);
        painter.drawPath(chip(Chip::filled, size).translated(-margin, -margin));
    } else {
        painter.drawPath(chip(Chip::outlined, size));
    }
}

} // namespace

QImage paint(const StatusIcon::Look& look, PanelScheme scheme, int size) {
    const PanelColors colors = PanelColors::on(scheme);
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.glyph);
    paintSymbol(painter, look, size);
    if (look.number) {
        paintBadge(painter, look, colors, size);
    }
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
