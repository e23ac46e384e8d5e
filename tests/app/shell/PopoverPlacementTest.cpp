// Where the popover stands, for panels at every edge.
#include "Vintrel/shell/PopoverPlacement.h"

#include <ostream>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel::PopoverPlacement {

namespace {

const QRect screen(0, 0, 1'280, 800);
const QSize size(400, 600);

/// An icon around that point.
QRect iconAt(int x, int y) {
    return {x - 11, y - 11, 22, 22};
}

QRect placed(const QRect& icon, const QRect& workArea, const QRect& on = screen) {
    return {place(size, icon, on, workArea), size};
}

} // namespace

TEST(PopoverPlacement, belowAPanelAtTheTop) {
    const QRect workArea(0, 28, 1'280, 772);
    const QRect popover = placed(iconAt(900, 14), workArea);
    EXPECT_EQ(popover.top(), 28 + margin);
    EXPECT_NEAR(popover.center().x(), 900, 2) << "in the middle of the icon";
}

TEST(PopoverPlacement, aboveAPanelAtTheBottom) {
    const QRect workArea(0, 0, 1'280, 772);
    const QRect popover = placed(iconAt(900, 786), workArea);
    EXPECT_EQ(popover.bottom(), 771 - margin);
    EXPECT_NEAR(popover.center().x(), 900, 2);
}

TEST(PopoverPlacement, besideAPanelAtTheSide) {
    const QRect left = placed(iconAt(20, 400), {40, 0, 1'240, 800});
    EXPECT_EQ(left.left(), 40 + margin);
    EXPECT_NEAR(left.center().y(), 400, 2);
    const QRect right = placed(iconAt(1'260, 400), {0, 0, 1'240, 800});
    EXPECT_EQ(right.right(), 1'239 - margin);
    EXPECT_NEAR(right.center().y(), 400, 2);
}

TEST(PopoverPlacement, staysInsideTheWorkArea) {
    const QRect workArea(0, 28, 1'280, 772);
    EXPECT_EQ(placed(iconAt(1'270, 14), workArea).right(), 1'279 - margin);
    EXPECT_EQ(placed(iconAt(10, 14), workArea).left(), margin);
    const QRect beside(40, 0, 1'240, 800);
    EXPECT_EQ(placed(iconAt(20, 790), beside).bottom(), 799 - margin);
    EXPECT_EQ(placed(iconAt(20, 5), beside).top(), margin);
}

TEST(PopoverPlacement, whereTheDesktopDoesNotTellOfThePanelTheNearestEdgeCounts) {
    EXPECT_EQ(placed(iconAt(900, 14), screen).top(), 14 + 11 + margin);
    EXPECT_EQ(placed(iconAt(900, 786), screen).bottom(), 786 - 11 - 1 - margin);
    EXPECT_EQ(placed(iconAt(20, 400), screen).left(), 20 + 11 + margin);
    EXPECT_EQ(placed(iconAt(1'260, 400), screen).right(), 1'260 - 11 - 1 - margin);
}

TEST(PopoverPlacement, inACornerThePanelLies) {
    EXPECT_EQ(placed(iconAt(1'269, 789), screen).bottom(), 789 - 11 - 1 - margin);
    EXPECT_EQ(placed(iconAt(10, 10), screen).top(), 10 + 11 + margin);
}

TEST(PopoverPlacement, onTheScreenOfTheIcon) {
    const QRect second(1'280, -200, 1'920, 1'080);
    const QRect popover = placed(iconAt(3'100, -190), {1'280, -170, 1'920, 1'050}, second);
    EXPECT_EQ(popover.top(), -170 + margin);
    EXPECT_EQ(popover.right(), 3'199 - margin);
    EXPECT_TRUE(second.contains(popover));
}

TEST(PopoverPlacement, whatDoesNotFitBeginsInTheCorner) {
    const QRect tiny(0, 0, 320, 240);
    EXPECT_EQ(place(size, iconAt(300, 10), tiny, {0, 20, 320, 220}), QPoint(0, 20));
    EXPECT_EQ(place({320, 220}, iconAt(300, 10), tiny, {0, 20, 320, 220}), QPoint(0, 20))
        << "just fits, but for the margin";
}

TEST(PopoverPlacement, aCursorAnywhereDoes) {
    const QRect workArea(0, 28, 1'280, 772);
    const QRect popover = placed(QRect(640, 420, 1, 1), workArea);
    EXPECT_TRUE(workArea.contains(popover));
}

TEST(PopoverAnchor, isTheClickThenTheIconThenTheCursor) {
    const QRect icon(500, 4, 22, 20);
    const QPoint cursor(40, 50);
    EXPECT_EQ(anchor({.click = QPoint(900, 14), .icon = icon, .cursor = cursor}).center(), QPoint(900, 14));
    EXPECT_EQ(anchor({.icon = icon, .cursor = cursor}), icon);
    EXPECT_EQ(anchor({.cursor = cursor}).center(), cursor);
}

TEST(PopoverAnchor, aClickInTheScreensOwnPixelsIsScaled) {
    const QPoint cursor(900, 14);
    const auto middleOf = [&](const QPoint& click, double scale) {
        return anchor({.click = click, .cursor = cursor, .screens = {{.geometry = screen, .scale = scale}}})
            .center();
    };
    EXPECT_EQ(middleOf({1'800, 28}, 2), cursor);
    EXPECT_EQ(middleOf({900, 14}, 2), cursor);
    EXPECT_EQ(middleOf({1'350, 21}, 1.5), cursor);
}

TEST(PopoverAnchor, eachScreenIsScaledFromItsOwnCorner) {
    const std::vector<Screen> screens{{.geometry = {0, 0, 1'920, 1'080}, .scale = 1},
                                      {.geometry = {3'840, 0, 1'000, 600}, .scale = 2}};
    const auto middleOf = [&](const QPoint& click, const QPoint& cursor) {
        return anchor({.click = click, .cursor = cursor, .screens = screens}).center();
    };
    EXPECT_EQ(middleOf({4'840, 10}, {4'341, 6}), QPoint(4'340, 5));
    EXPECT_EQ(middleOf({900, 14}, {901, 15}), QPoint(900, 14)) << "the other screen is not scaled";
}

TEST(PopoverAnchor, theClickCountsEvenWhenTheCursorHasMovedOn) {
    EXPECT_EQ(anchor({.click = QPoint(900, 14), .cursor = {10, 700}}).center(), QPoint(900, 14));
}

} // namespace Vintrel::PopoverPlacement
