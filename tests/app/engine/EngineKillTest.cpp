// The end of one row.
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/support/EngineTest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;

class EngineKill : public EngineTest {
protected:
    [[nodiscard]] std::vector<VintrelCore::CleanEvent> logged() const {
        return VintrelCore::CleanLogFile::load(cleanLogFile().string(), 1'000);
    }

    /// Ends an item and waits for the result.
    KillResult kill(const ProcessItem& item) {
        std::vector<KillResult> results;
        engine().kill(item, [&](const KillResult& result) {
            wasScanning = engine().isScanning();
            recordedBefore = logged().size();
            results.push_back(result);
        });
        EXPECT_TRUE(results.empty()) << "ending takes its time";
        EXPECT_TRUE(spinUntil([&] { return !results.empty(); }));
        waitForScan();
        EXPECT_EQ(results.size(), 1U);
        return results.empty() ? KillResult{} : results.front();
    }

    bool wasScanning = false;
    size_t recordedBefore = 0;
};

TEST_F(EngineKill, endsTheItemWithTheKnownOwners) {
    world->owners.owners = {{2, "shop-db"}};
    scan({safeItem(1), reviewItem(2)});
    EXPECT_EQ(kill(reviewItem(2)), (KillResult{KillOutcome::confirmed, KillDetail::ended}));
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(world->killings[0].items, std::vector{reviewItem(2)});
    EXPECT_EQ(world->killings[0].owners, (VintrelCore::DockerCore::OwnerMap{{2, "shop-db"}}));
}

TEST_F(EngineKill, recordsAndScansBeforeItTells) {
    world->found.cwds = {{1, {.label = "shop/web", .fullPath = "~/work/shop/web"}}};
    scan({safeItem(1)});
    (void)kill(safeItem(1));
    EXPECT_TRUE(wasScanning);
    EXPECT_EQ(recordedBefore, 1U);
    EXPECT_EQ(scansBegun(), 2U);
    EXPECT_EQ(logged(),
              (std::vector<VintrelCore::CleanEvent>{
                  {.kind = "Vite", .projectLabel = "shop/web", .rssKB = 1'024, .timestamp = world->now}}));
}

TEST_F(EngineKill, tellsWhatDidNotEndAndRecordsNothing) {
    const KillResult refusal{KillOutcome::notKilled, KillDetail::notPermitted, {1}};
    world->killResults = {{1, refusal}};
    scan({safeItem(1)});
    EXPECT_EQ(kill(safeItem(1)), refusal);
    EXPECT_TRUE(logged().empty());
    EXPECT_EQ(scansBegun(), 2U) << "what it shows may be old";
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
}

TEST_F(EngineKill, doesNotRecordARowOfWhichSomethingRunsOn) {
    world->killResults = {{10, {KillOutcome::confirmed, KillDetail::ended, {11}}}};
    scan({runnerItem(10, {11})});
    (void)kill(runnerItem(10, {11}));
    EXPECT_TRUE(logged().empty());
}

TEST_F(EngineKill, needsNobodyToTell) {
    scan({safeItem(1)});
    engine().kill(safeItem(1));
    EXPECT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(EngineKill, announcesNothing) {
    scan({safeItem(1)});
    (void)kill(safeItem(1));
    expectPosted({});
}

TEST_F(EngineKill, whatEndedIsNotShownByAScanThatWasUnderWay) {
    scan({safeItem(1), safeItem(2)});
    beginScan({safeItem(1), safeItem(2)});
    bool isEnded = false;
    engine().kill(safeItem(1), [&](const KillResult&) { isEnded = true; });
    ASSERT_TRUE(spinUntil([&] { return isEnded; }));
    bool cameBack = false;
    onChange = [&](Field field) {
        cameBack = cameBack || (field == Field::items && pidsOf(engine().items()) != PIDs{2});
    };
    finishScan();
    EXPECT_FALSE(cameBack);
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
}

TEST_F(EngineKill, whatEndedDuringAnEarlierScanIsShownWhenItIsThereAgain) {
    ProcessItem unstamped = safeItem(1);
    unstamped.startTime.reset();
    scan({unstamped});
    beginScan({unstamped});
    bool isEnded = false;
    engine().kill(unstamped, [&](const KillResult&) { isEnded = true; });
    ASSERT_TRUE(spinUntil([&] { return isEnded; }));
    finishScan();
    scan({unstamped});
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1}) << "ps tells of it after the end: it is somebody else";
}

TEST_F(EngineKill, severalMayBeUnderWay) {
    scan({safeItem(1), safeItem(2)});
    world.killGate().close();
    int ended = 0;
    engine().kill(safeItem(1), [&](const KillResult&) { ++ended; });
    engine().kill(safeItem(2), [&](const KillResult&) { ++ended; });
    EXPECT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 2; })) << "they wait side by side";
    world.killGate().open();
    EXPECT_TRUE(spinUntil([&] { return ended == 2; }));
    EXPECT_EQ(logged().size(), 2U);
}

} // namespace Vintrel
