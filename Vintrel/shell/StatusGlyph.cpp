#include "Vintrel/shell/StatusGlyph.h"

#include <algorithm>
#include <cmath>

#include <QPainterPathStroker>

namespace Vintrel::StatusGlyph {

namespace {

/// The share of the size in pixels, at least one.
int pixels(int size, double share) {
    return std::max(1, static_cast<int>(std::lround(size * share)));
}

/// A number next to `number` that lies in the middle of `size` pixels without dividing one.
int centered(int number, int size) {
    return number + (size - number) % 2;
}

void addPins(QPainterPath& path, const QRect& body, int length, int width) {
    const int gap = centered(width, body.width());
    const int first = (body.width() - gap) / 2 - width;
    for (const int along : {first, first + width + gap}) {
        path.addRect(body.left() + along, body.top() - length, width, length);
        path.addRect(body.left() + along, body.top() + body.height(), width, length);
        path.addRect(body.left() - length, body.top() + along, length, width);
        path.addRect(body.left() + body.width(), body.top() + along, length, width);
    }
}

} // namespace

int chipMargin(int size) {
    return pixels(size, 1 / 16.0);
}

QPainterPath chip(Chip chip, int size) {
    const int pinLength = pixels(size, 1 / 8.0);
    const int stroke = pixels(size, 0.11);
    const int inset = chipMargin(size) + pinLength;
    const QRect body(inset, inset, size - 2 * inset, size - 2 * inset);
    QPainterPath path;
    const int radius = pixels(stroke, 0.5);
    path.addRoundedRect(body, radius, radius);
    if (chip == Chip::outlined) {
        const QRect hole = body.adjusted(stroke, stroke, -stroke, -stroke);
        path.addRect(hole);
        const int core = centered(pixels(size, 0.15), hole.width());
        const int aside = (hole.width() - core) / 2;
        path.addRect(hole.left() + aside, hole.top() + aside, core, core);
    }
    addPins(path, body, pinLength, stroke);
    return path;
}

QPainterPath circlingArrows(int size) {
    constexpr double grid = 20; // what follows is drawn on
    QPainterPath lines;
    for (const int turn : {0, 180}) {
        const double sign = turn == 0 ? 1 : -1;
        const QRectF circle(3.5, 3.5, 13, 13);
        lines.arcMoveTo(circle, 166 + turn);
        lines.arcTo(circle, 166 + turn, -142);
        const double middle = grid / 2;
        lines.moveTo(middle + sign * 5.94, middle - sign * 6.6);
        lines.lineTo(middle + sign * 5.94, middle - sign * 2.64);
        lines.lineTo(middle + sign * 1.98, middle - sign * 2.64);
    }
    QPainterPathStroker pen;
    pen.setWidth(1.9);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    pen.setCurveThreshold(0.01);
    const QPainterPath outline = pen.createStroke(lines).simplified();
    return QTransform::fromScale(size / grid, size / grid).map(outline);
}

} // namespace Vintrel::StatusGlyph
