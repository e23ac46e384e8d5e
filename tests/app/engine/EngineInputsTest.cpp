// What a scan asks the outside world for.
#include "tests/app/support/EngineTest.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using Texts = std::vector<std::string>;

class EngineInputs : public EngineTest {
protected:
    [[nodiscard]] VintrelCore::ScanCore::EnumerateOptions enumeration() {
        return world->enumerations.empty() ? VintrelCore::ScanCore::EnumerateOptions{}
                                           : world->enumerations.back();
    }

    [[nodiscard]] ScanSources::DirectoriesQuery directoriesQuery() {
        return world->directoryQueries.empty() ? ScanSources::DirectoriesQuery{}
                                               : world->directoryQueries.back();
    }
};

TEST_F(EngineInputs, whoListensIsRegistered) {
    world->listeners.ports = {{41, {3'000}}, {42, {5'173, 8'080}}};
    scan();
    EXPECT_EQ(enumeration().registeredPIDs, (PIDSet{41, 42}));
}

TEST_F(EngineInputs, whenNobodyListensNobodyIsRegistered) {
    scan();
    EXPECT_EQ(enumeration().registeredPIDs, PIDSet{}) << "absent would mean to look for listeners again";
}

TEST_F(EngineInputs, theSettingsAreHandedOn) {
    engine().setElapsedThreshold(77.5);
    engine().setDisabledKinds({ProcessKind::vite, ProcessKind::mcpServer});
    engine().setCustomRules({{"agent", "Agent"}, {"b", "c = d"}});
    scan();
    EXPECT_EQ(enumeration().elapsedThreshold, 77.5);
    EXPECT_EQ(enumeration().disabledKinds, (std::set{ProcessKind::vite, ProcessKind::mcpServer}));
    EXPECT_EQ(enumeration().customRules, (std::vector<CustomRule>{{"agent", "Agent"}, {"b", "c = d"}}));
    EXPECT_EQ(enumeration().psOutput, std::nullopt);
}

TEST_F(EngineInputs, withoutSettingsTheyAreTheDefaults) {
    scan();
    EXPECT_EQ(enumeration().elapsedThreshold, 1'800);
    EXPECT_TRUE(enumeration().ignoredNames.empty());
    EXPECT_TRUE(enumeration().dismissedPIDs.empty());
    EXPECT_TRUE(enumeration().disabledKinds.empty());
    EXPECT_TRUE(enumeration().customRules.empty());
}

TEST_F(EngineInputs, ignoreRulesWithoutAPathAreHandedOnAsTheirSubstrings) {
    engine().setIgnoredNames({"  node ", "vite @ ~/work/shop", "", " @ ~/work", "bun @ "});
    scan();
    EXPECT_EQ(enumeration().ignoredNames, (Texts{"node", "bun"}));
}

TEST_F(EngineInputs, ignoreRulesWithAPathHideOnlyWhatWorksThere) {
    engine().setIgnoredNames({"VITE @ ~/work/shop", "bun @ ~/other"});
    world->directories.cwds = {{1, cwdOf("~/work/shop/web")},
                               {2, cwdOf("~/work/shopping")},
                               {3, cwdOf("~/work/shop")},
                               {4, cwdOf("~/other")}};
    scan({safeItem(1), safeItem(2), safeItem(3), safeItem(4), safeItem(5)});
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{2, 4, 5}));
    EXPECT_EQ(engine().previousPIDs(), (PIDSet{2, 4, 5}));
}

TEST_F(EngineInputs, aRuleWithAPathIsNotAppliedWithoutIt) {
    engine().setIgnoredNames({"vite @ ~/work/shop"});
    scan({safeItem(1)});
    EXPECT_TRUE(enumeration().ignoredNames.empty());
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
}

TEST_F(EngineInputs, directoriesAreAskedForInTheOrderOfTheItems) {
    scan({safeItem(30), reviewItem(4), safeItem(17)});
    EXPECT_EQ(directoriesQuery().pids, (PIDs{30, 4, 17}));
}

TEST_F(EngineInputs, whatIsFoldedIntoARowFollowsIt) {
    scan({safeItem(30), runnerItem(10, {12, 11}), safeItem(4)});
    EXPECT_EQ(directoriesQuery().pids, (PIDs{30, 10, 12, 11, 4}));
}

TEST_F(EngineInputs, directoriesAreWrittenFromTheUsersHome) {
    scan({safeItem(1)});
    EXPECT_EQ(directoriesQuery().home, home().string());
    EXPECT_TRUE(directoriesQuery().mayTouchFiles);
}

TEST_F(EngineInputs, afterADeadMountNoFileIsTouched) {
    world->listeners.answer.metDeadMount = true;
    scan({safeItem(1)});
    EXPECT_FALSE(directoriesQuery().mayTouchFiles);
    world->listeners.answer.metDeadMount = false;
    scan();
    EXPECT_TRUE(directoriesQuery().mayTouchFiles) << "the next scan looks again";
}

TEST_F(EngineInputs, dismissedPidsAreHandedOn) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(2);
    engine().dismiss(77);
    scan();
    EXPECT_EQ(enumeration().dismissedPIDs, (PIDSet{2, 77}));
}

TEST_F(EngineInputs, areThoseOfTheMomentInWhichTheScanWasAskedFor) {
    engine().setElapsedThreshold(10);
    engine().setIgnoredNames({"node"});
    world.listeningPortsGate().close();
    engine().scan();
    engine().setElapsedThreshold(20);
    engine().setIgnoredNames({"bun"});
    engine().setDisabledKinds({ProcessKind::vite});
    engine().setCustomRules({{"a", "b"}});
    engine().dismiss(7);
    world.listeningPortsGate().open();
    waitForScan();
    EXPECT_EQ(enumeration().elapsedThreshold, 10);
    EXPECT_EQ(enumeration().ignoredNames, Texts{"node"});
    EXPECT_TRUE(enumeration().disabledKinds.empty());
    EXPECT_TRUE(enumeration().customRules.empty());
    EXPECT_TRUE(enumeration().dismissedPIDs.empty());
    scan();
    EXPECT_EQ(enumeration().elapsedThreshold, 20);
    EXPECT_EQ(enumeration().ignoredNames, Texts{"bun"});
    EXPECT_EQ(enumeration().disabledKinds, std::set{ProcessKind::vite});
    EXPECT_EQ(enumeration().customRules, (std::vector<CustomRule>{{"a", "b"}}));
    EXPECT_EQ(enumeration().dismissedPIDs, PIDSet{7});
}

TEST_F(EngineInputs, processorTimeIsReadForTheCandidates) {
    scan({safeItem(3), runnerItem(10, {11})});
    ASSERT_EQ(world->sampled.size(), 1U);
    EXPECT_EQ(world->sampled.front(), (PIDs{3, 10}));
}

} // namespace Vintrel
