// Sections, rows and the filter, without widgets.
#include "tests/app/views/strays/StraysModelTest.h"

#include "Vintrel/engine/ByteCount.h"

#include <limits>

#include <gtest/gtest.h>

namespace Vintrel {

TEST_F(StraysModelTest, isEmptyAtFirst) {
    EXPECT_TRUE(rows().empty());
    EXPECT_EQ(section(Bucket::safe).count, 0U);
    EXPECT_EQ(section(Bucket::needsReview).count, 0U);
    EXPECT_EQ(model().safeReclaimableKB(), 0);
    EXPECT_EQ(model().soleSafeItem(), std::nullopt);
    EXPECT_EQ(model().filterText(), "");
    EXPECT_TRUE(model().expandedPIDs().empty());
    EXPECT_TRUE(model().collapsedKinds().empty());
    EXPECT_TRUE(model().seenKinds().empty());
    EXPECT_FALSE(model().isCleaning());
}

TEST_F(StraysModelTest, splitsTheCandidatesInTheEnginesOrder) {
    list({reviewItem(9), safeItem(5), safeItem(2), riskyItem(3), reviewItem(1)});
    EXPECT_EQ(pidsOf(model().safeItems()), (PIDs{5, 2}));
    EXPECT_EQ(pidsOf(model().reviewItems()), (PIDs{9, 3, 1}));
}

TEST_F(StraysModelTest, countsWhatMatches) {
    list({reviewItem(9), safeItem(15), safeItem(12), reviewItem(1)});
    EXPECT_EQ(section(Bucket::safe).count, 2U);
    EXPECT_EQ(section(Bucket::needsReview).count, 2U);
    model().setFilterText("p1");
    EXPECT_EQ(section(Bucket::safe).count, 2U);
    EXPECT_EQ(section(Bucket::needsReview).count, 1U);
    model().setFilterText("p9");
    EXPECT_EQ(section(Bucket::safe).count, 0U);
    EXPECT_EQ(section(Bucket::needsReview).count, 1U);
}

TEST_F(StraysModelTest, groupsEachSectionByKind) {
    world->found.cwds = {{1, cwdOf("~/b")}, {2, cwdOf("~/A")}, {3, cwdOf("~/c")}};
    list({safeItem(1), kindItem(4, ProcessKind::npm), safeItem(2), reviewItem(3)});
    const auto safe = section(Bucket::safe);
    EXPECT_EQ(safe.bucket, Bucket::safe);
    ASSERT_EQ(safe.groups.size(), 2U);
    EXPECT_EQ(safe.groups[0].kind, ProcessKind::npm);
    EXPECT_EQ(safe.groups[1].kind, ProcessKind::vite);
    EXPECT_EQ(safe.groups[1].count, 2U);
    EXPECT_EQ(shownPIDs(), (PIDs{4, 2, 1, 3}));
    const auto review = section(Bucket::needsReview);
    ASSERT_EQ(review.groups.size(), 1U);
    EXPECT_EQ(review.groups[0].count, 1U);
}

TEST_F(StraysModelTest, rowsSayWhatTheyAre) {
    ProcessItem item = safeItem(5);
    item.elapsed = 86'400;
    item.cpuPercent = 12.34;
    item.rssKB = 2'048;
    world->found.cwds = {{5, cwdOf("~/work/shop")}};
    list({item});
    EXPECT_EQ(row(5).label, "Vite");
    EXPECT_EQ(row(5).descriptor, "shop");
    EXPECT_EQ(row(5).figures, "1d · 12.3% · " + memoryTextOfKB(2'048));
    EXPECT_FALSE(row(5).isProtected);
    EXPECT_FALSE(row(5).isEnding);
    EXPECT_EQ(row(5).failure, "");
    EXPECT_EQ(row(5).reasoning, std::nullopt);
    EXPECT_EQ(row(5).key(), (StraysModel::RowKey{5, item.startTime}));
}

TEST_F(StraysModelTest, theUsersOwnLabelIsLabelAndDescriptor) {
    ProcessItem item = kindItem(5, ProcessKind::custom);
    item.customLabel = "My watcher";
    list({item});
    EXPECT_EQ(row(5).label, "My watcher");
    EXPECT_EQ(row(5).descriptor, "My watcher");
}

TEST_F(StraysModelTest, aRowReadsAsASentence) {
    world->found.cwds = {{5, cwdOf("~/work/shop")}};
    list({safeItem(5)});
    const std::string sentence = row(5).sentence();
    for (const std::string part : {"Vite", "shop", "2h", "0.2%"}) {
        EXPECT_NE(sentence.find(part), std::string::npos) << part << " is not in " << sentence;
    }
}

TEST_F(StraysModelTest, theFilterLooksAtCommandsProjectsAndPorts) {
    world->found.cwds = {{2, cwdOf("~/work/ledgra")}};
    world->found.listeningPorts = {{3, {3000}}};
    ProcessItem four = safeItem(4);
    four.command = "node --port 3000";
    list({safeItem(1), safeItem(2), safeItem(3), four});
    model().setFilterText(" 3000 ");
    EXPECT_EQ(shownPIDs(), (PIDs{3, 4}));
    EXPECT_EQ(model().filterText(), " 3000 ") << "it is what the user typed";
    EXPECT_TRUE(model().matchesFilter(four));
    EXPECT_FALSE(model().matchesFilter(safeItem(1)));
    model().setFilterText("LEDGRA");
    EXPECT_EQ(shownPIDs(), PIDs{2});
    model().setFilterText("  ");
    EXPECT_EQ(shownPIDs().size(), 4U);
}

TEST_F(StraysModelTest, theFilterOutlivesARescan) {
    list({safeItem(1), safeItem(2)});
    model().setFilterText("p2/");
    list({safeItem(1), safeItem(2), safeItem(3)});
    EXPECT_EQ(shownPIDs(), PIDs{2});
}

TEST_F(StraysModelTest, theFilterFindsAPortThatALaterScanSaw) {
    list({safeItem(1)});
    model().setFilterText("4321");
    EXPECT_TRUE(rows().empty());
    world->found.listeningPorts = {{1, {4321}}};
    list({safeItem(1)});
    EXPECT_EQ(shownPIDs(), PIDs{1});
}

TEST_F(StraysModelTest, saysThatThereIsNothing) {
    list({});
    EXPECT_EQ(model().emptyText(), "No stray processes detected.");
    model().setFilterText("vite");
    EXPECT_EQ(model().emptyText(), "No stray processes detected.");
}

TEST_F(StraysModelTest, doesNotSayThatThereIsNothingWhenItCouldNotLook) {
    world->found.faults.table = Shell::Fault::notLaunched;
    list({});
    EXPECT_FALSE(model().problems().empty());
    EXPECT_EQ(model().emptyText(), std::nullopt);
}

TEST_F(StraysModelTest, saysThatNothingMatches) {
    list({safeItem(1), reviewItem(2)});
    EXPECT_EQ(model().emptyText(), std::nullopt);
    model().setFilterText("no such thing");
    EXPECT_EQ(model().emptyText(), "No processes match “no such thing”");
    model().setFilterText("p2/");
    EXPECT_EQ(model().emptyText(), std::nullopt) << "one of the two sections is enough";
}

TEST_F(StraysModelTest, collapsedGroupsAreNotNothing) {
    list({riskyItem(1)});
    EXPECT_TRUE(rows().empty());
    EXPECT_EQ(model().emptyText(), std::nullopt);
}

TEST_F(StraysModelTest, givesNoMoreRowsThanAreAskedFor) {
    list({safeItem(1), kindItem(2, ProcessKind::npm), kindItem(3, ProcessKind::npm), safeItem(4)});
    const StraysModel::Section section = model().section(Bucket::safe, 3);
    EXPECT_EQ(section.count, 4U);
    ASSERT_EQ(section.groups.size(), 2U);
    EXPECT_EQ(section.groups[0].rows.size(), 2U);
    EXPECT_EQ(section.groups[1].rows.size(), 1U);
    EXPECT_EQ(section.groups[1].count, 2U);
}

TEST_F(StraysModelTest, sumsUpWhatCouldBeReclaimed) {
    engine().setProtectedProjects({"~/kept"});
    world->found.cwds = {{1, cwdOf("~")}, {2, cwdOf("~/a")}, {3, cwdOf("~/kept/x")}, {5, cwdOf("~/other")}};
    list({safeItem(1), safeItem(2), safeItem(3), reviewItem(4), safeItem(5)});
    EXPECT_EQ(pidsOf(model().sweepableSafeItems()), (PIDs{1, 2, 5}));
    EXPECT_EQ(model().safeReclaimableKB(), 1'024 * (1 + 2 + 5));
    model().setFilterText("p2/");
    EXPECT_EQ(pidsOf(model().sweepableSafeItems()), PIDs{2});
    EXPECT_EQ(model().safeReclaimableKB(), 1'024 * 2);
    model().setFilterText("p4/");
    EXPECT_TRUE(model().sweepableSafeItems().empty());
    EXPECT_EQ(model().safeReclaimableKB(), 0);
}

TEST_F(StraysModelTest, absurdAmountsDoNotWrapAround) {
    ProcessItem huge = safeItem(1);
    huge.rssKB = std::numeric_limits<int64_t>::max();
    list({huge, safeItem(2), safeItem(3)});
    EXPECT_EQ(model().safeReclaimableKB(), std::numeric_limits<int64_t>::max());
}

TEST_F(StraysModelTest, theOnlySafeItemIsTheOneThatIsListed) {
    list({safeItem(1), reviewItem(3)});
    ASSERT_TRUE(model().soleSafeItem());
    EXPECT_EQ(model().soleSafeItem()->pid, 1);
    EXPECT_TRUE(row(1).isSoleSafe);
    EXPECT_FALSE(row(3).isSoleSafe);
    list({safeItem(1), safeItem(2), reviewItem(3)});
    EXPECT_EQ(model().soleSafeItem(), std::nullopt);
    EXPECT_FALSE(row(1).isSoleSafe);
    model().setFilterText("p2/");
    ASSERT_TRUE(model().soleSafeItem());
    EXPECT_EQ(model().soleSafeItem()->pid, 2);
    list({reviewItem(2)});
    EXPECT_EQ(model().soleSafeItem(), std::nullopt);
}

TEST_F(StraysModelTest, workingDirectoriesAreAbsolute) {
    world->found.cwds = {{1, cwdOf("~/work/shop")}, {2, cwdOf("/srv/app")}, {3, cwdOf("~")}};
    list({safeItem(1), safeItem(2), safeItem(3), safeItem(4)});
    EXPECT_EQ(model().workingDirectory(safeItem(1)), home().string() + "/work/shop");
    EXPECT_EQ(model().workingDirectory(safeItem(2)), "/srv/app");
    EXPECT_EQ(model().workingDirectory(safeItem(3)), home().string());
    EXPECT_EQ(model().workingDirectory(safeItem(4)), std::nullopt);
}

TEST_F(StraysModelTest, tellsOnceOfAllThatAScanBrought) {
    (void)model();
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    world->found.listeningPorts = {{1, {3000}}};
    world->found.processTable = {{77, {.ppid = 0, .label = "zsh"}}};
    beginScan({safeItem(1), riskyItem(2)});
    settle();
    modelChanges = 0;
    changes.clear();
    finishScan();
    EXPECT_GE(changes.size(), 4U);
    settle();
    EXPECT_EQ(modelChanges, 1);
}

TEST_F(StraysModelTest, tellsOfEveryChangeOfItsOwn) {
    list({safeItem(1), safeItem(2)});
    const auto expectChange = [this](const char* what) {
        settle();
        EXPECT_EQ(modelChanges, 1) << what;
        modelChanges = 0;
    };
    modelChanges = 0;
    model().setFilterText("p");
    expectChange("filter");
    model().toggleCollapsed(ProcessKind::vite);
    expectChange("collapsed");
    model().toggleExpanded(1);
    EXPECT_TRUE(spinUntil([this] { return engine().openFiles().contains(1); }));
    settle();
    EXPECT_GE(modelChanges, 1) << "expanded, and its open files";
    modelChanges = 0;
    model().dismiss(safeItem(2));
    expectChange("dismissed");
    engine().setProtectedProjects({"~/work"});
    expectChange("protected");
}

TEST_F(StraysModelTest, tellsWhatIsWrong) {
    EXPECT_TRUE(model().problems().empty());
    world->found.faults.details = Shell::Fault::notLaunched;
    list({safeItem(1)});
    ASSERT_FALSE(model().problems().empty());
    EXPECT_NE(model().problems().front().find("lsof could not be run"), std::string::npos);
}

TEST_F(StraysModelTest, mayBeGoneWhenTheEngineTells) {
    beginScan({safeItem(1)});
    (void)model();
    endModel();
    finishScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
}

} // namespace Vintrel
