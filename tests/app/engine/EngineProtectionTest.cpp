// Which items the user protects, and which may be swept.
#include "tests/app/support/EngineTest.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

namespace fs = std::filesystem;

class EngineProtection : public EngineTest {
protected:
    /// Whether an item that works in `folder` is protected by `entries`.
    bool isProtected(const std::string& folder, const std::vector<std::string>& entries) {
        world->found.cwds = {{1, cwdOf(folder)}};
        engine().setProtectedProjects(entries);
        scan({safeItem(1)});
        return engine().isProtected(engine().items().front());
    }
};

TEST_F(EngineProtection, withoutEntriesNothingIsProtected) {
    EXPECT_FALSE(isProtected("~/work/shop", {}));
}

TEST_F(EngineProtection, coversTheFolderAndWhatLiesBelow) {
    EXPECT_TRUE(isProtected("~/work/shop", {"~/work/shop"}));
    EXPECT_TRUE(isProtected("~/work/shop/web/src", {"~/work/shop"}));
    EXPECT_TRUE(isProtected("/srv/shop", {"/srv"}));
}

TEST_F(EngineProtection, coversNoSiblingAndNoParent) {
    EXPECT_FALSE(isProtected("~/work/shopping", {"~/work/shop"}));
    EXPECT_FALSE(isProtected("~/work", {"~/work/shop"}));
    EXPECT_FALSE(isProtected("/srv2", {"/srv"}));
}

TEST_F(EngineProtection, anyOfTheEntriesWillDo) {
    EXPECT_TRUE(isProtected("~/work/shop", {"~/a", "/b", "~/work/shop", "~/c"}));
    EXPECT_FALSE(isProtected("~/work/shop", {"~/a", "/b", "", "/"}));
}

TEST_F(EngineProtection, anEntryMayBeWrittenAsAnAbsolutePathBelowHome) {
    EXPECT_TRUE(isProtected("~/work/shop/web", {(home() / "work/shop").string()}));
    EXPECT_FALSE(isProtected("~/work/shopping", {(home() / "work/shop").string()}));
}

TEST_F(EngineProtection, anEntryMayLeadThereByALink) {
    fs::create_directories(home() / "disk/shop");
    fs::create_directory_symlink(home() / "disk/shop", home() / "shop");
    EXPECT_TRUE(isProtected("~/disk/shop/web", {"~/shop"}));
    EXPECT_FALSE(isProtected("~/disk/other", {"~/shop"}));
}

TEST_F(EngineProtection, anEntryThatIsALinkCountsWithoutAnotherScan) {
    fs::create_directories(home() / "disk/shop");
    fs::create_directory_symlink(home() / "disk/shop", home() / "shop");
    EXPECT_FALSE(isProtected("~/disk/shop/web", {}));
    const size_t scans = scansBegun();
    engine().setProtectedProjects({"~/shop"});
    EXPECT_TRUE(spinUntil([this] { return engine().isProtected(engine().items().front()); }));
    EXPECT_EQ(scansBegun(), scans);
}

TEST_F(EngineProtection, anEntryThatIsALinkKeepsOutOfACleanThatFollowsAtOnce) {
    fs::create_directories(home() / "disk/shop");
    fs::create_directory_symlink(home() / "disk/shop", home() / "shop");
    EXPECT_FALSE(isProtected("~/disk/shop/web", {}));
    engine().setProtectedProjects({"~/shop"});
    CleanOutcome outcome;
    engine().cleanAllSafe(outcome.taker());
    ASSERT_TRUE(outcome.wait());
    EXPECT_TRUE(world->killings.empty());
    EXPECT_EQ(outcome.summary().cleaned, 0);
}

TEST_F(EngineProtection, whoWorksNobodyKnowsWhereIsNotProtected) {
    engine().setProtectedProjects({"~/work"});
    scan({safeItem(1)});
    EXPECT_FALSE(engine().isProtected(safeItem(1)));
    EXPECT_FALSE(engine().isProtected(safeItem(77))) << "and so is who is no candidate";
}

TEST_F(EngineProtection, aRowIsProtectedByWhatIsFoldedIntoIt) {
    engine().setProtectedProjects({"~/work/shop"});
    world->found.cwds = {{10, cwdOf("~")}, {12, cwdOf("~/work/shop/web")}};
    const ProcessItem row = runnerItem(10, {11, 12});
    scan({row});
    EXPECT_TRUE(engine().isProtected(row));
    EXPECT_TRUE(engine().sweepableSafeItems().empty());
}

TEST_F(EngineProtection, aChangeOfTheEntriesCountsAtOnce) {
    EXPECT_FALSE(isProtected("~/work/shop", {"~/other"}));
    const size_t scans = scansBegun();
    engine().setProtectedProjects({"~/work"});
    EXPECT_TRUE(engine().isProtected(safeItem(1)));
    EXPECT_TRUE(engine().sweepableSafeItems().empty());
    engine().setProtectedProjects({});
    EXPECT_FALSE(engine().isProtected(safeItem(1)));
    EXPECT_EQ(pidsOf(engine().sweepableSafeItems()), PIDs{1});
    EXPECT_EQ(scansBegun(), scans);
}

TEST_F(EngineProtection, tellsWhichEntryItIs) {
    world->found.cwds = {{1, cwdOf("~/work/shop/web")}};
    engine().setProtectedProjects({"~/other", "~/work/shop", "~/work"});
    scan({safeItem(1)});
    EXPECT_FALSE(engine().isProtected(safeItem(1), "~/other"));
    EXPECT_TRUE(engine().isProtected(safeItem(1), "~/work/shop"));
    EXPECT_TRUE(engine().isProtected(safeItem(1), "~/work"));
    EXPECT_FALSE(engine().isProtected(safeItem(2), "~/work")) << "nobody knows where it works";
}

TEST_F(EngineProtection, sweepsTheSafeOnesInOrder) {
    scan({safeItem(30), reviewItem(4), safeItem(17), reviewItem(2), safeItem(5)});
    EXPECT_EQ(pidsOf(engine().sweepableSafeItems()), (PIDs{30, 17, 5}));
}

TEST_F(EngineProtection, leavesOutWhoWorksNobodyKnowsWhereAsSoonAsRulesGoByFolders) {
    world->found.cwds = {{1, cwdOf("~/work/shop")}, {3, cwdOf("~/elsewhere")}, {10, cwdOf("~")}};
    scan({safeItem(1), safeItem(2), safeItem(3)});
    EXPECT_EQ(pidsOf(engine().sweepableSafeItems()), (PIDs{1, 2, 3}));
    EXPECT_FALSE(engine().staysOutOfSweeps(safeItem(2)));

    engine().setProtectedProjects({"~/work"});
    EXPECT_EQ(pidsOf(engine().sweepableSafeItems()), PIDs{3});
    EXPECT_TRUE(engine().staysOutOfSweeps(safeItem(2)));
    EXPECT_FALSE(engine().staysOutOfSweeps(safeItem(3)));
    EXPECT_TRUE(engine().staysOutOfSweeps(runnerItem(10, {11}))) << "what is folded into it counts";

    engine().setProtectedProjects({});
    engine().setIgnoredNames({"jest @ ~/work"});
    EXPECT_TRUE(engine().staysOutOfSweeps(safeItem(2)));
    engine().setIgnoredNames({"jest"});
    EXPECT_FALSE(engine().staysOutOfSweeps(safeItem(2)));
}

TEST_F(EngineProtection, leavesNothingOutForTheFolderOfWhatHadEnded) {
    world->found.cwds = {{10, cwdOf("~/elsewhere")}, {21, cwdOf("~/elsewhere")}};
    world->found.ended = {11, 20, 30};
    scan({runnerItem(10, {11}), runnerItem(20, {21}), runnerItem(30, {31})});
    engine().setProtectedProjects({"~/work"});
    EXPECT_FALSE(engine().staysOutOfSweeps(runnerItem(10, {11})));
    EXPECT_FALSE(engine().staysOutOfSweeps(runnerItem(20, {21})));
    EXPECT_TRUE(engine().staysOutOfSweeps(runnerItem(30, {31}))) << "what is folded into it lives";
    EXPECT_EQ(pidsOf(engine().sweepableSafeItems()), (PIDs{10, 20}));
}

TEST_F(EngineProtection, neverSweepsWhatAPersonHasToDecideOn) {
    ProcessItem high = reviewItem(2);
    high.riskTier = VintrelCore::RiskTier::high;
    scan({reviewItem(1), high});
    EXPECT_TRUE(engine().sweepableSafeItems().empty());
}

} // namespace Vintrel
