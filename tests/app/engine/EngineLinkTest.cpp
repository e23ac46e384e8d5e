// What the link "clean" does, and how its result is told.
#include "Vintrel/engine/ByteCount.h"
#include "tests/app/support/EngineTest.h"

#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using KillCore::KillDetail;
using KillCore::KillOutcome;
using VintrelCore::URLScheme::Command;
using Authorization = UserNotifications::Authorization;

namespace {

const UserNotification nothing{.title = "Nothing to clean",
                               .body = "No unprotected safe-to-clean processes."};

UserNotification resultOf(const std::string& title, int64_t reclaimedKB) {
    return {.title = title, .body = "~" + memoryText(reclaimedKB * 1'024) + " reclaimed"};
}

} // namespace

class EngineLink : public EngineTest {};

TEST_F(EngineLink, cleansAndTellsTheResult) {
    world->killResults = {{2, {KillOutcome::notKilled, KillDetail::notPermitted, {2}}}};
    scan({safeItem(1), reviewItem(7), safeItem(2), safeItem(3)});
    engine().perform(Command::clean);
    expectPosted({resultOf("Cleaned 2 of 3", 4 * 1'024)});
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(pidsOf(world->killings[0].items), (PIDs{1, 2, 3}));
    EXPECT_EQ(engine().cleanLog().events().size(), 2U);
}

TEST_F(EngineLink, namesTheMemoryInItsUnits) {
    ProcessItem small = safeItem(1);
    small.rssKB = 512;
    scan({small});
    engine().perform(Command::clean);
    expectPosted({resultOf("Cleaned 1 of 1", 512)});
    EXPECT_TRUE(posted()[0].body.starts_with("~512 ")) << posted()[0].body;
}

TEST_F(EngineLink, withNothingToCleanSaysSo) {
    scan({reviewItem(1)});
    engine().perform(Command::clean);
    expectPosted({nothing});
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineLink, beforeAnyScanScansFirst) {
    world->found.items = {safeItem(1)};
    engine().perform(Command::clean);
    expectPosted({resultOf("Cleaned 1 of 1", 1'024)});
    EXPECT_EQ(world->killings.size(), 1U);
}

TEST_F(EngineLink, thatMayNotCleanSaysWhy) {
    world->found.faults.details = Shell::Fault::tooSlow;
    scan({safeItem(1)});
    const auto reason = engine().reasonNotToClean();
    ASSERT_TRUE(reason);
    engine().perform(Command::clean);
    EXPECT_TRUE(spinUntil([this] { return !posted().empty(); }));
    spinFor(std::chrono::milliseconds(30));
    ASSERT_EQ(posted().size(), 1U);
    EXPECT_NE(posted()[0].title, nothing.title);
    EXPECT_NE(posted()[0].body.find("lsof"), std::string::npos) << posted()[0].body;
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineLink, thatMayNotCleanBeforeAnyScanSaysWhy) {
    world->found.faults.table = Shell::Fault::tooSlow;
    engine().perform(Command::clean);
    EXPECT_TRUE(spinUntil([this] { return !posted().empty(); }));
    ASSERT_EQ(posted().size(), 1U);
    EXPECT_NE(posted()[0].title, nothing.title);
    EXPECT_NE(posted()[0].body.find("ps"), std::string::npos) << posted()[0].body;
}

TEST_F(EngineLink, tellsItsResultAlsoWhenNewStraysAreNotAnnounced) {
    ASSERT_FALSE(engine().notificationsEnabled());
    scan({safeItem(1)});
    engine().perform(Command::clean);
    expectPosted({resultOf("Cleaned 1 of 1", 1'024)});
}

TEST_F(EngineLink, scansOnce) {
    engine().perform(Command::scan);
    EXPECT_TRUE(engine().isScanning());
    waitForScan();
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(scansBegun(), 1U);
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineLink, theResultOfACleanThatSomebodyElseAskedForIsNotTold) {
    scan({safeItem(1)});
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    expectPosted({});
}

class EngineCleanResult : public EngineTest {
protected:
    const CleanSummary summary{3, 2, 2'048};
    const UserNotification expected = resultOf("Cleaned 2 of 3", 2'048);
};

TEST_F(EngineCleanResult, isDeliveredToWhoAllowsIt) {
    engine().fireCleanResultNotification(summary);
    expectPosted({expected});
    EXPECT_EQ(notifications.readings, 1);
    EXPECT_EQ(notifications.requests, 0);
}

TEST_F(EngineCleanResult, isHandedOverEvenWhenTheDesktopDropsIt) {
    notifications.authorization = Authorization::denied;
    engine().fireCleanResultNotification(summary);
    expectPosted({expected});
    EXPECT_EQ(notifications.requests, 0);
}

TEST_F(EngineCleanResult, isHandedOverAfterAskingWhoHasNotDecided) {
    notifications.authorization = Authorization::notDetermined;
    bool wasAskedFirst = false;
    engine().fireCleanResultNotification(summary);
    EXPECT_TRUE(spinUntil([&] {
        wasAskedFirst = wasAskedFirst || (notifications.requests == 1 && posted().empty());
        return !posted().empty();
    }));
    expectPosted({expected});
    EXPECT_EQ(notifications.requests, 1);
}

TEST_F(EngineCleanResult, isHandedOverAfterARefusal) {
    notifications.authorization = Authorization::notDetermined;
    notifications.isToBeGranted = false;
    engine().fireCleanResultNotification(summary);
    expectPosted({expected});
    EXPECT_EQ(notifications.requests, 1);
    EXPECT_FALSE(engine().notificationsEnabled());
}

TEST_F(EngineCleanResult, ofNothingSaysSo) {
    engine().fireCleanResultNotification({});
    expectPosted({nothing});
}

TEST_F(EngineCleanResult, ofNothingThatEndedIsAResult) {
    engine().fireCleanResultNotification({4, 0, 0});
    expectPosted({resultOf("Cleaned 0 of 4", 0)});
}

TEST_F(EngineCleanResult, isHandedOverEvenWhenTheEngineHasEnded) {
    notifications.authorization = Authorization::notDetermined;
    engine().fireCleanResultNotification(summary);
    endEngine();
    expectPosted({expected});
}

} // namespace Vintrel
