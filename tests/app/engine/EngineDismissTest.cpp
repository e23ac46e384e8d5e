// "Ignore for session".
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class EngineDismiss : public EngineTest {};

TEST_F(EngineDismiss, hidesAtOnce) {
    scan({safeItem(1), safeItem(2), safeItem(3)});
    changes.clear();
    engine().dismiss(2);
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 3}));
    EXPECT_EQ(engine().dismissedPIDs(), PIDSet{2});
    EXPECT_EQ(changes, Fields{Field::items});
    EXPECT_EQ(scansBegun(), 1U) << "it does not scan";
}

TEST_F(EngineDismiss, tellsOfTheListWithoutTheItem) {
    scan({safeItem(1), safeItem(2)});
    PIDs seen;
    onChange = [&](Field) { seen = pidsOf(engine().items()); };
    engine().dismiss(1);
    EXPECT_EQ(seen, PIDs{2});
}

TEST_F(EngineDismiss, hidesInEveryLaterScan) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(1);
    for (int round = 0; round < 3; ++round) {
        scan(); // the process runs on
        EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
        EXPECT_EQ(world->scans.back().dismissedPIDs, PIDSet{1});
    }
}

TEST_F(EngineDismiss, hidesWhatTheListDoesNotHold) {
    engine().dismiss(1);
    EXPECT_TRUE(changes.empty());
    scan({safeItem(1), safeItem(2)});
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
}

TEST_F(EngineDismiss, whoIsDismissedTwiceIsToldOfOnce) {
    scan({safeItem(1)});
    changes.clear();
    engine().dismiss(1);
    engine().dismiss(1);
    EXPECT_EQ(changes, Fields{Field::items});
    EXPECT_EQ(engine().dismissedPIDs(), PIDSet{1});
}

TEST_F(EngineDismiss, hidesWhatIsFoldedIntoTheRow) {
    scan({runnerItem(10, {11, 12}), safeItem(20)});
    engine().dismiss(10);
    EXPECT_EQ(engine().dismissedPIDs(), (PIDSet{10, 11, 12}));
    EXPECT_EQ(pidsOf(engine().items()), PIDs{20});
    scan({safeItem(11), safeItem(20)}); // the runner has ended, and its server shows
    EXPECT_EQ(pidsOf(engine().items()), PIDs{20});
    EXPECT_EQ(world->scans.back().dismissedPIDs, (PIDSet{10, 11, 12}));
}

TEST_F(EngineDismiss, duringAScanHidesFromItsResults) {
    scan({safeItem(1), safeItem(2)});
    beginScan({safeItem(1), safeItem(2)});
    engine().dismiss(1);
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
    bool cameBack = false;
    onChange = [&](Field) { cameBack = cameBack || pidsOf(engine().items()) != PIDs{2}; };
    finishScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
    EXPECT_FALSE(cameBack);
}

TEST_F(EngineDismiss, duringAScanHidesWhatIsFoldedIntoTheRow) {
    enableNotifications();
    scan({runnerItem(10, {11}), safeItem(20)});
    beginScan({safeItem(11), safeItem(20)});
    engine().dismiss(10);
    finishScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{20});
    expectPosted({});
}

TEST_F(EngineDismiss, endsWithTheEngine) {
    scan({safeItem(1)});
    engine().dismiss(1);
    endEngine();
    EXPECT_TRUE(engine().dismissedPIDs().empty());
    scan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
}

TEST_F(EngineDismiss, hiddenItemsComeBackWithAScan) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(1);
    engine().dismiss(2);
    EXPECT_TRUE(engine().items().empty());
    engine().restoreHiddenAndScan();
    EXPECT_TRUE(engine().dismissedPIDs().empty());
    EXPECT_EQ(engine().previousPIDs(), std::nullopt);
    EXPECT_TRUE(engine().isScanning());
    waitForScan();
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 2}));
    EXPECT_TRUE(world->scans.back().dismissedPIDs.empty());
}

TEST_F(EngineDismiss, keepsTheItemOutOfASweep) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(1);
    EXPECT_EQ(pidsOf(engine().sweepableSafeItems()), PIDs{2});
}

} // namespace Vintrel
