// What a scan asks the outside world for.
#include "tests/app/support/EngineTest.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using Texts = std::vector<std::string>;

class EngineInputs : public EngineTest {
protected:
    [[nodiscard]] VintrelCore::Scan::Inputs asked() {
        return world->scans.empty() ? VintrelCore::Scan::Inputs{} : world->scans.back();
    }
};

TEST_F(EngineInputs, theSettingsAreHandedOn) {
    engine().setElapsedThreshold(77.5);
    engine().setDisabledKinds({ProcessKind::vite, ProcessKind::mcpServer});
    engine().setCustomRules({{"agent", "Agent"}, {"b", "c = d"}});
    scan();
    EXPECT_EQ(asked().rules.elapsedThreshold, 77.5);
    EXPECT_EQ(asked().rules.disabledKinds, (std::set{ProcessKind::vite, ProcessKind::mcpServer}));
    EXPECT_EQ(asked().rules.customRules, (std::vector<CustomRule>{{"agent", "Agent"}, {"b", "c = d"}}));
}

TEST_F(EngineInputs, withoutSettingsTheyAreTheDefaults) {
    scan();
    EXPECT_EQ(asked().rules.elapsedThreshold, 1'800);
    EXPECT_TRUE(asked().rules.ignoredNames.empty());
    EXPECT_TRUE(asked().dismissedPIDs.empty());
    EXPECT_TRUE(asked().rules.disabledKinds.empty());
    EXPECT_TRUE(asked().rules.customRules.empty());
}

TEST_F(EngineInputs, ignoreRulesAreHandedOnAsTheyAreWritten) {
    engine().setIgnoredNames({"  node ", "vite @ ~/work/shop", ""});
    scan();
    EXPECT_EQ(asked().rules.ignoredNames, (Texts{"  node ", "vite @ ~/work/shop", ""}));
}

TEST_F(EngineInputs, theHomeFolderIsTheUsers) {
    scan({safeItem(1)});
    EXPECT_EQ(asked().home, home().string());
}

TEST_F(EngineInputs, dismissedPidsAreHandedOn) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(2);
    engine().dismiss(77);
    scan();
    EXPECT_EQ(asked().dismissedPIDs, (PIDSet{2, 77}));
}

TEST_F(EngineInputs, areThoseOfTheMomentInWhichTheScanWasAskedFor) {
    engine().setElapsedThreshold(10);
    engine().setIgnoredNames({"node"});
    world.scanGate().close();
    engine().scan();
    engine().setElapsedThreshold(20);
    engine().setIgnoredNames({"bun"});
    engine().setDisabledKinds({ProcessKind::vite});
    engine().setCustomRules({{"a", "b"}});
    engine().dismiss(7);
    world.scanGate().open();
    waitForScan();
    EXPECT_EQ(asked().rules.elapsedThreshold, 10);
    EXPECT_EQ(asked().rules.ignoredNames, Texts{"node"});
    EXPECT_TRUE(asked().rules.disabledKinds.empty());
    EXPECT_TRUE(asked().rules.customRules.empty());
    EXPECT_TRUE(asked().dismissedPIDs.empty());
    scan();
    EXPECT_EQ(asked().rules.elapsedThreshold, 20);
    EXPECT_EQ(asked().rules.ignoredNames, Texts{"bun"});
    EXPECT_EQ(asked().rules.disabledKinds, std::set{ProcessKind::vite});
    EXPECT_EQ(asked().rules.customRules, (std::vector<CustomRule>{{"a", "b"}}));
    EXPECT_EQ(asked().dismissedPIDs, PIDSet{7});
}

TEST_F(EngineInputs, processorTimeIsReadForTheCandidates) {
    scan({safeItem(3), runnerItem(10, {11})});
    ASSERT_EQ(world->sampled.size(), 1U);
    EXPECT_EQ(world->sampled.front(), (PIDs{3, 10}));
}

} // namespace Vintrel
