// The buttons of a row: what they are called, where they stand, and what they do.
#include "Vintrel/views/ReasoningBlock.h"
#include "tests/app/views/strays/StraysViewTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysButtonsTest : public StraysViewTest {
protected:
    /// The buttons of a row, as it reads.
    [[nodiscard]] std::vector<IconButton*> buttons(int32_t pid) const {
        std::vector<IconButton*> found;
        for (IconButton* const each : row(pid)->findChildren<IconButton*>()) {
            if (each->isVisibleTo(row(pid))) {
                found.push_back(each);
            }
        }
        std::ranges::sort(found, {}, [](const IconButton* each) { return each->x(); });
        return found;
    }

    [[nodiscard]] Texts names(int32_t pid) const {
        Texts names;
        for (const IconButton* const each : buttons(pid)) {
            names.push_back(each->accessibleName().toStdString());
        }
        return names;
    }

    [[nodiscard]] IconButton* lock(int32_t pid) const { return buttons(pid).at(2); }

    static constexpr const char* protect = "Protect: keep this project out of “Clean all”";
    static constexpr const char* unprotect = "Un-protect this project";
};

TEST_F(StraysButtonsTest, ofASafeRow) {
    open({safeItem(41), safeItem(42)});
    EXPECT_EQ(names(42), (Texts{"Why is this here?", "Ignore for session", protect, "Kill PID 42"}));
    EXPECT_EQ(buttons(42)[0]->symbolName(), "info.circle");
    EXPECT_EQ(buttons(42)[1]->symbolName(), "eye.slash");
    EXPECT_EQ(buttons(42)[2]->symbolName(), "lock.open");
    for (const IconButton* const each : buttons(42)) {
        EXPECT_EQ(each->toolTip(), each->accessibleName());
        EXPECT_TRUE(each->isEnabled());
        EXPECT_EQ(each->size(), QSize(IconButton::edge, IconButton::edge));
    }
}

TEST_F(StraysButtonsTest, ofARowThatNeedsReview) {
    open({reviewItem(42)});
    EXPECT_EQ(names(42), (Texts{"Why is this here?", "Ignore for session", "Kill PID 42"}));
    for (const IconButton* const each : buttons(42)) {
        EXPECT_EQ(each->toolTip(), each->accessibleName());
    }
}

TEST_F(StraysButtonsTest, standBesideOneAnotherAtTheTrailingEdge) {
    open({safeItem(1), reviewItem(2)});
    for (const int32_t pid : {1, 2}) {
        const auto all = buttons(pid);
        for (const IconButton* const each : all) {
            EXPECT_EQ(each->y(), all.front()->y());
            EXPECT_GT(each->x(), row(pid)->width() / 2);
        }
    }
    EXPECT_EQ(place(killButton(1)).x(), place(killButton(2)).x()) << "one below the other";
}

TEST_F(StraysButtonsTest, theOnlySafeRowTellsItsShortcut) {
    open({safeItem(41), safeItem(42)});
    EXPECT_FALSE(killButton(41)->toolTip().contains("Ctrl"));
    rescan({safeItem(42)});
    EXPECT_EQ(killButton(42)->accessibleName(), "Kill PID 42");
    EXPECT_TRUE(killButton(42)->toolTip().startsWith("Kill PID 42"));
    EXPECT_TRUE(killButton(42)->toolTip().contains("Ctrl+Shift+K"));
    rescan({safeItem(41), safeItem(42)});
    EXPECT_EQ(killButton(42)->toolTip(), "Kill PID 42");
}

TEST_F(StraysButtonsTest, infoShowsWhyTheRowIsThere) {
    world->openFiles = {.files = {{.name = "~/work/dev.log"}}};
    open({safeItem(1), safeItem(2)});
    const int before = row(1)->height();
    const int below = place(row(2)).y();
    click(infoButton(1));
    ASSERT_TRUE(spinUntil([this] {
        return row(1)->height() > 0 && row(1)->row().reasoning.has_value() &&
               row(1)->row().reasoning->openFiles.has_value();
    }));
    settle();
    EXPECT_GT(row(1)->height(), before);
    EXPECT_GT(place(row(2)).y(), below);
    ASSERT_EQ(shown<ReasoningBlock>().size(), 1U);
    EXPECT_EQ(view->strays().expandedPIDs(), std::unordered_set<int32_t>{1});
    letRowsRest();
    click(infoButton(1));
    settle();
    EXPECT_EQ(row(1)->height(), before);
    EXPECT_EQ(place(row(2)).y(), below);
    EXPECT_TRUE(shown<ReasoningBlock>().empty());
}

TEST_F(StraysButtonsTest, hideTakesTheRowAway) {
    open({safeItem(1), safeItem(2)});
    click(hideButton(1));
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
    EXPECT_EQ(engine().dismissedPIDs(), ScanEngine::PIDSet{1});
    EXPECT_EQ(killings(), 0U);
}

TEST_F(StraysButtonsTest, lockProtectsTheProject) {
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    open({safeItem(1)});
    const QImage before = row(1)->grab().toImage();
    click(lock(1));
    settle();
    EXPECT_EQ(engine().protectedProjects(), Texts{"~/work/shop"});
    EXPECT_EQ(lock(1)->accessibleName(), unprotect);
    EXPECT_EQ(lock(1)->toolTip(), unprotect);
    EXPECT_EQ(lock(1)->symbolName(), "lock.fill");
    EXPECT_NE(row(1)->grab().toImage(), before);
    letRowsRest();
    click(lock(1));
    settle();
    EXPECT_TRUE(engine().protectedProjects().empty());
    EXPECT_EQ(lock(1)->accessibleName(), protect);
    EXPECT_EQ(lock(1)->symbolName(), "lock.open");
}

TEST_F(StraysButtonsTest, aProtectedRowSaysSo) {
    engine().setProtectedProjects({"~/work"});
    world->found.cwds = {{1, cwdOf("~/work/shop")}, {2, cwdOf("~/other")}, {3, cwdOf("~/work")}};
    open({safeItem(1), safeItem(2), reviewItem(3)});
    const auto said = [this](int32_t pid) {
        return (row(pid)->accessibleName() + row(pid)->accessibleDescription())
            .contains(QString::fromUtf8("Protected — kept out of “Clean all”"));
    };
    EXPECT_TRUE(said(1));
    EXPECT_FALSE(said(2));
    EXPECT_FALSE(said(3));
    EXPECT_GT(row(1)->height(), row(2)->height()) << "the note has a line of its own";
}

TEST_F(StraysButtonsTest, killEndsTheRow) {
    open({safeItem(1), reviewItem(2)});
    letRowsRest();
    world.killGate().close();
    click(killButton(2));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{reviewItem(2)});
    settle();
    EXPECT_TRUE(row(2)->row().isEnding);
    world->found.items = {safeItem(1)};
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{1});
}

TEST_F(StraysButtonsTest, aRowShowsThatItsEndIsUnderWay) {
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    const QImage before = row(1)->grab().toImage();
    world.killGate().close();
    click(killButton(1));
    settle();
    EXPECT_NE(row(1)->grab().toImage(), before);
    click(row(1)->findChildren<IconButton*>().back());
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    spinFor(30ms);
    EXPECT_EQ(killings(), 1U);
}

TEST_F(StraysButtonsTest, aRowTellsWhyItCouldNotBeEnded) {
    world->killResults = {{1, {KillOutcome::notKilled, KillDetail::notPermitted, {1}}}};
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    const int before = row(1)->height();
    click(killButton(1));
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    EXPECT_TRUE((row(1)->accessibleName() + row(1)->accessibleDescription()).contains("not permitted"));
    EXPECT_GT(row(1)->height(), before);
    EXPECT_TRUE(killButton(1)->isEnabled()) << "another attempt is possible";
    rescan({successorOf(safeItem(1)), safeItem(2)});
    EXPECT_FALSE((row(1)->accessibleName() + row(1)->accessibleDescription()).contains("not permitted"));
    EXPECT_EQ(row(1)->height(), before);
}

TEST_F(StraysButtonsTest, aSuccessorIsNotMistakenForTheProcessThatWasShown) {
    open({safeItem(1), safeItem(2)});
    rescan({successorOf(safeItem(1)), safeItem(2)});
    letRowsRest();
    click(killButton(1));
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{successorOf(safeItem(1))});
}

TEST_F(StraysButtonsTest, aClickOnARowThatHasJustMovedEndsNothing) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    letRowsRest();
    const int before = row(2)->y();
    bool isClicked = false;
    const auto clickAtOnce = [&] { // this is about a quarter of a second, which a busy machine lets pass
        if (row(2)->y() != before && !std::exchange(isClicked, true)) {
            click(killButton(2));
        }
    };
    QObject::connect(listView(), &StrayListView::merging, view,
                     [&] { QTimer::singleShot(0, view, clickAtOnce); });
    rescan({safeItem(2), safeItem(3)});
    ASSERT_TRUE(spinUntil([&] { return isClicked; }));
    spinFor(30ms);
    EXPECT_EQ(killings(), 0U) << "the pointer was at the row that stood there before";
    letRowsRest();
    click(killButton(2));
    EXPECT_TRUE(spinUntil([this] { return killings() == 1; }, 5s));
}

TEST_F(StraysButtonsTest, theViewMayGoWhileAnEndIsUnderWay) {
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    world.killGate().close();
    click(killButton(1));
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() == 1; }));
    close();
    world.killGate().open();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    EXPECT_TRUE(std::filesystem::exists(cleanLogFile())) << "it is recorded all the same";
}

} // namespace Vintrel
