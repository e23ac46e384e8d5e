#pragma once

#include <optional>
#include <vector>

#include <QPoint>
#include <QRect>
#include <QSize>

/// Where the popover stands. Arithmetic over plain values but for `cluesNow`, all in device-independent
/// pixels.
namespace Vintrel::PopoverPlacement {

/// Room between the popover and the panel, and the edges of the screen.
inline constexpr int margin = 6;

/// The upper left corner of a window of that size, beside what it belongs to: below a panel at the top of the
/// screen, above one at the bottom, beside one at a side; in the middle of the anchor as far as it then stays
/// inside the work area. `workArea` may be the whole screen where the desktop does not say more. One that is
/// larger than the work area begins in its corner.
[[nodiscard]] QPoint place(const QSize& size, const QRect& anchor, const QRect& screen,
                           const QRect& workArea);

struct Screen {
    QRect geometry;   ///< its corner is the same in its own pixels
    double scale = 1; ///< its own pixels in a device-independent one
};

/// What is known about where the user clicked.
struct Clues {
    std::optional<QPoint> click; ///< as the tray told it
    std::optional<QRect> icon;
    QPoint cursor;
    std::vector<Screen> screens{};
};

/// The click and the icon as told, with the cursor and the screens of this moment.
[[nodiscard]] Clues cluesNow(std::optional<QPoint> click, std::optional<QRect> icon);

/// Around what the popover is placed: the click, else the icon, else the cursor. A click that was told in the
/// pixels of a scaled screen, as some trays do, is known by the cursor, which is nearer to what it then
/// means.
[[nodiscard]] QRect anchor(const Clues& clues);

} // namespace Vintrel::PopoverPlacement
