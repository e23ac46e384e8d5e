// What the user has expanded, collapsed and hidden, and what becomes of it.
#include "tests/app/views/strays/StraysModelTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

using Kinds = std::set<ProcessKind>;

class StraysStateTest : public StraysModelTest {};

TEST_F(StraysStateTest, aRiskyKindIsCollapsedAtFirst) {
    list({safeItem(1), riskyItem(2), kindItem(3, ProcessKind::npm)});
    EXPECT_EQ(model().collapsedKinds(), Kinds{ProcessKind::node});
    EXPECT_EQ(model().seenKinds(), (Kinds{ProcessKind::npm, ProcessKind::vite, ProcessKind::node}));
    const auto review = section(Bucket::needsReview);
    ASSERT_EQ(review.groups.size(), 1U);
    EXPECT_TRUE(review.groups[0].isCollapsed);
    EXPECT_EQ(review.groups[0].count, 1U) << "how many there are is told all the same";
    EXPECT_TRUE(review.groups[0].rows.empty());
    EXPECT_EQ(review.count, 1U);
}

TEST_F(StraysStateTest, oneRiskyItemIsEnough) {
    ProcessItem risky = safeItem(2);
    risky.riskTier = RiskTier::high;
    list({safeItem(1), risky});
    EXPECT_EQ(model().collapsedKinds(), Kinds{ProcessKind::vite});
    EXPECT_TRUE(section(Bucket::safe).groups.at(0).isCollapsed);
    EXPECT_TRUE(section(Bucket::needsReview).groups.at(0).isCollapsed);
}

TEST_F(StraysStateTest, aSeenKindKeepsTheUsersChoice) {
    list({riskyItem(1), safeItem(2)});
    model().toggleCollapsed(ProcessKind::node);
    model().toggleCollapsed(ProcessKind::vite);
    EXPECT_EQ(model().collapsedKinds(), Kinds{ProcessKind::vite});
    list({riskyItem(1), riskyItem(3), safeItem(2)});
    EXPECT_EQ(model().collapsedKinds(), Kinds{ProcessKind::vite});
    list({});
    list({riskyItem(4), safeItem(5)});
    EXPECT_EQ(model().collapsedKinds(), Kinds{ProcessKind::vite}) << "also when it was gone meanwhile";
    model().toggleCollapsed(ProcessKind::vite);
    EXPECT_EQ(model().collapsedKinds(), Kinds{});
    EXPECT_EQ(shownPIDs(), (PIDs{5, 4}));
}

TEST_F(StraysStateTest, aSeenKindIsNotCollapsedWhenItBecomesRisky) {
    list({safeItem(1)});
    ProcessItem risky = safeItem(1);
    risky.riskTier = RiskTier::high;
    list({risky});
    EXPECT_EQ(model().collapsedKinds(), Kinds{});
    EXPECT_EQ(shownPIDs(), PIDs{1});
}

TEST_F(StraysStateTest, aCollapsedKindIsNotExpandedWhenItBecomesHarmless) {
    list({riskyItem(1)});
    list({kindItem(1, ProcessKind::node)});
    EXPECT_EQ(model().collapsedKinds(), Kinds{ProcessKind::node});
}

TEST_F(StraysStateTest, kindsAreSeenWhateverTheFilter) {
    (void)model();
    model().setFilterText("no such thing");
    list({riskyItem(1), safeItem(2)});
    EXPECT_EQ(model().seenKinds(), (Kinds{ProcessKind::vite, ProcessKind::node}));
    model().setFilterText("");
    EXPECT_EQ(shownPIDs(), PIDs{2});
}

TEST_F(StraysStateTest, anExpandedRowSaysWhy) {
    list({safeItem(1), safeItem(2)});
    model().toggleExpanded(1);
    EXPECT_EQ(model().expandedPIDs(), std::unordered_set<int32_t>{1});
    ASSERT_TRUE(row(1).reasoning);
    EXPECT_EQ(row(1).reasoning->tags.front(), "orphan");
    EXPECT_EQ(row(2).reasoning, std::nullopt);
    model().toggleExpanded(1);
    EXPECT_TRUE(model().expandedPIDs().empty());
    EXPECT_EQ(row(1).reasoning, std::nullopt);
}

TEST_F(StraysStateTest, openFilesAreLookedUpOnTheFirstExpansion) {
    world->openFiles = {.files = {{.name = "~/work/dev.log"}}};
    list({safeItem(1)});
    EXPECT_TRUE(world->openFilesQueries.empty());
    model().toggleExpanded(1);
    EXPECT_EQ(row(1).reasoning->openFiles, std::nullopt);
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(1); }));
    ASSERT_TRUE(row(1).reasoning->openFiles);
    EXPECT_EQ(row(1).reasoning->openFiles->paths, Texts{"~/work/dev.log"});
    model().toggleExpanded(1);
    model().toggleExpanded(1);
    spinFor(30ms);
    EXPECT_EQ(world->openFilesQueries, std::vector<PIDs>{{1}});
}

TEST_F(StraysStateTest, openFilesOfASuccessorAreLookedUpAnew) {
    list({safeItem(1)});
    model().toggleExpanded(1);
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(1); }));
    list({successorOf(safeItem(1))});
    model().toggleExpanded(1);
    ASSERT_TRUE(row(1).reasoning);
    EXPECT_TRUE(spinUntil([this] { return world->openFilesQueries.size() == 2; }, 5s));
}

TEST_F(StraysStateTest, expandedRowsStayExpanded) {
    list({safeItem(1), safeItem(2)});
    model().toggleExpanded(2);
    list({safeItem(2), safeItem(3)});
    EXPECT_TRUE(row(2).reasoning);
    model().setFilterText("p3/");
    model().setFilterText("");
    EXPECT_TRUE(row(2).reasoning);
}

TEST_F(StraysStateTest, whoTookOverANumberIsNotExpanded) {
    list({safeItem(1), safeItem(2)});
    model().toggleExpanded(1);
    list({successorOf(safeItem(1)), safeItem(2)});
    EXPECT_EQ(row(1).reasoning, std::nullopt);
    model().toggleExpanded(1);
    EXPECT_TRUE(row(1).reasoning) << "one click is enough";
}

TEST_F(StraysStateTest, whoCameBackUnderANumberIsNotExpanded) {
    list({safeItem(1)});
    model().toggleExpanded(1);
    list({});
    list({successorOf(safeItem(1))});
    EXPECT_EQ(row(1).reasoning, std::nullopt);
}

TEST_F(StraysStateTest, withoutAStartTimeARowCanBeExpandedToo) {
    ProcessItem item = safeItem(1);
    item.startTime.reset();
    list({item});
    model().toggleExpanded(1);
    list({item});
    EXPECT_TRUE(row(1).reasoning);
}

TEST_F(StraysStateTest, aHiddenItemGoesAtOnceAndStaysAway) {
    list({safeItem(1), safeItem(2)});
    model().dismiss(safeItem(1));
    EXPECT_EQ(shownPIDs(), PIDs{2});
    EXPECT_EQ(engine().dismissedPIDs(), ScanEngine::PIDSet{1});
    list({safeItem(1), safeItem(2)});
    EXPECT_EQ(shownPIDs(), PIDs{2});
}

TEST_F(StraysStateTest, aRescanBringsHiddenItemsBackAndAnnouncesNothing) {
    enableNotifications();
    list({safeItem(1), safeItem(2)});
    model().dismiss(safeItem(1));
    list({safeItem(1), safeItem(2)});
    ASSERT_EQ(shownPIDs(), PIDs{2});
    world->found.items = {safeItem(1), safeItem(2), safeItem(3)};
    model().rescan();
    EXPECT_TRUE(engine().dismissedPIDs().empty());
    EXPECT_TRUE(engine().isScanning());
    waitForScan();
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2, 3}));
    expectPosted({});
}

TEST_F(StraysStateTest, theScanAfterARescanAnnouncesAgain) {
    enableNotifications();
    list({safeItem(1)});
    model().rescan();
    waitForScan();
    list({safeItem(1), safeItem(2)});
    EXPECT_TRUE(spinUntil([this] { return posted().size() == 1; }, 5s));
}

} // namespace Vintrel
