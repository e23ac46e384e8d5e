// What others ask of the program in the tray: second starts and links reach the one that has the icon there,
// and the icon pulses only as far as the desktop lets things move.
#include "tests/desktop/tray/IconSignals.h"
#include "tests/desktop/tray/TrayTest.h"

#include <algorithm>
#include <chrono>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

class TrayRequests : public TrayTest {
public:
    /// It never scans unless it is asked to.
    TrayRequests() { settings().write("[General]\nelapsedThreshold=0.000001\nscanInterval=3600\n"); }
};

/// In a panel that hears of each new picture.
class IconPulse : public TrayRequests {
public:
    /// How often the icon has changed by the end of a scan that found one stray more.
    int changesAfterScan() {
        const IconSignals changes(bus());
        addStray();
        EXPECT_EQ(startAgain({"vintrel://scan"}), 0);
        EXPECT_TRUE(spinUntil([&changes] { return changes.count() >= 2; }));
        spinFor(std::chrono::milliseconds(1'500)); // longer than a pulse
        return changes.count();
    }

    void startAndSettle() {
        panel().start();
        start();
        EXPECT_TRUE(spinUntil([this] { return bus().isOffered("dev.vintrel.Vintrel"); }));
        EXPECT_EQ(startAgain({"vintrel://scan"}), 0);
        EXPECT_TRUE(awaitBadge());
        spinFor(std::chrono::milliseconds(1'500)); // until the pulse for the first stray is over
    }
};

constexpr int changesOfLook = 3; // it scans, it has found something, it scans no more
constexpr int framesOfPulse = 4; // at the least; there are twelve
constexpr int mostTries = 4;     // a program that gets no time to run has few pictures to show

std::string nameOf(const testing::TestParamInfo<PanelKind>& info) {
    return info.param == PanelKind::xfce ? "xfce" : "trayer";
}

} // namespace

TEST_P(TrayRequests, aSecondStartOpensThePopoverBesideTheIcon) {
    panel().start();
    start();
    ASSERT_TRUE(spinUntil([this] { return bus().isOffered("dev.vintrel.Vintrel"); }));
    ASSERT_EQ(startAgain({"vintrel://scan"}), 0);
    const auto badge = awaitBadge();
    ASSERT_TRUE(badge);
    click(*badge); // some panels do not say before where the icon is
    ASSERT_TRUE(awaitPopover());
    spinFor(noDoubleClick);
    click(*badge);
    ASSERT_TRUE(awaitNoPopover());

    screen().point(300, 600);
    EXPECT_EQ(startAgain(), 0);
    const auto opened = awaitPopover();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(isBeside(*opened, *badge))
        << opened->x() << " " << opened->y() << " " << opened->width() << " " << opened->height()
        << ", icon at " << badge->x() << " " << badge->y();
    EXPECT_TRUE(isProgramRunning());
}

TEST_P(TrayRequests, aLinkMakesItScan) {
    panel().start();
    start();
    ASSERT_TRUE(spinUntil([this] { return bus().isOffered("dev.vintrel.Vintrel"); }));
    EXPECT_EQ(startAgain({"vintrel://unknown"}), 0);
    spinFor(std::chrono::seconds(2));
    EXPECT_TRUE(awaitNoBadge()) << "nobody has asked it to scan";
    EXPECT_EQ(startAgain({"vintrel://scan"}), 0);
    EXPECT_TRUE(awaitBadge());
    EXPECT_TRUE(isProgramRunning());
}

TEST_P(IconPulse, showsThatThereAreMore) {
    startPortal({"dark"});
    startAndSettle();
    int most = 0;
    for (int tries = 0; tries < mostTries && most < changesOfLook + framesOfPulse; ++tries) {
        most = std::max(most, changesAfterScan());
    }
    EXPECT_GE(most, changesOfLook + framesOfPulse);
}

TEST_P(IconPulse, isNotForWhoPrefersReducedMotion) {
    startPortal({"dark", "calm"});
    startAndSettle();
    for (int tries = 0; tries < 2; ++tries) {
        EXPECT_LE(changesAfterScan(), changesOfLook);
    }
}

INSTANTIATE_TEST_SUITE_P(In, TrayRequests, testing::Values(PanelKind::xfce, PanelKind::trayer), nameOf);
INSTANTIATE_TEST_SUITE_P(In, IconPulse, testing::Values(PanelKind::xfce), nameOf);
