// A rescan merges into what is shown.
#include "tests/app/views/strays/StraysViewTest.h"

#include <map>

#include <QEvent>
#include <gtest/gtest.h>

namespace Vintrel {

/// Counts how often a row or anything in it is painted, by pid.
class PaintCounter : public QObject {
public:
    PaintCounter() { qApp->installEventFilter(this); }

    std::map<int32_t, int> painted;

protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            for (QObject* each = object; each != nullptr; each = each->parent()) {
                if (const auto* const row = qobject_cast<StrayRow*>(each)) {
                    ++painted[row->row().item.pid];
                }
            }
        }
        return false;
    }
};

class StraysMergeTest : public StraysViewTest {
protected:
    /// One more scan of this, and as long as everything needs to be painted.
    std::map<int32_t, int> paintedBy(const std::vector<ProcessItem>& candidates) {
        spinFor(100ms);
        const PaintCounter counter;
        rescan(candidates);
        spinFor(100ms);
        return counter.painted;
    }

    [[nodiscard]] int scrolled() const { return scrollArea()->verticalScrollBar()->value(); }
};

TEST_F(StraysMergeTest, whatReadsAsBeforeIsNotPainted) {
    open({safeItem(1), safeItem(2), reviewItem(3)});
    ProcessItem older = safeItem(2);
    older.elapsed += 5;
    older.cpuPercent -= 0.001;
    EXPECT_TRUE(paintedBy({safeItem(1), older, reviewItem(3)}).empty());
}

TEST_F(StraysMergeTest, expandedRowsAreNotPaintedEither) {
    world->openFiles = {.files = {{.name = "~/work/dev.log"}}};
    open({safeItem(1), safeItem(2)});
    scan();
    scan();
    click(infoButton(1));
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(1); }));
    settle();
    EXPECT_TRUE(paintedBy({safeItem(1), safeItem(2)}).empty());
}

TEST_F(StraysMergeTest, onlyTheRowThatReadsDifferentlyIsPainted) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    ProcessItem busier = safeItem(2);
    busier.cpuPercent = 77;
    const auto painted = paintedBy({safeItem(1), busier, safeItem(3)});
    EXPECT_TRUE(painted.contains(2));
    EXPECT_EQ(painted.size(), 1U);
}

TEST_F(StraysMergeTest, rowsKeepTheirWidgets) {
    open({safeItem(1), safeItem(2), reviewItem(3)});
    const StrayRow* const second = row(2);
    const StrayRow* const third = row(3);
    rescan({safeItem(4), safeItem(2), reviewItem(3)});
    EXPECT_EQ(row(2), second);
    EXPECT_EQ(row(3), third);
    EXPECT_EQ(shownPIDs(), (PIDs{2, 4, 3}));
}

TEST_F(StraysMergeTest, aSuccessorHasARowOfItsOwn) {
    open({safeItem(1), safeItem(2)});
    infoButton(1)->setFocus();
    click(infoButton(1));
    settle();
    rescan({successorOf(safeItem(1)), safeItem(2)});
    EXPECT_EQ(row(1)->row().item, successorOf(safeItem(1)));
    EXPECT_EQ(row(1)->row().reasoning, std::nullopt);
    EXPECT_EQ(row(1)->height(), row(2)->height());
}

TEST_F(StraysMergeTest, keepsTheKeyboardFocus) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    QAbstractButton* const focus = hideButton(2);
    focus->setFocus();
    rescan({safeItem(2), safeItem(3), safeItem(4)});
    EXPECT_EQ(QApplication::focusWidget(), focus);
    EXPECT_EQ(hideButton(2), focus);
}

TEST_F(StraysMergeTest, keepsTheFocusOfAGroupAndOfTheSearchField) {
    open({safeItem(1), kindItem(2, ProcessKind::npm)});
    GroupHeader* const header = groupHeader("Vite");
    header->setFocus();
    rescan({safeItem(1), safeItem(3)});
    EXPECT_EQ(QApplication::focusWidget(), header);
    search()->setFocus();
    QTest::keyClicks(search(), "p1");
    rescan({safeItem(1), safeItem(5)});
    EXPECT_EQ(QApplication::focusWidget(), search());
    EXPECT_EQ(search()->text(), "p1");
    QTest::keyClicks(search(), "/");
    EXPECT_EQ(search()->text(), "p1/") << "nor does the cursor move";
}

TEST_F(StraysMergeTest, keepsTheScrollPosition) {
    open(safeItems(40));
    scrollArea()->verticalScrollBar()->setValue(300);
    rescan(safeItems(40));
    EXPECT_EQ(scrolled(), 300);
    auto changed = safeItems(40);
    changed[20].cpuPercent = 50;
    rescan(changed);
    EXPECT_EQ(scrolled(), 300);
}

TEST_F(StraysMergeTest, whatIsInViewStaysWhereRowsAboveItGo) {
    open(safeItems(60));
    scrollArea()->verticalScrollBar()->setValue(1'000);
    settle();
    const QWidget* const viewport = scrollArea()->viewport();
    const auto isInView = [&](const StrayRow* each) { return each->mapTo(viewport, QPoint()).y() >= 0; };
    const auto all = shown<StrayRow>();
    const auto first = std::ranges::find_if(all, isInView);
    ASSERT_NE(first, all.end());
    const StrayRow* const seen = *first;
    const int before = place(seen).y();
    auto fewer = safeItems(60);
    fewer.erase(fewer.begin(), fewer.begin() + 3);
    rescan(fewer);
    EXPECT_EQ(place(seen).y(), before);
}

TEST_F(StraysMergeTest, whatIsInViewStaysWhereTheFirstInViewGoes) {
    open(safeItems(60));
    scrollArea()->verticalScrollBar()->setValue(1'000);
    settle();
    const QWidget* const viewport = scrollArea()->viewport();
    const auto all = shown<StrayRow>();
    const auto first = std::ranges::find_if(all, [&](const StrayRow* each) {
        return each->mapTo(viewport, QPoint(0, each->height())).y() > 0; // also if it is cut
    });
    ASSERT_NE(first, all.end());
    const StrayRow* const next = *std::next(first);
    const int before = place(next).y();
    const int32_t going = (*first)->row().item.pid;
    auto fewer = safeItems(60);
    std::erase_if(fewer, [going](const ProcessItem& item) { return item.pid == going || item.pid < 1'003; });
    rescan(fewer);
    EXPECT_EQ(place(next).y(), before);
}

TEST_F(StraysMergeTest, keepsExpansionAndFilter) {
    open({safeItem(1), safeItem(21), safeItem(22)});
    click(infoButton(21));
    filter("p2");
    rescan({safeItem(1), safeItem(21), safeItem(23)});
    EXPECT_EQ(search()->text(), "p2");
    EXPECT_EQ(shownPIDs(), (PIDs{21, 23}));
    EXPECT_TRUE(row(21)->row().reasoning);
    EXPECT_GT(row(21)->height(), row(23)->height());
}

TEST_F(StraysMergeTest, noRowMovesWhileAButtonIsHeldDown) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    QAbstractButton* const held = hideButton(3);
    const int before = place(row(3)).y();
    QTest::mousePress(held, Qt::LeftButton);
    rescan({safeItem(3), safeItem(4)});
    spinFor(100ms);
    EXPECT_EQ(place(row(3)).y(), before);
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2, 3}));
    QTest::mouseRelease(held, Qt::LeftButton, {}, QPoint(-50, -50)); // elsewhere: not a click
    EXPECT_TRUE(spinUntil([this] { return !hasRow(1) && hasRow(4); }, 2s));
    EXPECT_LT(place(row(3)).y(), before);
}

TEST_F(StraysMergeTest, aClickThatBeganBeforeARescanGoesToItsRow) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    letRowsRest();
    QAbstractButton* const held = killButton(3);
    QTest::mousePress(held, Qt::LeftButton);
    rescan({safeItem(3), safeItem(4)});
    QTest::mouseRelease(held, Qt::LeftButton);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(3)});
}

TEST_F(StraysMergeTest, aHeldButtonOfARowThatIsGoneMayBeLetGo) {
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    const QPointer<QAbstractButton> held = killButton(1);
    QTest::mousePress(held, Qt::LeftButton);
    rescan({safeItem(2)});
    ASSERT_FALSE(held.isNull());
    QTest::mouseRelease(held, Qt::LeftButton);
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
    for (const auto& killing : world->killings) {
        EXPECT_EQ(killing.items, Items{safeItem(1)});
    }
}

TEST_F(StraysMergeTest, aHeldButtonOfARowThatIsGoneHidesNobodyElse) {
    open({safeItem(1), safeItem(2)});
    QAbstractButton* const held = hideButton(1);
    QTest::mousePress(held, Qt::LeftButton);
    rescan({successorOf(safeItem(1)), safeItem(2)});
    QTest::mouseRelease(held, Qt::LeftButton);
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2}));
    EXPECT_TRUE(engine().dismissedPIDs().empty());
}

TEST_F(StraysMergeTest, aHeldButtonOfARowThatIsGoneExpandsNobodyElse) {
    open({safeItem(1), safeItem(2)});
    QAbstractButton* const held = infoButton(1);
    QTest::mousePress(held, Qt::LeftButton);
    rescan({successorOf(safeItem(1)), safeItem(2)});
    QTest::mouseRelease(held, Qt::LeftButton);
    settle();
    EXPECT_FALSE(row(1)->row().reasoning);
}

TEST_F(StraysMergeTest, aClickOnCleanAllThatBeganBeforeARescanEndsWhatWasShown) {
    open({safeItem(1), safeItem(2)});
    QAbstractButton* const held = button(view, "Clean all");
    QTest::mousePress(held, Qt::LeftButton);
    rescan({successorOf(safeItem(1)), safeItem(2), safeItem(3)});
    QTest::mouseRelease(held, Qt::LeftButton);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
}

TEST_F(StraysMergeTest, aProblemShiftsNoRowWhileAButtonIsHeldDown) {
    open({safeItem(1), safeItem(2)});
    QAbstractButton* const held = hideButton(2);
    const int before = place(row(2)).y();
    QTest::mousePress(held, Qt::LeftButton);
    world->found.faults.details = Shell::Fault::notLaunched;
    rescan({safeItem(1), safeItem(2)});
    ASSERT_FALSE(engine().problems().empty());
    EXPECT_EQ(place(row(2)).y(), before);
    QTest::mouseRelease(held, Qt::LeftButton, {}, QPoint(-50, -50)); // elsewhere: not a click
    EXPECT_TRUE(spinUntil([&] { return place(row(2)).y() > before; }, 2s));
}

TEST_F(StraysMergeTest, theFocusOfARowThatIsGoneEndsNobodyElse) {
    for (const size_t column : {0U, 3U}) {
        open({safeItem(1), safeItem(2), safeItem(3)});
        (column == 0U ? infoButton(2) : killButton(2))->setFocus();
        rescan({safeItem(1), safeItem(3)});
        const QWidget* const focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr);
        EXPECT_TRUE(focus->isVisible());
        EXPECT_FALSE(focus->accessibleName().startsWith("Kill")) << focus->accessibleName().toStdString();
        press(Qt::Key_Space);
        spinFor(30ms);
        EXPECT_EQ(killings(), 0U);
        close();
    }
}

TEST_F(StraysMergeTest, theFocusIsNotLostWithTheLastRow) {
    open({safeItem(1)});
    killButton(1)->setFocus();
    rescan({});
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    EXPECT_TRUE(QApplication::focusWidget()->isVisible());
    press(Qt::Key_Escape);
    EXPECT_TRUE(spinUntil([this] { return !window->isVisible(); }, 2s)) << "keys still work";
}

TEST_F(StraysMergeTest, hidingTheFocusedRowKeepsTheKeyboardInTheList) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    hideButton(2)->setFocus();
    press(Qt::Key_Space);
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 3}));
    const QWidget* const focus = QApplication::focusWidget();
    ASSERT_NE(focus, nullptr);
    EXPECT_TRUE(listView()->isAncestorOf(focus));
    EXPECT_FALSE(focus->accessibleName().startsWith("Kill"));
}

} // namespace Vintrel
