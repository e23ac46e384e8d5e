// What a scan could not find out is published too.
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/app/support/EngineTest.h"

#include <algorithm>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::DockerService::EngineState;

class EngineFaults : public EngineTest {
protected:
    /// The one problem of this source; "" without one.
    std::string textOf(Problem::Source source) {
        EXPECT_LE(std::ranges::count(engine().problems(), source, &Problem::source), 1);
        const auto found = std::ranges::find(engine().problems(), source, &Problem::source);
        return found != engine().problems().end() ? found->text : "";
    }

    static void expectSentence(const std::string& text) {
        EXPECT_NE(text.find(' '), std::string::npos) << text;
        EXPECT_FALSE(text.ends_with('.')) << text;
    }
};

TEST_F(EngineFaults, aScanWithoutAnyHasNoProblems) {
    scan({safeItem(1)});
    EXPECT_TRUE(engine().problems().empty());
    EXPECT_EQ(countOf(Field::problems), 0U);
}

TEST_F(EngineFaults, withoutAProcessTableTheItemsOfBeforeStay) {
    scan({safeItem(1), reviewItem(2)});
    changes.clear();
    world->candidates.fault = Shell::Fault::tooSlow;
    scan(std::vector<ProcessItem>{});
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 2}));
    EXPECT_EQ(textOf(Problem::Source::ps), "ps did not answer in time: no processes are known");
    EXPECT_EQ(countOf(Field::items), 0U);
    EXPECT_EQ(countOf(Field::problems), 1U);
    EXPECT_FALSE(engine().isScanning());
    EXPECT_EQ(engine().previousPIDs(), (PIDSet{1, 2}));
}

TEST_F(EngineFaults, withoutAProcessTableDismissedItemsStayHidden) {
    scan({safeItem(1), safeItem(2)});
    world->candidates.fault = Shell::Fault::broken;
    beginScan({});
    engine().dismiss(1);
    finishScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
}

TEST_F(EngineFaults, aScanWithoutAProcessTableAnnouncesNothingAndMakesNothingNew) {
    enableNotifications();
    scan({safeItem(1)});
    world->candidates.fault = Shell::Fault::tooSlow;
    scan(std::vector<ProcessItem>{});
    world->candidates.fault = Shell::Fault::none;
    scan({safeItem(1), safeItem(2)});
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineFaults, aFirstScanWithoutAProcessTableIsNoCompletedOne) {
    enableNotifications();
    world->candidates.fault = Shell::Fault::notLaunched;
    scan();
    EXPECT_EQ(engine().previousPIDs(), std::nullopt);
    world->candidates.fault = Shell::Fault::none;
    scan({safeItem(1)});
    expectPosted({});
}

TEST_F(EngineFaults, everyWayInWhichPsFailsIsTold) {
    world->candidates.fault = Shell::Fault::notLaunched;
    scan();
    EXPECT_EQ(textOf(Problem::Source::ps), "ps could not be run: no processes are known");
    world->candidates.fault = Shell::Fault::broken;
    scan();
    EXPECT_EQ(textOf(Problem::Source::ps), "ps gave no usable answer: no processes are known");
}

TEST_F(EngineFaults, aFaultOfLsofIsToldOnceWhicheverAnswerItWas) {
    world->listeners.answer.fault = Shell::Fault::tooSlow;
    world->directories.answer.fault = Shell::Fault::tooSlow;
    scan({safeItem(1)});
    EXPECT_EQ(textOf(Problem::Source::lsof), "lsof did not answer in time: projects and ports are unknown");
    EXPECT_EQ(engine().problems().size(), 1U);
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1}) << "what is known is shown";
}

TEST_F(EngineFaults, theSameFaultAgainIsNotToldAgain) {
    world->listeners.answer.fault = Shell::Fault::notLaunched;
    scan();
    EXPECT_EQ(textOf(Problem::Source::lsof), "lsof could not be run: projects and ports are unknown");
    scan();
    EXPECT_EQ(countOf(Field::problems), 1U);
    world->listeners.answer.fault = Shell::Fault::none;
    scan();
    EXPECT_EQ(countOf(Field::problems), 2U);
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineFaults, aDeadMountIsToldWhereItMatters) {
    engine().setProtectedProjects({"~/work"});
    world->directories.answer.metDeadMount = true;
    scan({safeItem(1)});
    expectSentence(textOf(Problem::Source::mount));
}

TEST_F(EngineFaults, unknownFoldersAreToldUnlessAllBelongToOtherAccountsOrHaveEnded) {
    engine().setProtectedProjects({"~/work"});
    world->directories.cwds.clear();
    scan({safeItem(1), safeItem(2), safeItem(3)});
    expectSentence(textOf(Problem::Source::lsof));
    world->ofOtherAccounts = {1, 3};
    scan();
    expectSentence(textOf(Problem::Source::lsof));
    world->ended = {2};
    scan();
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineFaults, anEngineOfContainersThatIsNotThereIsNone) {
    for (const auto state : {EngineState::absent, EngineState::answering}) {
        world->owners.engine = state;
        scan({safeItem(1)});
        EXPECT_TRUE(engine().problems().empty());
    }
}

TEST_F(EngineFaults, anEngineOfContainersThatDoesNotAnswerIsTold) {
    world->owners.engine = EngineState::notAnswering;
    scan({safeItem(1)});
    const std::string notAnswering = textOf(Problem::Source::containers);
    expectSentence(notAnswering);
    world->owners.engine = EngineState::notPermitted;
    scan();
    const std::string notPermitted = textOf(Problem::Source::containers);
    expectSentence(notPermitted);
    EXPECT_NE(notAnswering, notPermitted);
    world->owners.engine = EngineState::answering;
    scan();
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineFaults, anEngineOfContainersThatDoesNotAnswerIsNoReasonNotToClean) {
    world->owners.engine = EngineState::notAnswering;
    scan({safeItem(1)});
    EXPECT_EQ(engine().reasonNotToClean(), std::nullopt);
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary().cleaned, 1);
}

TEST_F(EngineFaults, severalAreAllTold) {
    world->candidates.fault = Shell::Fault::tooSlow;
    world->listeners.answer.fault = Shell::Fault::tooSlow;
    world->owners.engine = EngineState::notPermitted;
    scan();
    EXPECT_EQ(engine().problems().size(), 3U);
    EXPECT_TRUE(hasProblem(Problem::Source::ps));
    EXPECT_TRUE(hasProblem(Problem::Source::lsof));
    EXPECT_TRUE(hasProblem(Problem::Source::containers));
}

TEST_F(EngineFaults, settingsThatCannotBeReadAreToldAtTheStart) {
    settings().write("[General]\nprotectedProjects=\"~/shop\n");
    expectSentence(textOf(Problem::Source::settings));
    EXPECT_EQ(engine().scanInterval(), 120);
    scan({safeItem(1)});
    EXPECT_TRUE(hasProblem(Problem::Source::settings)) << "a scan does not mend them";
}

TEST_F(EngineFaults, aLogThatCannotBeWrittenIsToldAndMadeUpFor) {
    std::ofstream(dataFolder() / "Vintrel") << "in the way of the folder";
    scan({safeItem(1), safeItem(2)});
    int results = 0;
    const auto count = [&](const KillCore::KillResult&) { ++results; };
    engine().kill(safeItem(1), count);
    EXPECT_TRUE(spinUntil([&] { return results == 1; }));
    expectSentence(textOf(Problem::Source::cleanLog));
    EXPECT_EQ(engine().cleanLog().events().size(), 1U);
    waitForScan();
    EXPECT_TRUE(hasProblem(Problem::Source::cleanLog)) << "a scan does not mend it";
    std::filesystem::remove(dataFolder() / "Vintrel");
    engine().kill(safeItem(2), count);
    EXPECT_TRUE(spinUntil([&] { return results == 2; }));
    EXPECT_FALSE(hasProblem(Problem::Source::cleanLog));
    EXPECT_EQ(VintrelCore::CleanLogFile::load(cleanLogFile().string(), 1'000).size(), 2U);
}

} // namespace Vintrel
