// The engine may die while its work is under way.
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;

class EngineLifetime : public EngineTest {
protected:
    /// Ends the engine, and lets the work that was held up go on.
    void endBefore(VintrelTests::Gate& gate) {
        endEngine();
        changes.clear();
        gate.open();
        spinFor(100ms);
        EXPECT_TRUE(changes.empty());
    }
};

TEST_F(EngineLifetime, endsDuringAScan) {
    beginScan({safeItem(1)});
    endBefore(world.scanGate());
    EXPECT_TRUE(posted().empty());
}

TEST_F(EngineLifetime, endsBeforeAScanHasAskedAnything) {
    world.scanGate().close();
    engine().scan();
    endBefore(world.scanGate());
}

TEST_F(EngineLifetime, endsRightAfterAskingForAScan) {
    for (int round = 0; round < 50; ++round) {
        engine().scan();
        endEngine();
    }
    spinFor(50ms);
    EXPECT_EQ(countOf(Field::isScanning), 50U) << "the beginnings, and no end";
}

TEST_F(EngineLifetime, endsDuringAClean) {
    scan({safeItem(1)});
    world.killGate().close();
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    endBefore(world.killGate());
    EXPECT_EQ(outcome.count(), 0U);
}

TEST_F(EngineLifetime, endsDuringTheScanThatACleanWaitsFor) {
    beginScan({safeItem(1)});
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    endBefore(world.scanGate());
    EXPECT_EQ(outcome.count(), 0U);
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineLifetime, endsWhileARowIsEnded) {
    scan({safeItem(1)});
    world.killGate().close();
    int results = 0;
    engine().kill(safeItem(1), [&](const KillCore::KillResult&) { ++results; });
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    endBefore(world.killGate());
    EXPECT_EQ(results, 0);
}

TEST_F(EngineLifetime, endsWhileOpenFilesAreLookedUp) {
    world.openFilesGate().close();
    engine().loadOpenFiles(1);
    ASSERT_TRUE(spinUntil([this] { return world.openFilesGate().arrivals() == 1; }));
    endBefore(world.openFilesGate());
}

TEST_F(EngineLifetime, endsWhileProtectedFoldersAreResolved) {
    engine().setProtectedProjects({"~/a", "~/b"});
    endEngine();
    spinFor(50ms);
    EXPECT_EQ(stored().protectedProjects.size(), 2U);
}

TEST_F(EngineLifetime, aNewOneBeginsAnewMeanwhile) {
    beginScan({safeItem(1)});
    endEngine();
    engine().scan();
    EXPECT_TRUE(engine().items().empty());
    finishScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
    EXPECT_EQ(countOf(Field::items), 1U);
}

TEST_F(EngineLifetime, theApplicationMayEndRightAfterAScanWasBegun) {
    engine().scan(); // the folders, the engine and the application go at once
    EXPECT_TRUE(engine().isScanning());
}

} // namespace Vintrel
