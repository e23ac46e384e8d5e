// What opens the popover and what closes it, and the settings' window.
#include "Vintrel/shell/PopoverPlacement.h"
#include "Vintrel/views/MenuBarView.h"
#include "tests/app/shell/ShellTest.h"

#include <QCursor>
#include <QDialog>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;
using Presence = StatusItem::Presence;

class PopoverToggling : public ShellTest {
protected:
    [[nodiscard]] bool isFrameless() const {
        return popover().windowFlags().testFlag(Qt::FramelessWindowHint);
    }

    [[nodiscard]] bool closes() const {
        return spinUntil([this] { return !isOpen(); }, 5s);
    }

    /// The user turns to a window of another program.
    void turnAway() {
        m_elsewhere.show();
        m_elsewhere.activateWindow();
    }

private:
    QWidget m_elsewhere;
};

} // namespace

TEST_F(PopoverToggling, aClickOpensItAndTheNextClosesIt) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    EXPECT_TRUE(isFrameless());
    click();
    EXPECT_FALSE(isOpen());
    click();
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, opensBesideTheClick) {
    launch();
    const QRect room = popover().screen()->availableGeometry();
    click(QPoint(room.center().x(), room.bottom() - 5));
    const QRect place = popover().geometry();
    EXPECT_TRUE(room.contains(place));
    EXPECT_LT(place.bottom(), room.bottom() - 5 - 11);
    EXPECT_NEAR(place.center().x(), room.center().x(), 2);
}

TEST_F(PopoverToggling, withoutAPlaceOpensBesideTheIcon) {
    launch();
    const QRect room = popover().screen()->availableGeometry();
    item->place = QRect(room.center().x(), 0, 22, 22);
    click(std::nullopt);
    EXPECT_EQ(popover().y(), 22 + PopoverPlacement::margin);
    EXPECT_NEAR(popover().geometry().center().x(), item->place->center().x(), 2);
}

TEST_F(PopoverToggling, keepsItsEdgeAtThePanelAsItGrows) {
    launch();
    const QRect room = popover().screen()->availableGeometry();
    click(QPoint(room.center().x(), room.bottom() - 5));
    waitForScan();
    const QRect before = popover().geometry();
    scan(3, 3);
    ASSERT_TRUE(spinUntil([&] { return popover().height() > before.height(); }, 5s));
    EXPECT_EQ(popover().geometry().bottom(), before.bottom());
    EXPECT_TRUE(room.contains(popover().geometry()));
}

TEST_F(PopoverToggling, goesWhenTheUserTurnsAway) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    turnAway();
    EXPECT_TRUE(closes());
}

TEST_F(PopoverToggling, aClickThatMadeItGoDoesNotBringItBack) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    QCursor::setPos(iconPlace);
    turnAway(); // the press on the panel
    ASSERT_TRUE(closes());
    spinFor(600ms); // a slow hand
    click();        // its release
    EXPECT_FALSE(isOpen());
    click();
    EXPECT_TRUE(isOpen()) << "but the next one does";
}

TEST_F(PopoverToggling, aClickAfterOneElsewhereOpensIt) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    QCursor::setPos(10, 10);
    turnAway();
    ASSERT_TRUE(closes());
    click();
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, aClickLongAfterItWentOpensIt) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    QCursor::setPos(iconPlace);
    turnAway();
    ASSERT_TRUE(closes());
    spinFor(2100ms);
    click();
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, aClickBringsAMinimisedWindowBack) {
    launch();
    item->setPresence(Presence::absent);
    delegate->showPopover();
    popover().showMinimized();
    click();
    EXPECT_TRUE(isOpen());
    EXPECT_FALSE(popover().isMinimized());
}

TEST_F(PopoverToggling, opensOnceItIsKnownWhetherThereIsATray) {
    for (const Presence known : {Presence::shown, Presence::absent}) {
        launch();
        item->setPresence(Presence::unknown);
        delegate->showPopover("token");
        spinFor(20ms);
        EXPECT_FALSE(isOpen());
        item->setPresence(known);
        EXPECT_TRUE(isOpen());
        EXPECT_EQ(isFrameless(), known == Presence::shown);
        popover().close();
        item->setPresence(Presence::shown);
        EXPECT_FALSE(isOpen()) << "once";
    }
}

TEST_F(PopoverToggling, aClickMeanwhileIsAllThatCounts) {
    launch();
    item->setPresence(Presence::unknown);
    delegate->showPopover();
    click();
    EXPECT_TRUE(isOpen());
    click();
    item->setPresence(Presence::shown);
    EXPECT_FALSE(isOpen()) << "it has been closed since";
}

TEST_F(PopoverToggling, doesNotWaitForEverForATray) {
    launch();
    item->setPresence(Presence::unknown);
    delegate->showPopover();
    EXPECT_TRUE(spinUntil([this] { return isOpen(); }));
    EXPECT_FALSE(isFrameless());
}

TEST_F(PopoverToggling, aClickAfterEscapeOpensIt) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    QTest::keyClick(popover().findChild<MenuBarView*>(), Qt::Key_Escape);
    ASSERT_TRUE(closes());
    click();
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, staysWhileADialogOfItsOwnHasTheKeyboard) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    QDialog dialog(&popover());
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(spinUntil([&] { return dialog.isActiveWindow(); }, 5s));
    spinFor(30ms);
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, staysWhileAMenuOfItsOwnIsOpen) {
    launch();
    ASSERT_NO_FATAL_FAILURE(open());
    QMenu menu(&popover());
    menu.addAction("Kill");
    menu.popup(popover().geometry().center());
    ASSERT_TRUE(spinUntil([&] { return menu.isVisible(); }, 5s));
    spinFor(30ms);
    EXPECT_TRUE(isOpen());
    menu.close();
    spinFor(30ms);
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, shownWithATrayStandsBesideTheIcon) {
    launch();
    item->place = QRect(300, 0, 22, 22);
    delegate->showPopover();
    EXPECT_TRUE(isOpen());
    EXPECT_TRUE(isFrameless());
    EXPECT_EQ(popover().y(), 22 + PopoverPlacement::margin);
    delegate->showPopover();
    EXPECT_TRUE(isOpen()) << "it is only brought to the front";
}

TEST_F(PopoverToggling, shownAgainStandsWhereTheIconWasClicked) {
    launch();
    const QRect room = popover().screen()->availableGeometry();
    const QPoint icon(room.center().x(), room.bottom() - 5);
    click(icon);
    const QPoint place = popover().geometry().bottomLeft();
    click(icon);
    delegate->showPopover("token");
    EXPECT_EQ(popover().geometry().bottomLeft(), place);
}

TEST_F(PopoverToggling, withoutATrayIsAWindow) {
    launch();
    item->setPresence(Presence::absent);
    delegate->showPopover();
    EXPECT_TRUE(isOpen());
    EXPECT_FALSE(isFrameless());
    turnAway();
    spinFor(50ms);
    EXPECT_TRUE(isOpen()) << "a window stays when the user turns to another one";
}

TEST_F(PopoverToggling, isAWindowOrNotAsTheTrayComesAndGoes) {
    launch();
    item->setPresence(Presence::absent);
    delegate->showPopover();
    const QSize asWindow = popover().size();
    popover().close();
    item->setPresence(Presence::shown);
    click();
    EXPECT_TRUE(isFrameless());
    EXPECT_EQ(popover().width(), asWindow.width() + 2) << "the content is as wide as before";
    click();
    item->setPresence(Presence::absent);
    delegate->showPopover();
    EXPECT_FALSE(isFrameless());
    EXPECT_EQ(popover().width(), asWindow.width());
}

TEST_F(PopoverToggling, aClickOnANotificationOpensIt) {
    launch();
    emit notifications.activated("token");
    EXPECT_TRUE(isOpen());
}

TEST_F(PopoverToggling, theMenuOpensItAndQuits) {
    launch();
    emit item->openRequested({});
    EXPECT_TRUE(isOpen());
    bool hasEnded = false;
    QTimer::singleShot(0, item, [this] { emit item->quitRequested(); });
    QTimer::singleShot(10s, item, [] { QCoreApplication::exit(1); });
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, item, [&] { hasEnded = true; });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(hasEnded);
}

TEST_F(PopoverToggling, theSettingsAreOneWindowCentredAtFirst) {
    launch();
    delegate->openSettings();
    const auto all = windows("Vintrel Settings");
    ASSERT_EQ(all.size(), 1U);
    QWidget* const settings = all.front();
    EXPECT_EQ(settings->size(), QSize(360, 620).boundedTo(settings->screen()->availableSize()));
    const QPoint middle = settings->screen()->availableGeometry().center();
    EXPECT_NEAR(settings->geometry().center().x(), middle.x(), 2);
    EXPECT_NEAR(settings->geometry().center().y(), middle.y(), 2);

    settings->move(10, 20);
    settings->close();
    delegate->openSettings();
    EXPECT_EQ(windows("Vintrel Settings"), all);
    EXPECT_TRUE(settings->isVisible());
    EXPECT_EQ(settings->pos(), QPoint(10, 20)) << "it stays where the user has put it";
}

} // namespace Vintrel
