// "Clean all".
#include "Vintrel/engine/Announcements.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/views/strays/StraysModelTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysCleanTest : public StraysModelTest {
protected:
    /// Cleans, and waits for the scan after it.
    void clean() {
        const size_t scans = scansBegun();
        model().cleanAll();
        ASSERT_TRUE(spinUntil([&] { return scansBegun() > scans && !model().isCleaning(); }));
        waitForScan();
        settle();
    }

    void expectNothingEnds() {
        model().cleanAll();
        spinFor(50ms);
        EXPECT_EQ(killings(), 0U);
        EXPECT_FALSE(model().isCleaning());
    }

    [[nodiscard]] size_t logged() const {
        return VintrelCore::CleanLogFile::load(cleanLogFile().string(), 1'000).size();
    }
};

TEST_F(StraysCleanTest, endsWhatIsSafeAndNothingElse) {
    world->owners.owners = {{2, "shop-db"}};
    list({safeItem(1), reviewItem(3), riskyItem(4), safeItem(2)});
    clean();
    ASSERT_EQ(killings(), 1U) << "all of it at once";
    EXPECT_EQ(pidsOf(world->killings[0].items), (PIDs{1, 2}));
    EXPECT_EQ(world->killings[0].owners.at(2), "shop-db");
    EXPECT_EQ(logged(), 2U);
}

TEST_F(StraysCleanTest, endsOnlyWhatMatchesTheFilter) {
    list({safeItem(1), safeItem(2), safeItem(3)});
    model().setFilterText("p2/");
    clean();
    ASSERT_EQ(killings(), 1U);
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
}

TEST_F(StraysCleanTest, leavesWhatIsProtected) {
    engine().setProtectedProjects({"~/kept"});
    world->found.cwds = {{1, cwdOf("~/kept")}, {2, cwdOf("~/kept2")}, {3, cwdOf("~")}};
    list({safeItem(1), safeItem(2), safeItem(3), safeItem(4)});
    clean();
    ASSERT_EQ(killings(), 1U);
    EXPECT_EQ(pidsOf(world->killings[0].items), (PIDs{2, 3})) << "4 may work in the protected folder";
}

TEST_F(StraysCleanTest, alsoEndsWhatIsInCollapsedGroups) {
    list({safeItem(1), safeItem(2)});
    model().toggleCollapsed(ProcessKind::vite);
    clean();
    ASSERT_EQ(killings(), 1U);
    EXPECT_EQ(pidsOf(world->killings[0].items), (PIDs{1, 2}));
}

TEST_F(StraysCleanTest, recordsWhatHasEndedOnly) {
    world->killResults = {{2, {KillOutcome::notKilled, KillDetail::notPermitted, {2}}}};
    list({safeItem(1), safeItem(2)});
    clean();
    EXPECT_EQ(logged(), 1U);
}

TEST_F(StraysCleanTest, postsNoNotification) {
    enableNotifications();
    list({safeItem(1)});
    world->found.items = {};
    clean();
    expectPosted({});
}

TEST_F(StraysCleanTest, endsNothingWhenNothingMatches) {
    list({safeItem(1)});
    model().setFilterText("no such thing");
    expectNothingEnds();
    EXPECT_EQ(logged(), 0U);
}

TEST_F(StraysCleanTest, endsNothingWhenAllIsProtectedOrNeedsReview) {
    engine().setProtectedProjects({"~/kept"});
    world->found.cwds = {{1, cwdOf("~/kept/x")}};
    list({safeItem(1), reviewItem(2)});
    expectNothingEnds();
}

TEST_F(StraysCleanTest, endsNothingWhenAFactThatProtectsIsMissing) {
    world->found.faults.details = Shell::Fault::notLaunched;
    list({safeItem(1)});
    ASSERT_TRUE(engine().reasonNotToClean());
    expectNothingEnds();
}

TEST_F(StraysCleanTest, isUnderWayUntilItIsOver) {
    list({safeItem(1), safeItem(2)});
    world.killGate().close();
    model().cleanAll();
    EXPECT_TRUE(model().isCleaning());
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    model().cleanAll();
    spinFor(30ms);
    EXPECT_EQ(killings(), 1U) << "another click meanwhile does nothing";
    EXPECT_TRUE(model().isCleaning());
    world.killGate().open();
    EXPECT_TRUE(spinUntil([this] { return !model().isCleaning(); }));
    EXPECT_EQ(killings(), 1U);
}

TEST_F(StraysCleanTest, rowsShowThatTheirEndIsUnderWay) {
    list({safeItem(1), reviewItem(2)});
    world.killGate().close();
    model().cleanAll();
    EXPECT_TRUE(row(1).isEnding);
    EXPECT_FALSE(row(2).isEnding);
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    EXPECT_FALSE(row(1).isEnding);
}

TEST_F(StraysCleanTest, endsNothingThatWasNotShown) {
    list({safeItem(1), safeItem(2)});
    const Items shown = model().sweepableSafeItems();
    scan({safeItem(1), successorOf(safeItem(2)), safeItem(3)});
    model().cleanAll(shown);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(1)});
}

TEST_F(StraysCleanTest, rowsSayWhyTheyAreStillThere) {
    world->killResults = {{2, {KillOutcome::notKilled, KillDetail::notPermitted, {2}}}};
    list({safeItem(1), safeItem(2)});
    world->found.items = {safeItem(2)};
    clean();
    EXPECT_EQ(row(2).failure, Announcements::notEnded(world->killResults.at(2)));
}

TEST_F(StraysCleanTest, rowsThatWereNotTouchedSayNothing) {
    world->killResults = {{1, {KillOutcome::notKilled, KillDetail::notPermitted, {1}}}};
    list({safeItem(1), safeItem(2)});
    world.killGate().close();
    engine().kill(safeItem(1)); // by somebody else, such as a link
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    model().cleanAll();
    ASSERT_TRUE(spinUntil([this] { return killings() == 2; }));
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return !model().isCleaning(); }));
    waitForScan();
    settle();
    EXPECT_EQ(row(1).failure, "");
    EXPECT_FALSE(row(1).isEnding);
}

TEST_F(StraysCleanTest, leavesWhatIsBeingEndedAlready) {
    list({safeItem(1), safeItem(2)});
    world.killGate().close();
    model().kill(safeItem(1));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    model().cleanAll();
    ASSERT_TRUE(spinUntil([this] { return killings() == 2; }));
    EXPECT_EQ(world->killings[1].items, Items{safeItem(2)});
    EXPECT_TRUE(row(1).isEnding);
    EXPECT_TRUE(row(2).isEnding);
}

TEST_F(StraysCleanTest, doesNotMakeAnEndForgottenThatIsUnderWay) {
    list({safeItem(1)});
    world.killGate().close();
    model().kill(safeItem(1));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    model().cleanAll();
    ASSERT_TRUE(spinUntil([this] { return !model().isCleaning(); }));
    waitForScan();
    settle();
    EXPECT_TRUE(row(1).isEnding);
    model().kill(safeItem(1));
    spinFor(50ms);
    EXPECT_EQ(killings(), 1U);
}

TEST_F(StraysCleanTest, isOverWhenTheEngineFoundAReasonNotTo) {
    list({safeItem(1)});
    world->found.faults.details = Shell::Fault::notLaunched;
    scan();
    settle();
    model().cleanAll();
    EXPECT_TRUE(spinUntil([this] { return !model().isCleaning(); }, 5s));
    EXPECT_EQ(killings(), 0U);
}

TEST_F(StraysCleanTest, theModelMayDieMeanwhile) {
    list({safeItem(1), safeItem(2)});
    world.killGate().close();
    model().cleanAll();
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    endModel();
    world.killGate().open();
    EXPECT_TRUE(spinUntil([this] { return logged() == 2; }));
    waitForScan();
}

} // namespace Vintrel
