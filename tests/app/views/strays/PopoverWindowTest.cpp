// The window around the popover's content.
#include "tests/app/views/strays/StraysViewTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class PopoverWindowTest : public StraysViewTest {
protected:
    [[nodiscard]] bool hasHeight(int height) const {
        return spinUntil([&] { return window->height() == height; }, 2s);
    }
};

TEST_F(PopoverWindowTest, growsAndShrinksWithItsContent) {
    open({safeItem(1), safeItem(2), safeItem(3), safeItem(4)});
    const int four = window->height();
    const int width = window->width();
    rescan({safeItem(1), safeItem(2), safeItem(3), safeItem(4), safeItem(5), safeItem(6)});
    ASSERT_TRUE(spinUntil([&] { return window->height() > four; }, 2s));
    EXPECT_EQ(window->height() - four, place(row(6)).y() - place(row(4)).y()) << "two rows more";
    rescan({safeItem(1), safeItem(2), safeItem(3), safeItem(4)});
    EXPECT_TRUE(hasHeight(four));
    EXPECT_EQ(window->width(), width);
}

TEST_F(PopoverWindowTest, isAtMost640Tall) {
    open(safeItems(30));
    EXPECT_TRUE(hasHeight(640));
    EXPECT_GT(scrollArea()->verticalScrollBar()->maximum(), 0) << "the rest is scrolled to";
    rescan(safeItems(2));
    EXPECT_TRUE(spinUntil([this] { return window->height() < 640; }, 2s));
}

TEST_F(PopoverWindowTest, doesNotScrollWhatFits) {
    open({safeItem(1), reviewItem(2), safeItem(3)});
    EXPECT_LT(window->height(), 640);
    EXPECT_EQ(scrollArea()->verticalScrollBar()->maximum(), 0);
    const StrayRow* const last = row(2);
    EXPECT_LE(place(last).y() + last->height(), window->height());
}

TEST_F(PopoverWindowTest, keepsItsWidth) {
    open({});
    const int width = window->width();
    EXPECT_GE(width, 380);
    EXPECT_LE(width, 480);
    ProcessItem longItem = kindItem(1, ProcessKind::custom);
    longItem.customLabel = std::string(400, 'w');
    rescan({longItem});
    EXPECT_EQ(window->width(), width);
    filter(QString(500, 'x'));
    EXPECT_EQ(window->width(), width);
    view->selectTab(MenuBarView::Tab::cleaned);
    settle();
    EXPECT_EQ(window->width(), width);
    EXPECT_EQ(view->width(), width);
}

TEST_F(PopoverWindowTest, growsWithAnExpandedRow) {
    open({safeItem(1), safeItem(2), safeItem(3)});
    const int before = window->height();
    click(infoButton(1));
    EXPECT_TRUE(spinUntil([&] { return window->height() > before; }, 2s));
    click(infoButton(1));
    EXPECT_TRUE(hasHeight(before));
}

TEST_F(PopoverWindowTest, isCalledVintrel) {
    open({});
    EXPECT_EQ(window->windowTitle(), "Vintrel");
}

TEST_F(PopoverWindowTest, closesWhenTheContentWantsItTo) {
    open({});
    emit view->closeRequested();
    EXPECT_TRUE(spinUntil([this] { return !window->isVisible(); }, 2s));
}

} // namespace Vintrel
