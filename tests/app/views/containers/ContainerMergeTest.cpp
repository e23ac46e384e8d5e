// A fresh list is merged into the rows there are.
#include "tests/app/views/containers/ContainersTest.h"

#include <set>

#include <QEvent>
#include <QScrollBar>

namespace Vintrel {

using namespace std::chrono_literals;

namespace {

/// Counts what is painted within a widget.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) {
        widget->installEventFilter(this);
        for (QWidget* const child : widget->findChildren<QWidget*>()) {
            child->installEventFilter(this);
        }
    }

    [[nodiscard]] int count() const { return m_count; }

    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        m_count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

private:
    int m_count = 0;
};

} // namespace

class ContainerMergeTest : public ContainersTest {
protected:
    void focus(const std::string& name, ContainerAction action) const { button(name, action)->setFocus(); }

    /// Presses a button, and holds it.
    void press(const std::string& name, ContainerAction action) const {
        QTest::mousePress(button(name, action), Qt::LeftButton);
    }

    const Containers abc{container("a"), container("b"), container("c")};
};

TEST_F(ContainerMergeTest, theSameContainersKeepTheirRows) {
    show(abc);
    const std::vector<ContainerRow*> before = rows();
    refresh(abc);
    EXPECT_EQ(rows(), before);
}

TEST_F(ContainerMergeTest, aRowShowsItsNewTexts) {
    show(abc);
    ContainerRow* const b = row("b");
    Container later = container("b");
    later.status = "Up 3 hours";
    later.image = "other";
    refresh({container("a"), later, container("c")});
    EXPECT_EQ(row("b"), b);
    EXPECT_EQ(texts(), (Texts{"a", "a-image", "Up 2 hours", "b", "other", "Up 3 hours", "c", "c-image",
                              "Up 2 hours"}));
    EXPECT_EQ(b->accessibleName(), "b, image other, Up 3 hours");
}

TEST_F(ContainerMergeTest, nothingUnchangedIsRepainted) {
    show(abc);
    spinFor(50ms);
    const PaintCounter a(row("a"));
    const PaintCounter b(row("b"));
    Container later = container("b");
    later.status = "Up 3 hours";
    refresh({container("a"), later, container("c")});
    ASSERT_TRUE(spinUntil([&b] { return b.count() > 0; }));
    spinFor(50ms);
    EXPECT_EQ(a.count(), 0);
}

TEST_F(ContainerMergeTest, rowsComeAndGo) {
    show(abc);
    ContainerRow* const c = row("c");
    refresh({container("new"), container("c"), container("a")});
    EXPECT_EQ(names(), (Texts{"new", "c", "a"}));
    EXPECT_EQ(row("c"), c);
    EXPECT_TRUE(row("new")->isVisible());
    spinFor(1ms);
    EXPECT_EQ(view->findChildren<ContainerRow*>().size(), 3) << "the row that went is deleted";
}

TEST_F(ContainerMergeTest, aRowMovesIntoAProject) {
    show(abc);
    ContainerRow* const b = row("b");
    refresh({container("a"), container("b", "shop"), container("c")});
    EXPECT_EQ(row("b"), b);
    EXPECT_EQ(names(), (Texts{"b", "a", "c"}));
    EXPECT_EQ(texts().front(), "shop (1)");
}

TEST_F(ContainerMergeTest, aHeaderCountsAgainAndGoesWithItsLastContainer) {
    show({container("a", "shop"), container("b", "shop"), container("c")});
    refresh({container("a", "shop"), container("c")});
    EXPECT_EQ(texts().front(), "shop (1)");
    refresh({container("c")});
    EXPECT_EQ(texts(), (Texts{"c", "c-image", "Up 2 hours"}));
}

TEST_F(ContainerMergeTest, theFocusStays) {
    show(abc);
    focus("b", ContainerAction::stop);
    refresh({container("c"), container("new"), container("b", "shop")});
    EXPECT_EQ(focused(), button("b", ContainerAction::stop));
}

TEST_F(ContainerMergeTest, theFocusGoesToTheRowThatTakesThePlace) {
    show(abc);
    focus("b", ContainerAction::stop);
    refresh({container("a"), container("c")});
    EXPECT_EQ(focused(), row("c")) << "and not to its button: another Enter must not stop a neighbour";
}

TEST_F(ContainerMergeTest, theFocusOfTheLastRowGoesToTheNewLastOne) {
    show(abc);
    focus("c", ContainerAction::remove);
    refresh({container("a"), container("b")});
    EXPECT_EQ(focused(), row("b"));
}

TEST_F(ContainerMergeTest, theFocusOutsideStaysOutside) {
    show(abc);
    QWidget other(view.get());
    other.show();
    other.setFocusPolicy(Qt::StrongFocus);
    other.setFocus();
    refresh({container("a")});
    EXPECT_EQ(focused(), &other);
}

TEST_F(ContainerMergeTest, nothingHasTheFocusOfAListThatIsGone) {
    show(abc);
    focus("a", ContainerAction::stop);
    refresh({});
    ASSERT_TRUE(spinUntil([this] { return view->findChildren<ContainerRow*>().isEmpty(); }));
    EXPECT_FALSE(focused() != nullptr && focused()->inherits("Vintrel::IconButton"));
}

TEST_F(ContainerMergeTest, thePlaceInTheListStays) {
    Containers many;
    for (int number = 0; number < 40; ++number) {
        many.push_back(container("c" + std::to_string(number)));
    }
    show(many);
    QScrollBar* const bar = view->findChild<ContainerList*>()->verticalScrollBar();
    bar->setValue(700);
    many[20].status = "Up 3 hours";
    refresh(many);
    EXPECT_EQ(bar->value(), 700);
    many.push_back(container("last"));
    refresh(many);
    EXPECT_EQ(bar->value(), 700);
}

TEST_F(ContainerMergeTest, nothingMovesWhileAButtonIsHeld) {
    show(abc);
    press("b", ContainerAction::stop);
    refresh({container("c"), container("b")});
    EXPECT_EQ(names(), (Texts{"a", "b", "c"}));
    EXPECT_EQ(view->containers().size(), 2U);
    QTest::mouseRelease(button("b", ContainerAction::stop), Qt::LeftButton);
    EXPECT_EQ(prepared.asked().back(), "stop id-b");
    ASSERT_TRUE(spinUntil([this] { return rows().size() == 2; }));
    spinFor(1ms);
    EXPECT_EQ(names(), (Texts{"c", "b"}));
    EXPECT_FALSE(isEnabled("b"));
}

TEST_F(ContainerMergeTest, aClickOnARowThatHasJustMovedDoesNothing) {
    show(abc);
    view->reload();
    const Texts before = prepared.asked();
    prepared.lists.back().answer({container("b"), container("c")});
    QTest::mouseClick(button("b", ContainerAction::remove), Qt::LeftButton);
    EXPECT_EQ(prepared.asked(), before) << "the pointer was at the row that stood there before";
    spinFor(300ms);
    QTest::mouseClick(button("b", ContainerAction::remove), Qt::LeftButton);
    EXPECT_EQ(prepared.asked().back(), "remove id-b");
}

TEST_F(ContainerMergeTest, aKeyMeansTheButtonWithTheFocusWhereverItStands) {
    show(abc);
    focus("b", ContainerAction::stop);
    refresh({container("b"), container("c")});
    QTest::keyClick(button("b", ContainerAction::stop), Qt::Key_Space);
    EXPECT_EQ(prepared.asked().back(), "stop id-b");
}

TEST_F(ContainerMergeTest, aRowThatWentMeanwhileStaysUntilTheButtonIsLetGo) {
    show(abc);
    press("b", ContainerAction::stop);
    refresh({});
    EXPECT_EQ(names(), (Texts{"a", "b", "c"}));
    // Let go beside the button: no click.
    QTest::mouseRelease(button("b", ContainerAction::stop), Qt::LeftButton, {}, {-50, -50});
    ASSERT_TRUE(spinUntil([this] { return rows().empty(); }));
    EXPECT_EQ(prepared.asked(), (Texts{"list", "list"}));
    spinFor(1ms);
    EXPECT_EQ(texts(), Texts{"No running containers."});
}

TEST_F(ContainerMergeTest, twoContainersOfOneIdAreBothShown) {
    show({container("a"), container("a"), container("b")});
    EXPECT_EQ(names(), (Texts{"a", "a", "b"}));
    refresh({container("a"), container("b")});
    EXPECT_EQ(names(), (Texts{"a", "b"}));
}

} // namespace Vintrel
