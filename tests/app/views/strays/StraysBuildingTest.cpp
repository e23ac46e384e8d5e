// Many rows are built a few hundred at a time.
#include "tests/app/views/strays/StraysViewTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysBuildingTest : public StraysViewTest {
protected:
    [[nodiscard]] size_t built() const {
        return static_cast<size_t>(listView()->findChildren<StrayRow*>().size());
    }

    [[nodiscard]] PushButton* more() const {
        for (PushButton* const each : shown<PushButton>()) {
            if (each->text().startsWith("Show ")) {
                return each;
            }
        }
        return nullptr;
    }

    /// Shows more until there is no more.
    void showAll() const {
        for (int step = 0; more() != nullptr && step < 20; ++step) {
            click(more());
            settle();
        }
        EXPECT_EQ(more(), nullptr);
    }
};

TEST_F(StraysBuildingTest, aFewAreBuiltAtOnce) {
    open(safeItems(200));
    EXPECT_EQ(built(), 200U);
    EXPECT_EQ(more(), nullptr);
}

TEST_F(StraysBuildingTest, manyAreBuiltInSteps) {
    open(safeItems(450));
    EXPECT_EQ(built(), StrayListView::rowsAtATime);
    EXPECT_TRUE(says("Safe to clean (450)")) << "all of them count";
    ASSERT_NE(more(), nullptr);
    EXPECT_TRUE(more()->text().endsWith(" more")) << more()->text().toStdString();
    EXPECT_FALSE(more()->accessibleName().isEmpty());
    click(more());
    settle();
    EXPECT_EQ(built(), 400U);
    showAll();
    EXPECT_EQ(shownPIDs(), pidsOf(safeItems(450)));
}

TEST_F(StraysBuildingTest, whoTypesWaitsForFewRowsOnly) {
    open(safeItems(450));
    filter("vite");
    EXPECT_EQ(built(), StrayListView::rowsWhileTyping);
    EXPECT_TRUE(says("Safe to clean (450)")) << "all of them count";
    ASSERT_NE(more(), nullptr);
    EXPECT_EQ(more()->text(), "Show 426 more");
    showAll();
    EXPECT_EQ(shownPIDs(), pidsOf(safeItems(450)));
    rescan(safeItems(450));
    EXPECT_EQ(built(), 450U) << "the same filter";
    filter("");
    EXPECT_EQ(built(), StrayListView::rowsWhileTyping);
}

TEST_F(StraysBuildingTest, moreTellsHowMany) {
    open(safeItems(203));
    ASSERT_NE(more(), nullptr);
    EXPECT_EQ(more()->text(), "Show 3 more");
    click(more());
    settle();
    EXPECT_EQ(built(), 203U);
    EXPECT_EQ(more(), nullptr);
}

TEST_F(StraysBuildingTest, theFirstOnesAreBuiltInTheOrderOfReading) {
    auto items = safeItems(250);
    for (int32_t pid = 5'000; pid < 5'010; ++pid) {
        items.push_back(reviewItem(pid));
    }
    open(items);
    EXPECT_EQ(shownPIDs(), pidsOf(safeItems(200)));
    showAll();
    EXPECT_EQ(shownPIDs(), pidsOf(items));
}

TEST_F(StraysBuildingTest, collapsedGroupsHaveNoRows) {
    auto items = safeItems(450);
    items.push_back(kindItem(9, ProcessKind::astro));
    open(items);
    click(groupHeader("Vite"));
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{9});
    EXPECT_EQ(built(), 1U);
}

TEST_F(StraysBuildingTest, whatWasShownStaysAfterARescan) {
    open(safeItems(450));
    showAll();
    rescan(safeItems(450));
    EXPECT_EQ(built(), 450U);
}

TEST_F(StraysBuildingTest, afterMoreTheKeyboardGoesOn) {
    open(safeItems(450));
    more()->setFocus();
    press(Qt::Key_Space);
    settle();
    const QWidget* const focus = QApplication::focusWidget();
    ASSERT_NE(focus, nullptr);
    EXPECT_TRUE(focus->isVisible());
    EXPECT_TRUE(listView()->isAncestorOf(focus));
    EXPECT_FALSE(focus->accessibleName().startsWith("Kill"));
}

TEST_F(StraysBuildingTest, theFilterFindsWhatIsNotBuilt) {
    open(safeItems(450));
    filter("p1449/");
    EXPECT_EQ(shownPIDs(), PIDs{1'449});
    EXPECT_EQ(more(), nullptr);
}

TEST_F(StraysBuildingTest, cleanAllEndsWhatIsNotBuiltToo) {
    open(safeItems(450));
    letRowsRest();
    click(cleanButton());
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items.size(), 450U);
}

TEST_F(StraysBuildingTest, rowsCanBeGivenBackAndBuiltAgain) {
    open({safeItem(1), safeItem(2), reviewItem(3)});
    click(infoButton(2));
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(2); })); // it is told of, too
    settle();
    listView()->freeRows();
    settle();
    EXPECT_EQ(built(), 0U);
    listView()->refresh();
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2, 3}));
    EXPECT_TRUE(row(2)->row().reasoning) << "what the user did is kept";
    letRowsRest();
    click(killButton(3));
    EXPECT_TRUE(spinUntil([this] { return killings() == 1; }, 5s));
}

TEST_F(StraysBuildingTest, anotherOpeningFindsRowsThatWereGivenBack) {
    open({safeItem(1), safeItem(2)});
    window->close();
    settle();
    listView()->freeRows();
    window->present();
    waitForScan();
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2}));
}

TEST_F(StraysBuildingTest, whatGoesIsFreed) {
    open(safeItems(150));
    rescan(safeItems(5));
    EXPECT_TRUE(spinUntil([this] { return built() == 5; }, 2s));
    rescan({});
    EXPECT_TRUE(spinUntil([this] { return built() == 0; }, 2s));
}

} // namespace Vintrel
