// What happens while something else is under way.
#include "Vintrel/engine/Background.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/support/EngineTest.h"

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

class EngineOverlap : public EngineTest {
protected:
    [[nodiscard]] size_t eventsOnDisk() const {
        return VintrelCore::CleanLogFile::load(cleanLogFile().string(), 1'000).size();
    }
};

} // namespace

TEST_F(EngineOverlap, hiddenItemsThatAreRestoredDuringAScanComeWithTheNextUnannounced) {
    enableNotifications();
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(1);
    beginScan({safeItem(2)}); // the world leaves out what it was told to
    engine().restoreHiddenAndScan();
    world.scanGate().open();
    world->found.items = {safeItem(1), safeItem(2)};
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 3 && !engine().isScanning(); }));
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 2}));
    EXPECT_TRUE(world->scans.back().dismissedPIDs.empty());
    expectPosted({});
}

TEST_F(EngineOverlap, whatIsHiddenAfterThatStaysHidden) {
    scan({safeItem(1), safeItem(2)});
    beginScan({safeItem(1), safeItem(2)});
    engine().restoreHiddenAndScan();
    engine().dismiss(2);
    world.scanGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 3 && !engine().isScanning(); }));
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1}));
}

TEST_F(EngineOverlap, whatIsBeingEndedIsNotEndedTwice) {
    scan({safeItem(1), safeItem(2)});
    world.killGate().close();
    CleanOutcome first;
    CleanOutcome second;
    engine().clean({safeItem(1)}, first.taker());
    engine().clean({safeItem(1), safeItem(2)}, second.taker());
    world.killGate().open();
    ASSERT_TRUE(first.wait());
    ASSERT_TRUE(second.wait());
    EXPECT_EQ(first.summary().requested, 1);
    EXPECT_EQ(second.summary().requested, 1);
    EXPECT_EQ(eventsOnDisk(), 2U);
}

TEST_F(EngineOverlap, anItemThatSurvivedCanBeEndedAgain) {
    scan({safeItem(1)});
    world->killResults[1] = {
        .outcome = KillCore::KillOutcome::confirmed, .detail = KillCore::KillDetail::stillThere, .left = {1}};
    CleanOutcome first;
    engine().clean({safeItem(1)}, first.taker());
    ASSERT_TRUE(first.wait());
    EXPECT_EQ(first.summary().cleaned, 0);
    world->killResults.clear();
    CleanOutcome second;
    engine().clean({safeItem(1)}, second.taker());
    ASSERT_TRUE(second.wait());
    EXPECT_EQ(second.summary().cleaned, 1);
}

TEST_F(EngineOverlap, theEndOfTheProgramRecordsWhatHasEnded) {
    scan({safeItem(1)});
    world.killGate().close();
    engine().clean({safeItem(1)}, [](const CleanSummary&, const auto&) {});
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    std::thread later([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        world.killGate().open();
    });
    Background::shared().finish();
    later.join();
    EXPECT_EQ(eventsOnDisk(), 1U);
}

TEST_F(EngineOverlap, whoActsOnNewItemsFindsWhatIsKnownOfThem) {
    engine().setProtectedProjects({"~/work"});
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    bool wasProtected = false;
    onChange = [&](Field field) {
        if (field == Field::items) {
            wasProtected = engine().isProtected(engine().items().front());
        }
    };
    scan({safeItem(1)});
    EXPECT_TRUE(wasProtected);
}

TEST_F(EngineOverlap, whoIsToldOfNewItemsMayEndTheEngine) {
    bool isToldOfMore = false;
    bool isOver = false;
    onChange = [&](Field field) {
        isToldOfMore = isToldOfMore || isOver;
        if (field == Field::items) {
            isOver = true;
            endEngine();
        }
    };
    world->found.items = {safeItem(1)};
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    engine().scan();
    ASSERT_TRUE(spinUntil([&] { return isOver; }));
    spinFor(std::chrono::milliseconds(20));
    EXPECT_FALSE(isToldOfMore);
}

} // namespace Vintrel
