// "Clean all" ends nothing where a fact that protects is missing.
#include "tests/app/support/EngineTest.h"

#include <string>

#include <QStringList>
#include <gtest/gtest.h>

namespace Vintrel {

class EngineCleanRefusal : public EngineTest {
protected:
    /// Asks for a clean, and expects that nothing comes of it.
    void expectRefusal(const std::string& reason) {
        EXPECT_EQ(engine().reasonNotToClean(), reason);
        CleanOutcome outcome;
        engine().cleanAllSafe(outcome.taker());
        ASSERT_TRUE(outcome.wait());
        EXPECT_EQ(outcome.summary(), (CleanSummary{0, 0, 0}));
        CleanOutcome chosen;
        engine().clean({safeItem(1)}, chosen.taker());
        ASSERT_TRUE(chosen.wait());
        EXPECT_EQ(chosen.summary(), (CleanSummary{0, 0, 0}));
        EXPECT_TRUE(world->killings.empty());
        EXPECT_FALSE(std::filesystem::exists(cleanLogFile()));
    }

    void expectNoRefusal() {
        EXPECT_EQ(engine().reasonNotToClean(), std::nullopt);
        CleanOutcome outcome;
        engine().cleanAllSafe(outcome.taker());
        ASSERT_TRUE(outcome.wait());
        EXPECT_EQ(outcome.summary().cleaned, 1);
    }

    [[nodiscard]] static std::string withoutLsof() {
        return "without lsof, what is protected is unknown; nothing was ended";
    }

    [[nodiscard]] static std::string deadMount() {
        return "a mount does not answer; what is protected is unknown, and nothing was ended";
    }
};

TEST_F(EngineCleanRefusal, withoutKnownListeners) {
    for (const auto fault : {Shell::Fault::notLaunched, Shell::Fault::tooSlow, Shell::Fault::broken}) {
        world->found.faults.details = fault;
        scan({safeItem(1)});
        expectRefusal(withoutLsof());
        EXPECT_TRUE(hasProblem(Problem::Source::details));
        waitForScan();
    }
}

TEST_F(EngineCleanRefusal, withoutKnownDirectories) {
    for (const auto fault : {Shell::Fault::notLaunched, Shell::Fault::tooSlow, Shell::Fault::broken}) {
        world->found.faults.details = fault;
        scan({safeItem(1)});
        expectRefusal(withoutLsof());
        EXPECT_TRUE(hasProblem(Problem::Source::details));
        waitForScan();
    }
}

TEST_F(EngineCleanRefusal, withADeadMountAndProtectedProjects) {
    engine().setProtectedProjects({"~/work"});
    world->found.faults.metDeadMount = true;
    scan({safeItem(1)});
    expectRefusal(deadMount());
    EXPECT_TRUE(hasProblem(Problem::Source::mount));
}

TEST_F(EngineCleanRefusal, withADeadMountAndIgnoreRulesForFolders) {
    engine().setIgnoredNames({"bun @ ~/work"});
    world->found.faults.metDeadMount = true;
    scan({safeItem(1)});
    expectRefusal(deadMount());
    EXPECT_TRUE(hasProblem(Problem::Source::mount));
}

TEST_F(EngineCleanRefusal, notWithADeadMountThatNoRuleGoesBy) {
    engine().setIgnoredNames({"bun"});
    world->found.faults.metDeadMount = true;
    world->found.faults.metDeadMount = true;
    scan({safeItem(1)});
    expectNoRefusal();
}

TEST_F(EngineCleanRefusal, withRulesForFoldersThatAreNewerThanTheDeadMount) {
    world->found.faults.metDeadMount = true;
    world->found.faults.metDeadMount = true;
    scan({safeItem(1)});
    engine().setProtectedProjects({"~/work"});
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{0, 0, 0}));
    EXPECT_TRUE(world->killings.empty()) << "where the entry leads could not be looked at";
}

TEST_F(EngineCleanRefusal, whenRulesGoByFoldersAndNoneIsKnown) {
    engine().setProtectedProjects({"~/work"});
    world->found.faults.foldersUnknown = true;
    scan({safeItem(1), safeItem(2)});
    const auto reason = engine().reasonNotToClean();
    ASSERT_TRUE(reason);
    expectRefusal(*reason);
    EXPECT_TRUE(hasProblem(Problem::Source::details));
    waitForScan();
    world->found.faults.foldersUnknown = false;
    scan();
    EXPECT_EQ(engine().reasonNotToClean(), std::nullopt);
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineCleanRefusal, notWhenRulesGoByFoldersAndThereIsNobody) {
    engine().setProtectedProjects({"~/work"});
    scan();
    EXPECT_EQ(engine().reasonNotToClean(), std::nullopt);
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineCleanRefusal, withoutAProcessTable) {
    scan({safeItem(1)});
    world->found.faults.table = Shell::Fault::tooSlow;
    scan(std::vector<ProcessItem>{});
    expectRefusal("without ps, no processes are known; nothing was ended");
    EXPECT_TRUE(hasProblem(Problem::Source::processes));
}

TEST_F(EngineCleanRefusal, withoutAProcessTableInTheFirstScanThatItWaitsFor) {
    world->found.faults.table = Shell::Fault::notLaunched;
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{0, 0, 0}));
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineCleanRefusal, withSettingsThatCannotBeRead) {
    settings().write("[General]\nprotectedProjects=\"~/shop\n");
    EXPECT_TRUE(hasProblem(Problem::Source::settings)) << "known before any scan";
    scan({safeItem(1)});
    const auto reason = engine().reasonNotToClean();
    ASSERT_TRUE(reason);
    EXPECT_TRUE(reason->ends_with("; what is protected is unknown, and nothing was ended")) << *reason;
    expectRefusal(*reason);
    EXPECT_TRUE(hasProblem(Problem::Source::settings));
}

TEST_F(EngineCleanRefusal, withSettingsThatCannotBeReadEvenBeforeAnyScan) {
    settings().write("[General]\nprotectedProjects=\"~/shop\n");
    world->found.items = {safeItem(1)};
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{0, 0, 0}));
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(EngineCleanRefusal, lastsUntilWhatIsProtectedIsSetAgain) {
    settings().write("[General]\nprotectedProjects=\"~/shop\n");
    world->found.cwds = {{1, cwdOf("~/elsewhere")}};
    scan({safeItem(1)});
    engine().setElapsedThreshold(5);
    EXPECT_NE(engine().reasonNotToClean(), std::nullopt) << "that does not say what is protected";
    engine().setProtectedProjects({"~/shop"});
    EXPECT_FALSE(hasProblem(Problem::Source::settings));
    expectNoRefusal();
}

TEST_F(EngineCleanRefusal, endsWhenTheNextScanKnowsEverything) {
    world->found.faults.details = Shell::Fault::tooSlow;
    world->found.faults.details = Shell::Fault::tooSlow;
    scan({safeItem(1)});
    expectRefusal(withoutLsof());
    waitForScan();
    world->found.faults.details = Shell::Fault::none;
    world->found.faults.details = Shell::Fault::none;
    scan();
    EXPECT_TRUE(engine().problems().empty());
    expectNoRefusal();
}

TEST_F(EngineCleanRefusal, aRowMayStillBeEnded) {
    world->found.faults.details = Shell::Fault::tooSlow;
    scan({safeItem(1)});
    int ended = 0;
    engine().kill(safeItem(1),
                  [&](const KillCore::KillResult& result) { ended += KillCore::isCleaned(result); });
    EXPECT_TRUE(spinUntil([&] { return ended == 1; }));
    EXPECT_EQ(world->killings.size(), 1U);
}

} // namespace Vintrel
