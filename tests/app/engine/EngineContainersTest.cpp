// Which containers the candidates belong to, as the engine finds out.
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

class EngineContainers : public EngineTest {
protected:
    void prepareOwner() {
        world->owners = {.owners = {{1, "shop-db"}},
                         .engine = VintrelCore::DockerService::EngineState::answering};
        world.ownersGate().close();
        world->found.items = {safeItem(1), safeItem(2)};
        engine().scan();
        ASSERT_TRUE(spinUntil([this] { return !engine().isScanning(); }));
    }
};

} // namespace

TEST_F(EngineContainers, areNotAskedForWithoutAProcessOfOne) {
    scan({safeItem(1), safeItem(2)});
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(world.ownersGate().arrivals(), 0);
}

TEST_F(EngineContainers, thatAreLateDoNotHoldUpTheProcesses) {
    prepareOwner();
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 2}));
    EXPECT_TRUE(engine().containerOwners().empty());
    world.ownersGate().open();
    ASSERT_TRUE(spinUntil([this] { return !engine().containerOwners().empty(); }));
    EXPECT_EQ(engine().containerOwners().at(1), "shop-db");
    EXPECT_EQ(countOf(Field::containerOwners), 1U);
}

TEST_F(EngineContainers, areKnownBeforeAnythingIsEnded) {
    prepareOwner();
    bool hasEnded = false;
    engine().kill(safeItem(1), [&](const KillCore::KillResult&) { hasEnded = true; });
    spinFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(world->killings.empty());
    EXPECT_FALSE(hasEnded);
    world.ownersGate().open();
    ASSERT_TRUE(spinUntil([&] { return hasEnded; }));
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(world->killings.front().owners.at(1), "shop-db");
}

TEST_F(EngineContainers, areForgottenWhenNoneIsLeft) {
    prepareOwner();
    world.ownersGate().open();
    ASSERT_TRUE(spinUntil([this] { return !engine().containerOwners().empty(); }));
    world->owners = {};
    scan();
    EXPECT_TRUE(engine().containerOwners().empty());
}

TEST_F(EngineContainers, areAskedForWhenTheTabWantsToKnowHowTheEngineIs) {
    scan({safeItem(1)});
    world->owners.engine = VintrelCore::DockerService::EngineState::notPermitted;
    engine().askForContainers();
    ASSERT_TRUE(spinUntil([this] { return hasProblem(Problem::Source::containers); }));
    world->owners.engine = VintrelCore::DockerService::EngineState::absent;
    scan({safeItem(1)});
    EXPECT_TRUE(hasProblem(Problem::Source::containers)) << "a scan that asks nothing learns nothing";
}

TEST_F(EngineContainers, areAskedForOnceMoreAfterAScanMeanwhile) {
    prepareOwner();
    for (int scans = 0; scans < 3; ++scans) {
        engine().scan();
        ASSERT_TRUE(spinUntil([this] { return !engine().isScanning(); }));
    }
    EXPECT_EQ(world.ownersGate().arrivals(), 1) << "never twice at once";
    world.ownersGate().open();
    ASSERT_TRUE(spinUntil([this] { return world.ownersGate().arrivals() == 2; }));
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(world.ownersGate().arrivals(), 2);
}

TEST_F(EngineContainers, aSweepIsDecidedOnlyWhenTheyAreKnown) {
    prepareOwner();
    CleanOutcome outcome;
    engine().clean({safeItem(1), safeItem(2)}, outcome.taker());
    engine().dismiss(1);
    world.ownersGate().open();
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary().requested, 1);
    ASSERT_EQ(world->killings.size(), 1U);
    EXPECT_EQ(pidsOf(world->killings.front().items), PIDs{2});
}

TEST_F(EngineContainers, mayComeAfterTheEndOfTheEngine) {
    prepareOwner();
    bool hasEnded = false;
    engine().kill(safeItem(1), [&](const KillCore::KillResult&) { hasEnded = true; });
    endEngine();
    world.ownersGate().open();
    spinFor(std::chrono::milliseconds(50));
    EXPECT_FALSE(hasEnded);
    EXPECT_TRUE(world->killings.empty());
}

} // namespace Vintrel
