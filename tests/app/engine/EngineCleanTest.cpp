// "Clean all".
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/support/EngineTest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using KillCore::KillDetail;
using KillCore::KillOutcome;
using VintrelCore::CleanEvent;

class EngineClean : public EngineTest {
protected:
    [[nodiscard]] std::vector<CleanEvent> logged() const {
        return VintrelCore::CleanLogFile::load(cleanLogFile().string(), 1'000);
    }

    CleanOutcome outcome;
};

TEST_F(EngineClean, endsExactlyTheSweepableItemsAtOnce) {
    world->owners.owners = {{3, "shop-db"}};
    world->found.cwds = {{4, cwdOf("~/work/shop")}};
    for (const int32_t pid : {1, 3, 10, 11}) {
        world->found.cwds[pid] = cwdOf("~/elsewhere");
    }
    engine().setProtectedProjects({"~/work"});
    scan({safeItem(3), reviewItem(2), safeItem(1), safeItem(4), runnerItem(10, {11})});
    engine().cleanAllSafe(outcome.taker());
    EXPECT_EQ(outcome.count(), 0U) << "ending takes its time";
    ASSERT_TRUE(outcome.wait());
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(world->killings[0].items, (std::vector{safeItem(3), safeItem(1), runnerItem(10, {11})}));
    EXPECT_EQ(world->killings[0].owners, (VintrelCore::DockerCore::OwnerMap{{3, "shop-db"}}));
    EXPECT_EQ(outcome.summary(), (CleanSummary{3, 3, 14 * 1'024}));
}

TEST_F(EngineClean, countsOnlyWhatHasEnded) {
    world->killResults = {{1, {KillOutcome::notKilled, KillDetail::notTheSame}},
                          {2, {KillOutcome::confirmed, KillDetail::stillThere, {2}}},
                          {3, {KillOutcome::confirmed, KillDetail::containerStopped}},
                          {10, {KillOutcome::confirmed, KillDetail::ended, {11}}}};
    scan({safeItem(1), safeItem(2), safeItem(3), safeItem(4), runnerItem(10, {11})});
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{5, 2, 7 * 1'024}));
    EXPECT_EQ(logged().size(), 2U);
}

TEST_F(EngineClean, recordsWhatHasEnded) {
    ProcessItem custom = safeItem(2);
    custom.kind = ProcessKind::custom;
    custom.customLabel = "My agent";
    world->found.cwds = {{1, {.label = "shop/web", .fullPath = "~/work/shop/web"}}};
    world->killResults = {{3, {KillOutcome::notKilled, KillDetail::notPermitted, {3}}}};
    scan({safeItem(1), custom, safeItem(3)});
    world->now = VintrelCore::Instant(std::chrono::seconds(1'712'345'678));
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    const std::vector<CleanEvent> expected{
        {.kind = "Vite", .projectLabel = "shop/web", .rssKB = 1'024, .timestamp = world->now},
        {.kind = "Custom rules", .projectLabel = "—", .rssKB = 2'048, .timestamp = world->now}};
    EXPECT_EQ(engine().cleanLog().events(), expected);
    EXPECT_EQ(logged(), expected);
}

TEST_F(EngineClean, hasRecordedAndScansWhenItIsTold) {
    scan({safeItem(1)});
    bool wasScanning = false;
    size_t recorded = 0;
    engine().cleanAllSafe([&](const CleanSummary& summary) {
        wasScanning = engine().isScanning();
        recorded = logged().size();
        outcome.taker()(summary);
    });
    ASSERT_TRUE(outcome.wait());
    EXPECT_TRUE(wasScanning);
    EXPECT_EQ(recorded, 1U);
    waitForScan();
    EXPECT_EQ(scansBegun(), 2U);
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(outcome.count(), 1U);
}

TEST_F(EngineClean, theScanAfterItShowsWhatIsLeft) {
    world->killResults = {{2, {KillOutcome::notKilled, KillDetail::notPermitted, {2}}}};
    scan({safeItem(1), safeItem(2)});
    world->found.items = {safeItem(2)};
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    waitForScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
}

TEST_F(EngineClean, withNothingToSweepIsEmpty) {
    scan({reviewItem(1)});
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{0, 0, 0}));
    EXPECT_TRUE(world->killings.empty());
    EXPECT_FALSE(std::filesystem::exists(cleanLogFile()));
}

TEST_F(EngineClean, beforeAnyScanScansFirst) {
    world->found.items = {safeItem(1), reviewItem(2)};
    engine().cleanAllSafe(outcome.taker());
    EXPECT_TRUE(engine().isScanning());
    EXPECT_TRUE(world->killings.empty());
    ASSERT_TRUE(outcome.wait());
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(pidsOf(world->killings[0].items), PIDs{1});
    EXPECT_EQ(outcome.summary(), (CleanSummary{1, 1, 1'024}));
    waitForScan();
    EXPECT_EQ(scansBegun(), 2U) << "one before it and one after";
}

TEST_F(EngineClean, duringTheFirstScanWaitsForIt) {
    beginScan({safeItem(1)});
    engine().cleanAllSafe(outcome.taker());
    spinFor(std::chrono::milliseconds(50));
    EXPECT_EQ(outcome.count(), 0U);
    EXPECT_TRUE(world->killings.empty());
    finishScan();
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{1, 1, 1'024}));
}

TEST_F(EngineClean, everyoneWhoAskedBeforeTheFirstScanIsTold) {
    CleanOutcome another;
    world->found.items = {safeItem(1)};
    engine().cleanAllSafe(outcome.taker());
    engine().cleanAllSafe(another.taker());
    ASSERT_TRUE(outcome.wait());
    ASSERT_TRUE(another.wait());
    EXPECT_EQ(outcome.summary().requested, 1);
}

TEST_F(EngineClean, withTheFirstScanEmptySaysSo) {
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{0, 0, 0}));
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineClean, ofChosenItemsEndsThese) {
    scan({safeItem(1), reviewItem(2), safeItem(3)});
    engine().clean({safeItem(3), reviewItem(2)}, outcome.taker());
    ASSERT_TRUE(outcome.wait());
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(pidsOf(world->killings[0].items), (PIDs{3, 2}));
    EXPECT_EQ(outcome.summary(), (CleanSummary{2, 2, 5 * 1'024}));
}

TEST_F(EngineClean, addsToWhatTheCommandLineRecordedMeanwhile) {
    scan({safeItem(1)});
    const CleanEvent other{.kind = "Jest", .projectLabel = "x", .rssKB = 5, .timestamp = world->now};
    ASSERT_TRUE(VintrelCore::CleanLogFile::append({&other, 1}, cleanLogFile().string(), 1'000).isSaved);
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    ASSERT_EQ(logged().size(), 2U);
    EXPECT_EQ(logged()[0], other);
    EXPECT_EQ(logged()[1].kind, "Vite");
    EXPECT_EQ(engine().cleanLog().events(), logged());
}

TEST_F(EngineClean, whatEndedIsNotShownByAScanThatWasUnderWay) {
    scan({safeItem(1), safeItem(2), safeItem(3)});
    world->killResults = {{2, {KillOutcome::notKilled, KillDetail::notPermitted, {2}}}};
    ProcessItem successor = safeItem(3);
    successor.startTime = VintrelCore::ProcStartTime{.sec = 5'000'000};
    beginScan({safeItem(1), safeItem(2), successor}); // what ps saw just before
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_TRUE(engine().isScanning());
    finishScan();
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{2, 3})) << "the number 3 is another process's now";
    EXPECT_EQ(engine().items().back().startTime, successor.startTime);
}

TEST_F(EngineClean, recordsTheProjectThatWasKnownWhenItBegan) {
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    scan({safeItem(1)});
    world.killGate().close();
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    world->found.cwds.clear();
    scan(std::vector<ProcessItem>{}); // it has ended by now, and nothing is known of it any more
    world.killGate().open();
    ASSERT_TRUE(outcome.wait());
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_EQ(logged()[0].projectLabel, "shop");
}

TEST_F(EngineClean, recordingTakesOnlyWhatHasEnded) {
    scan({safeItem(1), safeItem(2), safeItem(3)});
    engine().recordCleaned({safeItem(1), safeItem(2), safeItem(3)},
                           {{1, {KillOutcome::confirmed, KillDetail::ended}},
                            {3, {KillOutcome::notKilled, KillDetail::alreadyGone}}});
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_EQ(logged()[0].rssKB, 1'024);
    engine().recordCleaned({}, {});
    EXPECT_EQ(logged().size(), 1U);
}

} // namespace Vintrel
