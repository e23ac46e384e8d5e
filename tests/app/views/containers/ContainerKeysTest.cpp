// The containers tab from the keyboard.
#include "tests/app/views/containers/ContainersTest.h"

#include <QKeyEvent>

namespace Vintrel {

class ContainerKeysTest : public ContainersTest {
protected:
    void showThree() { show({container("a", "shop"), container("b", "shop"), container("c")}); }

    void focus(const std::string& name, ContainerAction action) const { button(name, action)->setFocus(); }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        ASSERT_NE(focused(), nullptr);
        QTest::keyClick(focused(), key, modifiers);
    }

    void expectFocus(const std::string& name, ContainerAction action) const {
        EXPECT_EQ(focused(), button(name, action));
    }
};

TEST_F(ContainerKeysTest, arrowsMoveAlongARow) {
    showThree();
    focus("a", ContainerAction::restart);
    press(Qt::Key_Right);
    expectFocus("a", ContainerAction::stop);
    press(Qt::Key_Right);
    expectFocus("a", ContainerAction::remove);
    press(Qt::Key_Right);
    expectFocus("a", ContainerAction::remove);
    press(Qt::Key_Left);
    expectFocus("a", ContainerAction::stop);
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    expectFocus("a", ContainerAction::restart);
}

TEST_F(ContainerKeysTest, arrowsMoveDownAColumn) {
    showThree();
    focus("a", ContainerAction::stop);
    press(Qt::Key_Down);
    expectFocus("b", ContainerAction::stop);
    press(Qt::Key_Down);
    expectFocus("c", ContainerAction::stop);
    press(Qt::Key_Down);
    expectFocus("c", ContainerAction::stop);
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    expectFocus("a", ContainerAction::stop);
}

TEST_F(ContainerKeysTest, arrowsOfTheKeypadDoToo) {
    showThree();
    focus("a", ContainerAction::stop);
    press(Qt::Key_Down, Qt::KeypadModifier);
    expectFocus("b", ContainerAction::stop);
}

TEST_F(ContainerKeysTest, arrowsWithControlAreForOthers) {
    showThree();
    focus("a", ContainerAction::restart);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_F, Qt::ControlModifier);
    EXPECT_FALSE(row("a")->eventFilter(focused(), &key));
    QKeyEvent arrow(QEvent::KeyPress, Qt::Key_Down, Qt::ControlModifier);
    EXPECT_FALSE(row("a")->eventFilter(focused(), &arrow));
    expectFocus("a", ContainerAction::restart);
}

TEST_F(ContainerKeysTest, arrowsFollowTheWritingDirection) {
    showThree();
    view->setLayoutDirection(Qt::RightToLeft);
    focus("a", ContainerAction::restart);
    press(Qt::Key_Left);
    expectFocus("a", ContainerAction::stop);
    press(Qt::Key_Right);
    expectFocus("a", ContainerAction::restart);
}

TEST_F(ContainerKeysTest, theButtonsStandAtTheTrailingEdge) {
    showThree();
    EXPECT_GT(button("a", ContainerAction::remove)->x(), button("a", ContainerAction::restart)->x());
    view->setLayoutDirection(Qt::RightToLeft);
    spinFor(std::chrono::milliseconds(1));
    EXPECT_LT(button("a", ContainerAction::remove)->x(), button("a", ContainerAction::restart)->x());
    EXPECT_LT(button("a", ContainerAction::restart)->x(), 200);
}

TEST_F(ContainerKeysTest, theRowWithTheFocusIsBroughtIntoView) {
    Containers many;
    for (int number = 0; number < 40; ++number) {
        many.push_back(container("c" + std::to_string(number)));
    }
    show(many);
    focus("c0", ContainerAction::stop);
    for (int step = 0; step < 20; ++step) {
        press(Qt::Key_Down);
    }
    expectFocus("c20", ContainerAction::stop);
    const ContainerRow* const shown = row("c20");
    EXPECT_GE(shown->mapTo(view.get(), QPoint()).y(), 0);
    EXPECT_LE(shown->mapTo(view.get(), QPoint(0, shown->height())).y(), view->height());
}

TEST_F(ContainerKeysTest, tabGoesAsTheRowsRead) {
    showThree();
    refresh({container("c"), container("new", "shop"), container("a", "shop")});
    ASSERT_EQ(names(), (Texts{"new", "a", "c"}));
    focus("new", ContainerAction::restart);
    for (const std::string& name : names()) {
        for (const auto action : {ContainerAction::restart, ContainerAction::stop, ContainerAction::remove}) {
            expectFocus(name, action);
            press(Qt::Key_Tab);
        }
    }
    expectFocus("new", ContainerAction::restart);
}

TEST_F(ContainerKeysTest, everyKeyOfAButtonWorks) {
    showThree();
    focus("a", ContainerAction::restart);
    press(Qt::Key_Return);
    focus("b", ContainerAction::stop);
    press(Qt::Key_Enter, Qt::KeypadModifier);
    focus("c", ContainerAction::remove);
    press(Qt::Key_Space);
    EXPECT_EQ(prepared.asked(), (Texts{"list", "restart id-a", "stop id-b", "remove id-c"}));
}

TEST_F(ContainerKeysTest, aBusyRowKeepsTheFocus) {
    showThree();
    focus("b", ContainerAction::stop);
    press(Qt::Key_Return);
    EXPECT_EQ(focused(), row("b"));
    press(Qt::Key_Return);
    EXPECT_EQ(prepared.lists.size(), 2U) << "its buttons are disabled";
    prepared.lists.back().answer(view->containers());
    expectFocus("b", ContainerAction::stop);
}

TEST_F(ContainerKeysTest, aRowThatWasClickedKeepsTheFocusToo) {
    showThree();
    QTest::mouseClick(button("b", ContainerAction::remove), Qt::LeftButton);
    EXPECT_EQ(focused(), row("b"));
    prepared.lists.back().answer({container("a", "shop"), container("c")});
    EXPECT_EQ(focused(), row("c")) << "whose buttons must not take another Enter";
}

TEST_F(ContainerKeysTest, arrowsPassThroughABusyRow) {
    showThree();
    QTest::mouseClick(button("b", ContainerAction::remove), Qt::LeftButton);
    focus("a", ContainerAction::stop);
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), row("b"));
    press(Qt::Key_Down);
    expectFocus("c", ContainerAction::stop);
    press(Qt::Key_Up);
    prepared.lists.back().answer(view->containers());
    expectFocus("b", ContainerAction::stop);
}

TEST_F(ContainerKeysTest, tabPassesThroughABusyRow) {
    showThree();
    QTest::mouseClick(button("b", ContainerAction::remove), Qt::LeftButton);
    focus("a", ContainerAction::remove);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), row("b"));
    press(Qt::Key_Tab);
    expectFocus("c", ContainerAction::restart);
}

} // namespace Vintrel
