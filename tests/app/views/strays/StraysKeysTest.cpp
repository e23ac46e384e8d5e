// The first tab from the keyboard.
#include "tests/app/views/strays/StraysViewTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysKeysTest : public StraysViewTest {
protected:
    [[nodiscard]] static QWidget* focused() { return QApplication::focusWidget(); }

    void expectFocus(const QWidget* widget) const {
        EXPECT_EQ(focused(), widget) << (focused() != nullptr ? focused()->accessibleName().toStdString()
                                                              : std::string("nobody"));
    }

    /// Presses Tab until everybody had the focus; who had it, in order.
    [[nodiscard]] std::vector<QWidget*> tabThrough() const {
        std::vector<QWidget*> visited;
        while (focused() != nullptr && std::ranges::find(visited, focused()) == visited.end()) {
            visited.push_back(focused());
            press(Qt::Key_Tab);
        }
        return visited;
    }
};

TEST_F(StraysKeysTest, arrowsMoveAlongARow) {
    open({safeItem(1), safeItem(2)});
    infoButton(1)->setFocus();
    press(Qt::Key_Right);
    expectFocus(hideButton(1));
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    expectFocus(killButton(1));
    press(Qt::Key_Right);
    expectFocus(killButton(1));
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    expectFocus(hideButton(1));
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    expectFocus(infoButton(1));
}

TEST_F(StraysKeysTest, arrowsMoveAlongARowWithoutALock) {
    open({reviewItem(1)});
    hideButton(1)->setFocus();
    press(Qt::Key_Right);
    expectFocus(killButton(1));
    press(Qt::Key_Left);
    expectFocus(hideButton(1));
}

TEST_F(StraysKeysTest, arrowsMoveFromRowToRow) {
    open({safeItem(1), safeItem(2), reviewItem(3)});
    hideButton(1)->setFocus();
    press(Qt::Key_Down);
    expectFocus(hideButton(2));
    for (int step = 0; step < 3 && focused() != hideButton(3); ++step) {
        press(Qt::Key_Down); // across the headers
    }
    expectFocus(hideButton(3));
    press(Qt::Key_Down);
    expectFocus(hideButton(3));
    for (int step = 0; step < 3 && focused() != hideButton(2); ++step) {
        press(Qt::Key_Up);
    }
    expectFocus(hideButton(2));
    press(Qt::Key_Up);
    expectFocus(hideButton(1));
}

TEST_F(StraysKeysTest, arrowsReachTheGroups) {
    open({safeItem(1), kindItem(2, ProcessKind::npm)});
    infoButton(1)->setFocus();
    press(Qt::Key_Up);
    expectFocus(groupHeader("Vite"));
    press(Qt::Key_Up);
    expectFocus(infoButton(2));
}

TEST_F(StraysKeysTest, arrowsMoveTheFocusedRowIntoView) {
    open(safeItems(60));
    infoButton(1'000)->setFocus();
    for (int step = 0; step < 40; ++step) {
        press(Qt::Key_Down);
    }
    settle();
    const StrayRow* const target = row(1'040);
    expectFocus(infoButton(1'040));
    const QPoint top = target->mapTo(scrollArea()->viewport(), QPoint());
    EXPECT_GE(top.y(), 0);
    EXPECT_LE(top.y() + target->height(), scrollArea()->viewport()->height());
}

TEST_F(StraysKeysTest, enterAndSpacePressAButton) {
    open({safeItem(1), safeItem(2)});
    infoButton(1)->setFocus();
    press(Qt::Key_Space);
    EXPECT_EQ(view->strays().expandedPIDs(), std::unordered_set<int32_t>{1});
    press(Qt::Key_Return);
    EXPECT_TRUE(view->strays().expandedPIDs().empty());
    press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(view->strays().expandedPIDs(), std::unordered_set<int32_t>{1});
    expectFocus(infoButton(1));
}

TEST_F(StraysKeysTest, enterAndSpaceCollapseAGroup) {
    open({safeItem(1), kindItem(2, ProcessKind::npm)});
    GroupHeader* const header = groupHeader("Vite");
    header->setFocus();
    press(Qt::Key_Space);
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
    press(Qt::Key_Return);
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{2, 1}));
    expectFocus(header);
}

TEST_F(StraysKeysTest, killWorksFromTheKeyboard) {
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    killButton(2)->setFocus();
    press(Qt::Key_Return);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
}

TEST_F(StraysKeysTest, aHeldKeyDoesNotEndOneRowAfterTheOther) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    letRowsRest();
    world->found.items = {safeItem(2), safeItem(3)};
    killButton(1)->setFocus();
    press(Qt::Key_Return);
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    for (int repeat = 0; repeat < 5; ++repeat) {
        press(Qt::Key_Return);
        spinFor(10ms);
    }
    EXPECT_EQ(killings(), 1U);
}

TEST_F(StraysKeysTest, cleanAllWorksFromTheKeyboard) {
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    cleanButton()->setFocus();
    press(Qt::Key_Space);
    EXPECT_TRUE(spinUntil([this] { return killings() == 1; }));
}

TEST_F(StraysKeysTest, tabGoesFromTopToBottom) {
    open({safeItem(1), safeItem(2), kindItem(3, ProcessKind::npm), reviewItem(4)});
    QWidget* const first = button(view, "Rescan (restores hidden items)");
    first->setFocus(Qt::TabFocusReason);
    const auto visited = tabThrough();
    for (size_t index = 1; index < visited.size(); ++index) {
        EXPECT_LE(place(visited[index - 1]).y(), place(visited[index]).y() + 20)
            << visited[index - 1]->accessibleName().toStdString() << " before "
            << visited[index]->accessibleName().toStdString();
    }
    for (QWidget* const widget : view->findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) != 0) {
            EXPECT_NE(std::ranges::find(visited, widget), visited.end())
                << widget->metaObject()->className() << " " << widget->accessibleName().toStdString();
        }
    }
    EXPECT_GE(visited.size(), 3U + 1U + 1U + 1U + 3U + 3U * 4U + 3U);
}

TEST_F(StraysKeysTest, tabGoesFromTopToBottomAfterARescanToo) {
    open({safeItem(5), safeItem(7), reviewItem(9)});
    rescan({safeItem(5), safeItem(6), kindItem(2, ProcessKind::npm), reviewItem(8), reviewItem(9)});
    infoButton(2)->setFocus(Qt::TabFocusReason);
    PIDs order;
    for (int step = 0; step < 60; ++step) {
        for (const StrayRow* const each : shown<StrayRow>()) {
            if (each->isAncestorOf(focused()) &&
                std::ranges::find(order, each->row().item.pid) == order.end()) {
                order.push_back(each->row().item.pid);
            }
        }
        press(Qt::Key_Tab);
    }
    EXPECT_EQ(order, (PIDs{2, 5, 6, 8, 9}));
}

} // namespace Vintrel
