// Keys that do the same wherever the focus is.
#include "Vintrel/views/parts/TabPicker.h"
#include "tests/app/views/strays/StraysViewTest.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace Vintrel {

class StraysShortcutsTest : public StraysViewTest {
protected:
    [[nodiscard]] static QWidget* focused() { return QApplication::focusWidget(); }

    void endsNothing() {
        spinFor(50ms);
        EXPECT_EQ(killings(), 0U);
    }
};

TEST_F(StraysShortcutsTest, controlFGoesToTheFilter) {
    open({safeItem(1)});
    hideButton(1)->setFocus();
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(focused(), search());
    filter("p1");
    hideButton(1)->setFocus();
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(focused(), search());
    EXPECT_EQ(search()->text(), "p1");
    QTest::keyClicks(search(), "x");
    EXPECT_EQ(search()->text(), "x") << "what is typed replaces what was looked for";
}

TEST_F(StraysShortcutsTest, controlFComesFromOtherTabsToo) {
    open({safeItem(1)});
    view->selectTab(MenuBarView::Tab::cleaned);
    settle();
    view->findChild<TabPicker*>()->setFocus();
    press(Qt::Key_F, Qt::ControlModifier);
    settle();
    EXPECT_EQ(view->selectedTab(), MenuBarView::Tab::processes);
    EXPECT_EQ(focused(), search());
}

TEST_F(StraysShortcutsTest, escapeClearsTheFilterAndThenCloses) {
    open({safeItem(1), safeItem(2)});
    const QSignalSpy closing(view, &MenuBarView::closeRequested);
    search()->setFocus();
    QTest::keyClicks(search(), "p2/");
    settle();
    press(Qt::Key_Escape);
    settle();
    EXPECT_EQ(search()->text(), "");
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2}));
    EXPECT_EQ(closing.count(), 0);
    EXPECT_TRUE(window->isVisible());
    press(Qt::Key_Escape);
    EXPECT_EQ(closing.count(), 1);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(StraysShortcutsTest, escapeClearsTheFilterFromARowToo) {
    open({safeItem(1), safeItem(2)});
    filter("p2/");
    hideButton(2)->setFocus();
    press(Qt::Key_Escape);
    settle();
    EXPECT_EQ(search()->text(), "");
    EXPECT_TRUE(window->isVisible());
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(StraysShortcutsTest, escapeClosesFromOtherTabs) {
    open({safeItem(1)});
    filter("p1");
    view->selectTab(MenuBarView::Tab::cleaned);
    settle();
    view->findChild<TabPicker*>()->setFocus();
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible()) << "the filter is not to be seen there";
}

TEST_F(StraysShortcutsTest, theShortcutEndsTheOnlySafeItem) {
    open({safeItem(1), reviewItem(2)});
    letRowsRest();
    infoButton(2)->setFocus();
    press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(1)});
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
}

TEST_F(StraysShortcutsTest, theShortcutHonoursTheFilter) {
    open({safeItem(1), safeItem(2)});
    filter("p2/");
    letRowsRest();
    infoButton(2)->setFocus();
    press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(2)});
}

TEST_F(StraysShortcutsTest, theShortcutIsDeadInTheTextField) {
    open({safeItem(1)});
    letRowsRest();
    search()->setFocus();
    press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
    endsNothing();
    EXPECT_EQ(search()->text(), "");
}

TEST_F(StraysShortcutsTest, theShortcutIsDeadWithTwoSafeItems) {
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    infoButton(1)->setFocus();
    press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
    endsNothing();
}

TEST_F(StraysShortcutsTest, theShortcutIsDeadOnOtherTabs) {
    open({safeItem(1)});
    letRowsRest();
    view->selectTab(MenuBarView::Tab::cleaned);
    settle();
    view->findChild<TabPicker*>()->setFocus();
    press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
    endsNothing();
}

TEST_F(StraysShortcutsTest, otherKeysOfTheShortcutAreNothing) {
    open({safeItem(1)});
    letRowsRest();
    infoButton(1)->setFocus();
    press(Qt::Key_K);
    press(Qt::Key_K, Qt::ControlModifier);
    press(Qt::Key_K, Qt::ShiftModifier);
    press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier);
    endsNothing();
}

} // namespace Vintrel
