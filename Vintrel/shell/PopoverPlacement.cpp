#include "Vintrel/shell/PopoverPlacement.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace Vintrel::PopoverPlacement {

namespace {

enum class Side { top, bottom, left, right };

/// At which edge of the screen the panel is that the anchor stands on.
Side sideOf(const QPoint& middle, const QRect& screen, const QRect& workArea) {
    if (middle.y() < workArea.top()) {
        return Side::top;
    }
    if (middle.y() > workArea.bottom()) {
        return Side::bottom;
    }
    if (middle.x() < workArea.left()) {
        return Side::left;
    }
    if (middle.x() > workArea.right()) {
        return Side::right;
    }
    // The panel hides itself, or the desktop does not tell of it: the nearest edge. In a corner, panels lie
    // more often than they stand.
    const std::array distances{std::pair(middle.y() - screen.top(), Side::top),
                               std::pair(screen.bottom() - middle.y(), Side::bottom),
                               std::pair(middle.x() - screen.left(), Side::left),
                               std::pair(screen.right() - middle.x(), Side::right)};
    return std::ranges::min_element(distances, {}, &std::pair<int, Side>::first)->second;
}

/// The beginning of a line of that length, moved so that it lies between the two ends; at the first of them
/// when it is too long.
int kept(int begin, int length, int first, int last) {
    return std::max(first, std::min(begin, last - length + 1));
}

int squareOfDistance(const QPoint& one, const QPoint& other) {
    const QPoint between = one - other;
    return QPoint::dotProduct(between, between);
}

} // namespace

QPoint place(const QSize& size, const QRect& anchor, const QRect& screen, const QRect& workArea) {
    QPoint corner = anchor.center() - QPoint(size.width() / 2, size.height() / 2);
    switch (sideOf(anchor.center(), screen, workArea)) {
    case Side::top:
        corner.setY(anchor.bottom() + 1 + margin);
        break;
    case Side::bottom:
        corner.setY(anchor.top() - margin - size.height());
        break;
    case Side::left:
        corner.setX(anchor.right() + 1 + margin);
        break;
    case Side::right:
        corner.setX(anchor.left() - margin - size.width());
        break;
    }
    const QRect room = workArea.adjusted(margin, margin, -margin, -margin);
    const auto keptIn = [&](const QRect& area) {
        return QPoint(kept(corner.x(), size.width(), area.left(), area.right()),
                      kept(corner.y(), size.height(), area.top(), area.bottom()));
    };
    const bool fits = size.width() <= room.width() && size.height() <= room.height();
    return keptIn(fits ? room : workArea);
}

Clues cluesNow(std::optional<QPoint> click, std::optional<QRect> icon) {
    Clues clues{.click = click, .icon = icon, .cursor = QCursor::pos()};
    for (const QScreen* const screen : QGuiApplication::screens()) {
        clues.screens.push_back({.geometry = screen->geometry(), .scale = screen->devicePixelRatio()});
    }
    return clues;
}

QRect anchor(const Clues& clues) {
    if (!clues.click) {
        return clues.icon.value_or(QRect(clues.cursor, QSize(1, 1)));
    }
    QPoint middle = *clues.click;
    for (const Screen& screen : clues.screens) {
        const QPoint corner = screen.geometry.topLeft();
        const QPoint unscaled = corner + (QPointF(*clues.click - corner) / screen.scale).toPoint();
        if (screen.geometry.contains(unscaled) &&
            squareOfDistance(unscaled, clues.cursor) < squareOfDistance(middle, clues.cursor)) {
            middle = unscaled;
        }
    }
    // The icon around it is about so large.
    constexpr int half = 11;
    return {middle - QPoint(half, half), middle + QPoint(half, half)};
}

} // namespace Vintrel::PopoverPlacement
