// The end of one row, as the list shows it.
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/views/strays/StraysModelTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysEndingTest : public StraysModelTest {
protected:
    /// Waits until so much was handed to be ended, and the scan after it is over.
    void waitForEnd(size_t scansBefore) {
        ASSERT_TRUE(spinUntil([&] { return scansBegun() > scansBefore; }));
        waitForScan();
        settle();
    }

    /// Tries to end an item that cannot be ended.
    void fail(const ProcessItem& item, KillDetail detail) {
        world->killResults = {{item.pid, {KillOutcome::notKilled, detail, {item.pid}}}};
        const size_t scans = scansBegun();
        model().kill(item);
        waitForEnd(scans);
    }
};

TEST_F(StraysEndingTest, goesToTheProcessThatTheRowShowed) {
    world->owners.owners = {{2, "shop-db"}};
    list({safeItem(1), safeItem(2), reviewItem(3)});
    const size_t scans = scansBegun();
    model().kill(safeItem(2));
    waitForEnd(scans);
    ASSERT_EQ(killings(), 1U);
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
    EXPECT_EQ(world->killings[0].items[0].startTime, safeItem(2).startTime);
    EXPECT_EQ(world->killings[0].owners.at(2), "shop-db");
    EXPECT_EQ(scansBegun(), scans + 1);
}

TEST_F(StraysEndingTest, goesToItAlsoWhenTheNumberIsSomebodyElsesByNow) {
    list({safeItem(1)});
    const ProcessItem shown = row(1).item;
    list({successorOf(safeItem(1))});
    model().kill(shown);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items[0].startTime, safeItem(1).startTime)
        << "whoever ends it finds out that it is another one";
}

TEST_F(StraysEndingTest, isUnderWayUntilTheNextScan) {
    list({safeItem(1), safeItem(2)});
    world.killGate().close();
    model().kill(safeItem(1));
    EXPECT_TRUE(row(1).isEnding);
    EXPECT_FALSE(row(2).isEnding);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    settle();
    EXPECT_TRUE(row(1).isEnding);
    world->found.items = {safeItem(2)};
    world.scanGate().close();
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return engine().isScanning(); }));
    settle();
    EXPECT_TRUE(row(1).isEnding) << "no scan has seen yet that it is gone";
    finishScan();
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
}

TEST_F(StraysEndingTest, aScanMeanwhileDoesNotMakeItForgotten) {
    list({safeItem(1)});
    world.killGate().close();
    model().kill(safeItem(1));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    list({safeItem(1), safeItem(2)});
    EXPECT_TRUE(row(1).isEnding);
}

TEST_F(StraysEndingTest, aSecondClickMeanwhileDoesNothing) {
    list({safeItem(1)});
    world.killGate().close();
    model().kill(safeItem(1));
    model().kill(safeItem(1));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    model().kill(safeItem(1));
    spinFor(30ms);
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    spinFor(30ms);
    EXPECT_EQ(killings(), 1U);
}

TEST_F(StraysEndingTest, severalMayBeUnderWay) {
    list({safeItem(1), safeItem(2)});
    world.killGate().close();
    model().kill(safeItem(1));
    model().kill(safeItem(2));
    EXPECT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 2; }));
    EXPECT_TRUE(row(1).isEnding);
    EXPECT_TRUE(row(2).isEnding);
}

TEST_F(StraysEndingTest, whatCannotBeEndedSaysWhy) {
    list({safeItem(1), safeItem(2)});
    fail(safeItem(1), KillDetail::notPermitted);
    EXPECT_FALSE(row(1).isEnding);
    EXPECT_NE(row(1).failure.find("not permitted"), std::string::npos) << row(1).failure;
    EXPECT_EQ(row(2).failure, "");
    EXPECT_NE(row(1).sentence().find(row(1).failure), std::string::npos);
}

TEST_F(StraysEndingTest, everyReasonIsToldInWordsOfItsOwn) {
    list({safeItem(1)});
    std::set<std::string> told;
    for (const auto detail : {KillDetail::notPermitted, KillDetail::refused, KillDetail::interrupted}) {
        fail(safeItem(1), detail);
        EXPECT_NE(row(1).failure, "");
        told.insert(row(1).failure);
    }
    EXPECT_EQ(told.size(), 3U);
}

TEST_F(StraysEndingTest, whatRunsOnAfterItsEndIsToldToo) {
    list({safeItem(1)});
    world->killResults = {{1, {KillOutcome::confirmed, KillDetail::stillThere, {1}}}};
    const size_t scans = scansBegun();
    model().kill(safeItem(1));
    waitForEnd(scans);
    EXPECT_FALSE(row(1).isEnding);
    EXPECT_NE(row(1).failure, "");
}

TEST_F(StraysEndingTest, aFailureStaysUntilTheNextAttempt) {
    list({safeItem(1)});
    fail(safeItem(1), KillDetail::notPermitted);
    list({safeItem(1), safeItem(2)});
    EXPECT_NE(row(1).failure, "");
    world.killGate().close();
    model().kill(safeItem(1));
    EXPECT_TRUE(row(1).isEnding);
    EXPECT_EQ(row(1).failure, "");
}

TEST_F(StraysEndingTest, aFailureIsNotInherited) {
    list({safeItem(1)});
    fail(safeItem(1), KillDetail::notPermitted);
    list({successorOf(safeItem(1))});
    EXPECT_EQ(row(1).failure, "");
    EXPECT_FALSE(row(1).isEnding);
}

TEST_F(StraysEndingTest, aFailureIsForgottenWithItsRow) {
    list({safeItem(1)});
    fail(safeItem(1), KillDetail::notPermitted);
    list({});
    list({safeItem(1)});
    EXPECT_EQ(row(1).failure, "");
}

TEST_F(StraysEndingTest, beingUnderWayIsNotInheritedEither) {
    list({safeItem(1)});
    world.killGate().close();
    model().kill(safeItem(1));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    list({successorOf(safeItem(1))});
    EXPECT_FALSE(row(1).isEnding);
    model().kill(row(1).item);
    EXPECT_TRUE(spinUntil([this] { return killings() == 2; }, 5s)) << "it can be ended itself";
    EXPECT_EQ(world->killings[1].items[0].startTime, successorOf(safeItem(1)).startTime);
}

TEST_F(StraysEndingTest, ofAnItemWithoutAStartTimeWorksToo) {
    ProcessItem item = safeItem(1);
    item.startTime.reset();
    list({item});
    fail(item, KillDetail::notPermitted);
    EXPECT_NE(row(1).failure, "");
}

TEST_F(StraysEndingTest, whatIsStillListedAfterItsEndCanBeEndedAgain) {
    list({safeItem(1)});
    const size_t scans = scansBegun();
    model().kill(safeItem(1));
    waitForEnd(scans);
    list({safeItem(1)});
    EXPECT_FALSE(row(1).isEnding);
    model().kill(safeItem(1));
    EXPECT_TRUE(spinUntil([this] { return killings() == 2; }, 5s));
}

TEST_F(StraysEndingTest, theShortcutEndsTheOnlySafeItem) {
    list({reviewItem(1), safeItem(2)});
    const size_t scans = scansBegun();
    model().soleSafeKillShortcut();
    waitForEnd(scans);
    ASSERT_EQ(killings(), 1U);
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
}

TEST_F(StraysEndingTest, theShortcutDoesNothingWhereItIsNotClearWhatIsMeant) {
    list({});
    model().soleSafeKillShortcut();
    list({reviewItem(1)});
    model().soleSafeKillShortcut();
    list({safeItem(1), safeItem(2)});
    model().soleSafeKillShortcut();
    spinFor(50ms);
    EXPECT_EQ(killings(), 0U);
}

TEST_F(StraysEndingTest, theModelMayDieMeanwhile) {
    list({safeItem(1)});
    world.killGate().close();
    model().kill(safeItem(1));
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    endModel();
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    EXPECT_EQ(VintrelCore::CleanLogFile::load(cleanLogFile().string(), 1'000).size(), 1U);
}

} // namespace Vintrel
