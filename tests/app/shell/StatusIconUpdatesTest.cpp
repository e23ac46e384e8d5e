// When the icon is drawn, with what, and when it pulses.
#include "tests/app/shell/ShellTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;
using StatusIcon::Tone;

class StatusIconUpdates : public ShellTest {
protected:
    [[nodiscard]] const StatusIcon::Look& look() const { return item->looks.back(); }
};

} // namespace

TEST_F(StatusIconUpdates, theIconIsThereFromTheLaunchOn) {
    launch();
    ASSERT_EQ(item->looks.size(), 1U);
    EXPECT_EQ(look().symbolName, "cpu");
    EXPECT_EQ(look().title, "");
    EXPECT_EQ(look().tooltip, "Not scanned yet");
    EXPECT_EQ(item->pulses, 0);
    EXPECT_FALSE(isOpen());
}

TEST_F(StatusIconUpdates, noScanIsStarted) {
    launch();
    spinFor(30ms);
    EXPECT_FALSE(delegate->engine().isScanning());
    EXPECT_TRUE(world->scans.empty());
}

TEST_F(StatusIconUpdates, theTooltipHasTheVersion) {
    QCoreApplication::setApplicationVersion("1.2.3");
    launch();
    EXPECT_EQ(look().tooltipTitle, "Vintrel 1.2.3");
    QCoreApplication::setApplicationVersion({});
}

TEST_F(StatusIconUpdates, twoSafeAndFiveToReviewAreARedTwo) {
    launch();
    scan(2, 5);
    EXPECT_EQ(look().symbolName, "cpu.fill");
    EXPECT_EQ(look().title, " 2");
    EXPECT_EQ(look().tone, Tone::red);
    EXPECT_EQ(look().tooltip, "2 safe to clean, 5 need review");
    EXPECT_EQ(delegate->lastStrayCount(), 7);
}

TEST_F(StatusIconUpdates, fiveToReviewAloneAreAYellowFive) {
    launch();
    scan(0, 5);
    EXPECT_EQ(look().title, " 5");
    EXPECT_EQ(look().tone, Tone::yellow);
}

TEST_F(StatusIconUpdates, nothingIsTheOutline) {
    launch();
    scan(1, 0);
    scan(0, 0);
    EXPECT_EQ(look().symbolName, "cpu");
    EXPECT_EQ(look().title, "");
    EXPECT_EQ(look().tooltip, "No stray processes");
}

TEST_F(StatusIconUpdates, aScanShowsWhileItRuns) {
    launch();
    scan(2, 0);
    world.scanGate().close();
    delegate->engine().scan();
    EXPECT_EQ(look().symbolName, "arrow.2.circlepath");
    EXPECT_EQ(look().title, "");
    world.scanGate().open();
    waitForScan();
    EXPECT_EQ(look().title, " 2");
}

TEST_F(StatusIconUpdates, pulsesWhenThereAreMore) {
    launch();
    scan(1, 2);
    item->pulses = 0;
    scan(2, 2);
    EXPECT_EQ(item->pulses, 1) << "from 3 to 4";
    scan(1, 1);
    EXPECT_EQ(item->pulses, 1) << "from 4 to 2";
    EXPECT_EQ(delegate->lastStrayCount(), 2);
    scan(1, 2);
    EXPECT_EQ(item->pulses, 2) << "from 2 back to 3";
    scan(2, 1);
    EXPECT_EQ(item->pulses, 2) << "3 other ones";
}

TEST_F(StatusIconUpdates, theFirstOnesPulse) {
    launch();
    scan(0, 1);
    EXPECT_EQ(item->pulses, 1);
}

TEST_F(StatusIconUpdates, withReducedMotionNothingPulses) {
    appearance.change({.prefersReducedMotion = true});
    launch();
    scan(3, 0);
    EXPECT_EQ(look().title, " 3");
    EXPECT_EQ(item->pulses, 0);
    EXPECT_EQ(delegate->lastStrayCount(), 3);
    appearance.change({.prefersReducedMotion = false});
    scan(4, 0);
    EXPECT_EQ(item->pulses, 1);
}

TEST_F(StatusIconUpdates, theIconStaysAsItIsWhileThePopoverIsShown) {
    launch();
    scan(2, 0);
    const size_t drawn = item->looks.size();
    item->pulses = 0;
    ASSERT_NO_FATAL_FAILURE(open());
    scan(5, 1);
    EXPECT_EQ(item->looks.size(), drawn);
    EXPECT_EQ(item->pulses, 0);
    EXPECT_EQ(delegate->lastStrayCount(), 2);
    popover().close();
    EXPECT_EQ(item->looks.size(), drawn + 1);
    EXPECT_EQ(look().title, " 5");
    EXPECT_EQ(item->pulses, 1) << "there are more than when it was drawn last";
    EXPECT_EQ(delegate->lastStrayCount(), 6);
}

TEST_F(StatusIconUpdates, aDismissedItemIsNotCounted) {
    launch();
    scan(2, 0);
    delegate->engine().dismiss(100);
    EXPECT_EQ(look().title, " 1");
}

TEST_F(StatusIconUpdates, theEngineMayChangeUntilTheEnd) {
    launch();
    world.scanGate().close();
    delegate->engine().scan();
    delegate.reset();
    world.scanGate().open();
    spinFor(30ms);
}

} // namespace Vintrel
