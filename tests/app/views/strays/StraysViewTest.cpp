// The search field, the headers of sections and groups, and what stands in place of rows.
#include "tests/app/views/strays/StraysViewTest.h"

#include "Vintrel/engine/ByteCount.h"

#include <QAccessible>
#include <gtest/gtest.h>

namespace Vintrel {

class StraysFirstTab : public StraysViewTest {
protected:
    [[nodiscard]] IconButton* clearButton() const { return search()->findChild<IconButton*>(); }

    [[nodiscard]] int placeOf(const std::string& text) const {
        for (const TextLabel* const label : shown<TextLabel>()) {
            if (label->text().toStdString() == text) {
                return place(label).y();
            }
        }
        ADD_FAILURE() << "nowhere: " << text;
        return -1;
    }
};

TEST_F(StraysFirstTab, theSearchFieldSaysWhatItIsFor) {
    open({safeItem(1)});
    EXPECT_EQ(search()->placeholderText(), "Filter by command, project, or port");
    EXPECT_EQ(search()->text(), "");
    EXPECT_FALSE(search()->accessibleName().isEmpty());
    ASSERT_NE(clearButton(), nullptr);
    EXPECT_FALSE(clearButton()->isVisible()) << "there is nothing to clear";
}

TEST_F(StraysFirstTab, theClearButtonEmptiesTheFilter) {
    open({safeItem(1), safeItem(2)});
    QTest::keyClicks(search(), "p2/");
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
    ASSERT_TRUE(clearButton()->isVisible());
    EXPECT_EQ(clearButton()->symbolName(), "xmark.circle.fill");
    EXPECT_EQ(clearButton()->accessibleName(), "Clear filter");
    EXPECT_EQ(clearButton()->toolTip(), "Clear filter");
    click(clearButton());
    settle();
    EXPECT_EQ(search()->text(), "");
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2}));
    EXPECT_FALSE(clearButton()->isVisible());
    EXPECT_EQ(view->strays().filterText(), "");
}

TEST_F(StraysFirstTab, showsTheSafeSectionFirst) {
    open({reviewItem(1), safeItem(2), safeItem(3)});
    EXPECT_LT(placeOf("Safe to clean (2)"), placeOf("Needs review (1)"));
    EXPECT_EQ(shownPIDs(), (PIDs{2, 3, 1}));
    EXPECT_LT(placeOf("Safe to clean (2)"), place(row(2)).y());
    EXPECT_LT(place(row(3)).y(), placeOf("Needs review (1)"));
    EXPECT_LT(placeOf("Needs review (1)"), place(row(1)).y());
}

TEST_F(StraysFirstTab, theSafeHeaderTellsWhatCouldBeReclaimed) {
    open({safeItem(2), safeItem(3)});
    EXPECT_TRUE(says(memoryTextOfKB(5 * 1'024) + " reclaimable"));
    filter("p3/");
    EXPECT_TRUE(says("Safe to clean (1)"));
    EXPECT_TRUE(says(memoryTextOfKB(3 * 1'024) + " reclaimable"));
}

TEST_F(StraysFirstTab, whatIsProtectedIsCountedButNotReclaimable) {
    engine().setProtectedProjects({"~/kept"});
    world->found.cwds = {{2, cwdOf("~/kept/x")}, {3, cwdOf("~")}};
    open({safeItem(2), safeItem(3)});
    EXPECT_TRUE(says("Safe to clean (2)"));
    EXPECT_TRUE(says(memoryTextOfKB(3 * 1'024) + " reclaimable"));
}

TEST_F(StraysFirstTab, cleanAllCleansWhatMatches) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    filter("p2/");
    EXPECT_EQ(cleanButton()->text(), "Clean all");
    EXPECT_EQ(cleanButton()->accessibleName(), "Clean all");
    ASSERT_TRUE(cleanButton()->isEnabled());
    letRowsRest();
    click(cleanButton());
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
    waitForScan();
    settle();
    expectPosted({});
}

TEST_F(StraysFirstTab, cleanAllIsDisabledWhenTheFilterHidesEverySafeRow) {
    open({safeItem(1), reviewItem(2)});
    EXPECT_TRUE(cleanButton()->isEnabled());
    filter("p2/");
    for (const PushButton* const shownButton : shown<PushButton>()) {
        EXPECT_FALSE(shownButton->text() == "Clean all" && shownButton->isEnabled());
    }
    filter("");
    EXPECT_TRUE(cleanButton()->isEnabled());
}

TEST_F(StraysFirstTab, cleanAllIsDisabledWhenAllIsProtected) {
    world->found.cwds = {{1, cwdOf("~/kept/x")}};
    open({safeItem(1)});
    EXPECT_TRUE(cleanButton()->isEnabled());
    engine().setProtectedProjects({"~/kept"});
    settle();
    EXPECT_FALSE(cleanButton()->isEnabled());
    engine().setProtectedProjects({});
    settle();
    EXPECT_TRUE(cleanButton()->isEnabled());
}

TEST_F(StraysFirstTab, cleanAllIsDisabledWhenAFactThatProtectsIsMissing) {
    world->found.faults.details = Shell::Fault::notLaunched;
    open({safeItem(1)});
    EXPECT_FALSE(cleanButton()->isEnabled());
}

TEST_F(StraysFirstTab, cleanAllIsDisabledWhileItCleans) {
    open({safeItem(1), safeItem(2)});
    world.killGate().close();
    letRowsRest();
    click(cleanButton());
    settle();
    EXPECT_FALSE(cleanButton()->isEnabled());
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    EXPECT_TRUE(cleanButton()->isEnabled());
}

TEST_F(StraysFirstTab, onlyTheSafeSectionCanBeCleaned) {
    open({reviewItem(1), safeItem(2)});
    int buttons = 0;
    for (const PushButton* const shownButton : shown<PushButton>()) {
        buttons += shownButton->text() == "Clean all" ? 1 : 0;
    }
    EXPECT_EQ(buttons, 1);
}

TEST_F(StraysFirstTab, anEmptyListHasOneLine) {
    open({});
    EXPECT_TRUE(says("No stray processes detected."));
    EXPECT_TRUE(shown<StrayRow>().empty());
    EXPECT_TRUE(shown<GroupHeader>().empty());
    EXPECT_TRUE(shown<SectionHeader>().empty());
    rescan({safeItem(1)});
    EXPECT_FALSE(says("No stray processes detected."));
}

TEST_F(StraysFirstTab, aFilterThatFindsNothingIsTold) {
    open({safeItem(1)});
    filter("no such thing");
    EXPECT_TRUE(says("No processes match “no such thing”"));
    EXPECT_TRUE(shown<StrayRow>().empty());
    filter("");
    EXPECT_FALSE(says("No processes match “no such thing”"));
    EXPECT_EQ(shownPIDs(), PIDs{1});
}

TEST_F(StraysFirstTab, whatIsWrongIsTold) {
    world->found.faults.details = Shell::Fault::notLaunched;
    open({safeItem(1)});
    const Texts all = texts();
    const auto isAbout = [](const std::string& text) {
        return text.find("lsof could not be run") != std::string::npos;
    };
    EXPECT_TRUE(std::ranges::any_of(all, isAbout));
    world->found.faults.details = Shell::Fault::none;
    rescan({safeItem(1)});
    const Texts after = texts();
    EXPECT_FALSE(std::ranges::any_of(after, isAbout));
}

TEST_F(StraysFirstTab, groupsHaveTheirKindAndTheirCount) {
    open({safeItem(1), safeItem(2), kindItem(3, ProcessKind::npm), reviewItem(4)});
    const auto headers = shown<GroupHeader>();
    ASSERT_EQ(headers.size(), 3U);
    const auto expectName = [&](size_t index, const QString& kind, const QString& count) {
        EXPECT_TRUE(headers[index]->accessibleName().contains(kind)) << index;
        EXPECT_TRUE(headers[index]->accessibleName().contains(count)) << index;
    };
    expectName(0, "npm", "1");
    expectName(1, "Vite", "2");
    expectName(2, "Vite", "1");
    EXPECT_FALSE(headers[0]->isCollapsed());
}

TEST_F(StraysFirstTab, aClickCollapsesAKindInBothSections) {
    open({safeItem(1), kindItem(2, ProcessKind::npm), reviewItem(3)});
    click(shown<GroupHeader>().at(1));
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
    EXPECT_TRUE(shown<GroupHeader>().at(1)->isCollapsed());
    EXPECT_TRUE(shown<GroupHeader>().at(2)->isCollapsed());
    click(shown<GroupHeader>().at(2));
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{2, 1, 3}));
}

TEST_F(StraysFirstTab, aChevronTellsWhetherAGroupIsCollapsed) {
    open({safeItem(1), kindItem(2, ProcessKind::npm)});
    GroupHeader* const header = groupHeader("npm");
    const QString before = header->accessibleName() + header->accessibleDescription();
    const QImage expanded = header->grab().toImage();
    click(header);
    settle();
    EXPECT_NE(header->grab().toImage(), expanded);
    EXPECT_EQ(groupHeader("npm"), header);
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(header);
    EXPECT_TRUE(accessible->state().collapsed || accessible->state().expandable ||
                header->accessibleName() + header->accessibleDescription() != before)
        << "who cannot see the chevron has to be told, too";
}

TEST_F(StraysFirstTab, aRiskyKindIsCollapsedAtFirst) {
    open({riskyItem(1), safeItem(2)});
    EXPECT_EQ(shownPIDs(), PIDs{2});
    EXPECT_TRUE(groupHeader("Node")->isCollapsed());
    EXPECT_TRUE(says("Needs review (1)"));
    click(groupHeader("Node"));
    settle();
    rescan({riskyItem(1), safeItem(2)});
    EXPECT_EQ(shownPIDs(), (PIDs{2, 1}));
}

} // namespace Vintrel
