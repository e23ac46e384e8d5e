// What the shortcuts do and answer.
#include "Vintrel/shell/Intents.h"

#include "tests/app/support/EngineTest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using KillCore::KillDetail;
using KillCore::KillOutcome;
using Dialogs = std::vector<std::string>;

class IntentsTest : public EngineTest {
protected:
    OnDialog taker() {
        return [this](const std::string& dialog) { dialogs.push_back(dialog); };
    }

    /// The answers to a clean, once there is one and nothing else is under way.
    Dialogs afterClean() {
        CleanSafeStraysIntent::perform(engine(), taker());
        EXPECT_TRUE(spinUntil([this] { return !dialogs.empty() && !engine().isScanning(); }));
        spinFor(std::chrono::milliseconds(30));
        return dialogs;
    }

    Dialogs dialogs;
};

TEST_F(IntentsTest, scanNowScansAndAnswersAtOnce) {
    world->found.items = {safeItem(1)};
    ScanNowIntent::perform(engine(), taker());
    EXPECT_EQ(dialogs, Dialogs{"Rescanning for strays."});
    EXPECT_TRUE(engine().isScanning());
    waitForScan();
    EXPECT_EQ(engine().items().size(), 1U);
    EXPECT_EQ(dialogs.size(), 1U);
}

TEST_F(IntentsTest, scanNowAnswersTheSameDuringAScan) {
    beginScan({safeItem(1)});
    ScanNowIntent::perform(engine(), taker());
    EXPECT_EQ(dialogs, Dialogs{"Rescanning for strays."});
    finishScan();
    EXPECT_EQ(scansBegun(), 1U);
}

TEST_F(IntentsTest, scanNowKillsNothing) {
    scan({safeItem(1)});
    ScanNowIntent::perform(engine(), taker());
    waitForScan();
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(IntentsTest, cleanSafeStraysEndsWhatIsSafe) {
    scan({safeItem(1), reviewItem(7), safeItem(2)});
    EXPECT_EQ(afterClean(), Dialogs{"Cleaned 2 of 2"});
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(pidsOf(world->killings[0].items), (PIDs{1, 2}));
}

TEST_F(IntentsTest, cleanSafeStraysCountsWhatHasEnded) {
    world->killResults = {{2, {KillOutcome::notKilled, KillDetail::notPermitted, {2}}}};
    scan({safeItem(1), safeItem(2), safeItem(3)});
    EXPECT_EQ(afterClean(), Dialogs{"Cleaned 2 of 3"});
}

TEST_F(IntentsTest, cleanSafeStraysScansFirstWhenNothingIsKnown) {
    world->found.items = {safeItem(1)};
    EXPECT_EQ(afterClean(), Dialogs{"Cleaned 1 of 1"});
}

TEST_F(IntentsTest, cleanSafeStraysAnswersWhenItIsDone) {
    scan({safeItem(1)});
    world.killGate().close();
    CleanSafeStraysIntent::perform(engine(), taker());
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() > 0; }));
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(dialogs, Dialogs());
    world.killGate().open();
    EXPECT_TRUE(spinUntil([this] { return !dialogs.empty(); }));
    EXPECT_EQ(dialogs, Dialogs{"Cleaned 1 of 1"});
}

TEST_F(IntentsTest, cleanSafeStraysLeavesWhatNeedsReview) {
    scan({reviewItem(1), reviewItem(2)});
    EXPECT_EQ(afterClean(), Dialogs{"No unprotected safe-to-clean processes."});
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(IntentsTest, cleanSafeStraysLeavesWhatIsProtected) {
    world->found.cwds = {{1, cwdOf("/home/me/mine")}};
    store([](QSettings& values) { values.setValue("protectedProjects", QStringList{"/home/me/mine"}); });
    scan({safeItem(1)});
    EXPECT_EQ(afterClean(), Dialogs{"No unprotected safe-to-clean processes."});
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(IntentsTest, cleanSafeStraysSaysWhyItMayNotClean) {
    world->found.faults.details = Shell::Fault::tooSlow;
    scan({safeItem(1)});
    const auto reason = engine().reasonNotToClean();
    ASSERT_TRUE(reason);
    EXPECT_EQ(afterClean(), Dialogs{"Nothing was cleaned: " + *reason});
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(IntentsTest, cleanSafeStraysSaysWhyItMayNotCleanBeforeAnyScan) {
    world->found.faults.table = Shell::Fault::tooSlow;
    const Dialogs told = afterClean();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_TRUE(told[0].starts_with("Nothing was cleaned: ")) << told[0];
    EXPECT_NE(told[0].find("ps"), std::string::npos) << told[0];
}

TEST_F(IntentsTest, cleanSafeStraysAnswersEveryoneOnce) {
    scan({safeItem(1)});
    CleanSafeStraysIntent::perform(engine(), taker());
    const Dialogs told = afterClean();
    EXPECT_TRUE(spinUntil([this] { return dialogs.size() >= 2; }));
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(dialogs.size(), 2U);
}

} // namespace Vintrel
