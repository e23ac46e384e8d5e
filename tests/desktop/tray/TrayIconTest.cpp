// The icon in real panels: it appears, opens the popover and quits.
#include "tests/desktop/tray/Pixels.h"
#include "tests/desktop/tray/TrayTest.h"

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

using TrayIcon = TrayTest;

/// Where a program may say where its windows stand.
using PlacedPopover = TrayTest;

/// Where windows stand is the compositor's business.
using FloatingPopover = TrayTest;

std::string nameOf(const testing::TestParamInfo<PanelKind>& info) {
    switch (info.param) {
    case PanelKind::xfce:
        return "xfce";
    case PanelKind::lxqt:
        return "lxqt";
    case PanelKind::waybar:
        return "waybar";
    case PanelKind::trayer:
        break;
    }
    return "trayer";
}

} // namespace

TEST_P(TrayIcon, aClickOpensThePopoverAndTheNextClosesIt) {
    const auto badge = startInPanel();
    ASSERT_TRUE(badge);
    click(*badge);
    ASSERT_TRUE(awaitPopover());

    spinFor(noDoubleClick);
    click(*badge);
    EXPECT_TRUE(awaitNoPopover());
    spinFor(std::chrono::milliseconds(700));
    EXPECT_TRUE(awaitNoPopover()) << "the click must not bring it back";
    spinFor(noDoubleClick);
    click(*badge);
    EXPECT_TRUE(awaitPopover());
    spinFor(std::chrono::milliseconds(300)); // until it has the keyboard
    screen().press("Escape");
    EXPECT_TRUE(awaitNoPopover());
    EXPECT_TRUE(isProgramRunning());
}

TEST_P(PlacedPopover, standsBesideTheIcon) {
    const auto badge = startInPanel();
    ASSERT_TRUE(badge);
    click(*badge);
    const auto opened = awaitPopover();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(isBeside(*opened, *badge))
        << opened->x() << " " << opened->y() << " " << opened->width() << " " << opened->height()
        << ", icon at " << badge->x() << " " << badge->y();
    EXPECT_TRUE(QRect(0, 0, 1'000, 1'000).contains(*opened));
}

TEST_P(PlacedPopover, goesWithAClickElsewhere) {
    const auto badge = startInPanel();
    ASSERT_TRUE(badge);
    const OtherWindow other(screen().display(), {100, 500, 200, 100});
    click(*badge);
    ASSERT_TRUE(awaitPopover());
    screen().click(200, 550);
    EXPECT_TRUE(awaitNoPopover());
}

TEST_P(FloatingPopover, staysWhenTheUserTurnsToAnotherWindow) {
    const auto badge = startInPanel();
    ASSERT_TRUE(badge);
    click(*badge);
    ASSERT_TRUE(awaitPopover());
    EXPECT_TRUE(compositorWindow()->isFloating);
    const QRect place = compositorWindow()->place;
    screen().click(100, 850); // where there is no window
    spinFor(std::chrono::seconds(1));
    ASSERT_TRUE(compositorWindow());
    EXPECT_EQ(compositorWindow()->place, place);
}

TEST_P(TrayIcon, startedForItsWindowTheProgramStaysInTheTray) {
    panel().start();
    start({"--show"});
    ASSERT_TRUE(awaitPopover());
    spinFor(std::chrono::milliseconds(300)); // until it has the keyboard
    screen().press("Escape");
    EXPECT_TRUE(awaitNoPopover());
    const auto badge = awaitBadge(); // which waits for the popover to close
    ASSERT_TRUE(badge);
    EXPECT_TRUE(isProgramRunning());
    click(*badge);
    EXPECT_TRUE(awaitPopover());
}

TEST_P(TrayIcon, appearsInAPanelThatStartsLater) {
    start();
    spinFor(std::chrono::seconds(1));
    EXPECT_TRUE(isProgramRunning());
    panel().start();
    EXPECT_TRUE(awaitBadge());
}

TEST_P(TrayIcon, appearsAgainInAPanelThatCrashed) {
    ASSERT_TRUE(startInPanel());
    for (int round = 0; round < 2; ++round) {
        panel().crash();
        EXPECT_TRUE(awaitNoBadge());
        panel().start();
        const auto badge = awaitBadge();
        ASSERT_TRUE(badge);
        click(*badge);
        EXPECT_TRUE(awaitPopover());
        spinFor(noDoubleClick);
        click(*badge);
        EXPECT_TRUE(awaitNoPopover());
    }
}

TEST_P(TrayIcon, itsMenuQuits) {
    const auto badge = startInPanel();
    ASSERT_TRUE(badge);
    click(*badge, 3);
    spinFor(std::chrono::milliseconds(700)); // until the panel has read the menu and shows it
    EXPECT_TRUE(isProgramRunning());
    if (isWayland()) { // where this panel's menu has no keyboard
        screen().click(badge->center().x() - 60, badge->bottom() + 12);
    } else {
        screen().press("Down");
        screen().press("Return");
    }
    EXPECT_EQ(exitStatus(), 0);
}

INSTANTIATE_TEST_SUITE_P(In, TrayIcon,
                         testing::Values(PanelKind::xfce, PanelKind::lxqt, PanelKind::trayer,
                                         PanelKind::waybar),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(In, PlacedPopover,
                         testing::Values(PanelKind::xfce, PanelKind::lxqt, PanelKind::trayer), nameOf);
INSTANTIATE_TEST_SUITE_P(In, FloatingPopover, testing::Values(PanelKind::waybar), nameOf);
