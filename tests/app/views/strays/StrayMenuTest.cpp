// The context menu of a row.
#include "Vintrel/views/StrayMenu.h"

#include "tests/app/views/strays/StraysModelTest.h"
#include "tests/app/views/strays/StraysViewTest.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <gtest/gtest.h>

namespace Vintrel {

class StrayMenuTest : public StraysModelTest {
protected:
    /// The items of the menu of the one row that there is.
    [[nodiscard]] std::vector<QAction*> menu(const ProcessItem& item) {
        m_menu.reset(StrayMenu::make(model(), item, &m_parent));
        std::vector<QAction*> actions;
        for (QAction* const action : m_menu->actions()) {
            if (!action->isSeparator()) {
                actions.push_back(action);
            }
        }
        return actions;
    }

    [[nodiscard]] static std::string clipboard() { return QApplication::clipboard()->text().toStdString(); }

private:
    QWidget m_parent;
    std::unique_ptr<QMenu> m_menu;
};

TEST_F(StrayMenuTest, hasFourItemsInOneOrder) {
    world->found.cwds = {{4'242, cwdOf("~/work/shop")}};
    list({safeItem(4'242)});
    const auto actions = menu(safeItem(4'242));
    ASSERT_EQ(actions.size(), 4U);
    EXPECT_EQ(actions[0]->text(), "Copy command line");
    EXPECT_EQ(actions[1]->text(), "Copy PID");
    EXPECT_EQ(actions[2]->text(), "Copy `kill 4242`");
    EXPECT_EQ(actions[3]->text(), "Reveal working directory in File Manager");
    for (const QAction* const action : actions) {
        EXPECT_TRUE(action->isEnabled());
    }
}

TEST_F(StrayMenuTest, copiesTheWholeCommand) {
    ProcessItem item = safeItem(1);
    item.command = "node /srv/ä/server.js --name 'a b' " + std::string(5'000, 'x') + " end";
    list({item});
    menu(item)[0]->trigger();
    EXPECT_EQ(clipboard(), item.command);
}

TEST_F(StrayMenuTest, copiesThePid) {
    list({safeItem(1'234'567)});
    menu(safeItem(1'234'567))[1]->trigger();
    EXPECT_EQ(clipboard(), "1234567");
}

TEST_F(StrayMenuTest, copiesTheCommandThatEndsIt) {
    list({safeItem(4'242)});
    menu(safeItem(4'242))[2]->trigger();
    EXPECT_EQ(clipboard(), "kill 4242");
    EXPECT_EQ(killings(), 0U);
}

TEST_F(StrayMenuTest, revealsTheWorkingDirectoryAndNotTheProject) {
    world->found.cwds = {
        {1, {.label = "shop/web", .fullPath = "~/work/shop/web", .projectRoot = "~/work/shop"}}};
    list({safeItem(1)});
    menu(safeItem(1))[3]->trigger();
    EXPECT_EQ(fileBrowser.revealed, Texts{home().string() + "/work/shop/web"});
}

TEST_F(StrayMenuTest, doesNotRevealWhatIsUnknown) {
    list({safeItem(1)});
    for (QAction* const action : menu(safeItem(1))) {
        if (action->text().startsWith("Reveal")) {
            EXPECT_FALSE(action->isEnabled() && action->isVisible());
            action->trigger();
        }
    }
    EXPECT_TRUE(fileBrowser.revealed.empty());
}

TEST_F(StrayMenuTest, goesByTheItemAlsoWhenItIsGone) {
    list({safeItem(1)});
    const auto actions = menu(safeItem(1));
    list({});
    actions[0]->trigger();
    EXPECT_EQ(clipboard(), safeItem(1).command);
}

class StrayMenuOfARow : public StraysViewTest {
protected:
    [[nodiscard]] static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
};

TEST_F(StrayMenuOfARow, opensUnderThePointer) {
    open({safeItem(1), safeItem(2)});
    StrayRow* const target = row(2);
    const QPoint middle = target->rect().center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, middle, target->mapToGlobal(middle));
    QApplication::sendEvent(target, &event);
    ASSERT_TRUE(spinUntil([] { return openMenu() != nullptr; }, 5s));
    openMenu()->actions().at(1)->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "2");
    openMenu()->close();
}

TEST_F(StrayMenuOfARow, opensFromTheKeyboard) {
    open({safeItem(1), safeItem(2)});
    QAbstractButton* const focus = hideButton(2);
    focus->setFocus();
    QContextMenuEvent event(QContextMenuEvent::Keyboard, focus->rect().center(),
                            focus->mapToGlobal(focus->rect().center()));
    QApplication::sendEvent(focus, &event);
    ASSERT_TRUE(spinUntil([] { return openMenu() != nullptr; }, 5s));
    openMenu()->actions().at(1)->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "2");
    openMenu()->close();
}

TEST_F(StrayMenuOfARow, outlivesTheRow) {
    open({safeItem(1), safeItem(2)});
    StrayRow* const target = row(2);
    QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, target->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(target, &event);
    ASSERT_TRUE(spinUntil([] { return openMenu() != nullptr; }, 5s));
    rescan({safeItem(1)});
    rescan({safeItem(1)});
    ASSERT_NE(openMenu(), nullptr);
    openMenu()->actions().at(1)->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "2");
    openMenu()->close();
}

TEST_F(StrayMenuOfARow, isNotKeptAfterItHasClosed) {
    open({safeItem(1)});
    StrayRow* const target = row(1);
    QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, target->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(target, &event);
    ASSERT_TRUE(spinUntil([] { return openMenu() != nullptr; }, 5s));
    const QPointer<QMenu> menu = openMenu();
    menu->close();
    EXPECT_TRUE(spinUntil([&] { return menu.isNull(); }, 5s));
}

} // namespace Vintrel
