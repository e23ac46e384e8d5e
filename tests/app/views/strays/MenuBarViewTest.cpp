// The header of the popover, and its tabs.
#include "Vintrel/views/CleanedView.h"
#include "Vintrel/views/parts/TabPicker.h"
#include "tests/app/views/strays/StraysViewTest.h"

#include <QTimer>
#include <gtest/gtest.h>

namespace Vintrel {

using Tab = MenuBarView::Tab;

class MenuBarViewTest : public StraysViewTest {
protected:
    [[nodiscard]] TabPicker* tabs() const { return view->findChild<TabPicker*>(); }

    [[nodiscard]] IconButton* headerButton(const QString& name) const {
        return qobject_cast<IconButton*>(button(view, name));
    }

    void expectRefresh(const QString& help) const {
        IconButton* const refresh = headerButton(help);
        EXPECT_EQ(refresh->symbolName(), "arrow.clockwise");
        EXPECT_EQ(refresh->toolTip(), help);
        EXPECT_TRUE(refresh->isEnabled());
    }

    void choose(Tab tab) const {
        tabs()->setCurrentIndex(static_cast<int>(tab));
        settle();
        EXPECT_EQ(view->selectedTab(), tab);
    }
};

TEST_F(MenuBarViewTest, hasItsTitleAndThreeButtons) {
    open({});
    EXPECT_EQ(texts().front(), "Vintrel");
    const QAbstractButton* const refresh = headerButton("Rescan (restores hidden items)");
    IconButton* const settings = headerButton("Settings");
    IconButton* const quit = headerButton("Quit Vintrel");
    EXPECT_EQ(settings->toolTip(), "Settings");
    EXPECT_EQ(quit->toolTip(), "Quit Vintrel");
    EXPECT_EQ(quit->symbolName(), "power");
    EXPECT_LT(place(refresh).x(), place(settings).x());
    EXPECT_LT(place(settings).x(), place(quit).x());
    EXPECT_EQ(place(refresh).y(), place(quit).y());
    EXPECT_LT(place(quit).y(), place(tabs()).y());
}

TEST_F(MenuBarViewTest, opensTheSettings) {
    open({});
    click(headerButton("Settings"));
    EXPECT_EQ(settingsOpened, 1);
}

TEST_F(MenuBarViewTest, endsTheApplication) {
    open({});
    constexpr int asked = 0;
    constexpr int tooLate = 3;
    QTimer::singleShot(10s, view, [] { QApplication::exit(tooLate); });
    QTimer::singleShot(0, view, [this] { click(headerButton("Quit Vintrel")); });
    EXPECT_EQ(QApplication::exec(), asked);
}

TEST_F(MenuBarViewTest, hasThreeTabsInOneOrder) {
    open({});
    ASSERT_EQ(tabs()->count(), 3);
    EXPECT_EQ(tabs()->tabText(0), "Processes");
    EXPECT_EQ(tabs()->tabText(1), "Containers");
    EXPECT_EQ(tabs()->tabText(2), "Cleaned");
    EXPECT_EQ(tabs()->currentIndex(), 0);
    EXPECT_EQ(view->selectedTab(), Tab::processes);
}

TEST_F(MenuBarViewTest, showsTheChosenTabOnly) {
    open({safeItem(1)});
    EXPECT_TRUE(search()->isVisible());
    choose(Tab::containers);
    EXPECT_FALSE(search()->isVisible());
    EXPECT_TRUE(view->findChild<ContainersView*>()->isVisible());
    choose(Tab::cleaned);
    EXPECT_FALSE(view->findChild<ContainersView*>()->isVisible());
    EXPECT_TRUE(view->findChild<CleanedView*>()->isVisible());
    choose(Tab::processes);
    EXPECT_TRUE(search()->isVisible());
    EXPECT_EQ(shownPIDs(), PIDs{1});
}

TEST_F(MenuBarViewTest, aTabCanBeChosenForTheUser) {
    open({});
    view->selectTab(Tab::cleaned);
    EXPECT_EQ(tabs()->currentIndex(), 2);
    EXPECT_EQ(view->selectedTab(), Tab::cleaned);
}

TEST_F(MenuBarViewTest, theTabsKeepWhatTheUserDid) {
    open({safeItem(1), safeItem(2)});
    filter("p2/");
    choose(Tab::cleaned);
    choose(Tab::processes);
    EXPECT_EQ(search()->text(), "p2/");
    EXPECT_EQ(shownPIDs(), PIDs{2});
}

TEST_F(MenuBarViewTest, refreshingProcessesBringsHiddenOnesBack) {
    enableNotifications();
    open({safeItem(1), safeItem(2)});
    click(hideButton(1));
    settle();
    EXPECT_EQ(shownPIDs(), PIDs{2});
    expectRefresh("Rescan (restores hidden items)");
    const size_t scans = scansBegun();
    click(headerButton("Rescan (restores hidden items)"));
    ASSERT_TRUE(spinUntil([&] { return scansBegun() > scans; }));
    waitForScan();
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2}));
    expectPosted({});
}

TEST_F(MenuBarViewTest, refreshingContainersAsksForThem) {
    open({});
    choose(Tab::containers);
    expectRefresh("Refresh containers");
    const size_t scans = scansBegun();
    const int token = view->containerRefreshToken();
    click(headerButton("Refresh containers"));
    click(headerButton("Refresh containers"));
    EXPECT_EQ(view->containerRefreshToken(), token + 2);
    settle();
    EXPECT_EQ(scansBegun(), scans);
}

TEST_F(MenuBarViewTest, thereIsNothingToRefreshInTheLog) {
    open({});
    choose(Tab::cleaned);
    IconButton* const refresh = headerButton("Nothing to refresh");
    EXPECT_EQ(refresh->toolTip(), "Nothing to refresh");
    const size_t scans = scansBegun();
    const int token = view->containerRefreshToken();
    click(refresh);
    settle();
    EXPECT_EQ(scansBegun(), scans);
    EXPECT_EQ(view->containerRefreshToken(), token);
}

TEST_F(MenuBarViewTest, showsThatAScanIsUnderWay) {
    open({safeItem(1)});
    IconButton* const refresh = headerButton("Rescan (restores hidden items)");
    const QImage before = refresh->grab().toImage();
    beginScan({safeItem(1)});
    settle();
    EXPECT_NE(refresh->grab().toImage(), before);
    EXPECT_TRUE(refresh->isVisible());
    finishScan();
    EXPECT_TRUE(spinUntil([&] { return refresh->grab().toImage() == before; }, 2s));
}

TEST_F(MenuBarViewTest, everyOpeningScans) {
    open({safeItem(1)});
    EXPECT_EQ(scansBegun(), 1U);
    window->close();
    settle();
    world->found.items = {safeItem(1), safeItem(2)};
    window->present();
    ASSERT_TRUE(spinUntil([this] { return scansBegun() == 2; }));
    waitForScan();
    settle();
    EXPECT_EQ(shownPIDs(), (PIDs{1, 2}));
}

TEST_F(MenuBarViewTest, anotherOpeningKeepsWhatTheUserDid) {
    open({safeItem(1), safeItem(2)});
    click(infoButton(2));
    filter("vite");
    window->close();
    settle();
    window->present();
    waitForScan();
    settle();
    EXPECT_EQ(search()->text(), "vite");
    EXPECT_TRUE(row(2)->row().reasoning);
}

} // namespace Vintrel
