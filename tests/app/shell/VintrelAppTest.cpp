// What the program shows unasked, and when it ends by itself.
#include "Vintrel/shell/VintrelApp.h"

#include "Vintrel/shell/StartRequest.h"
#include "tests/app/shell/ShellTest.h"

#include <optional>

#include <QApplication>
#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;
using Presence = StatusItem::Presence;

class VintrelAppTest : public ShellTest {
protected:
    void start(const StartRequest& request, Presence presence) {
        app.emplace(services(), world.sources(), noContainers());
        item->setPresence(presence);
        if (request.isToShow) {
            app->appDelegate().showPopover();
        }
        app->follow(request);
    }

    [[nodiscard]] PopoverWindow& window() { return app->appDelegate().popover(); }

    /// Whether the program ends when this is done within its event loop.
    template <typename Action>
    bool endsAfter(Action action) {
        constexpr int goesOn = 7;
        QTimer::singleShot(0, &*app, action);
        QTimer::singleShot(300ms, &*app, [] { QCoreApplication::exit(goesOn); });
        return QApplication::exec() != goesOn;
    }

    bool endsWithItsWindow() {
        return endsAfter([this] { window().close(); });
    }

    std::optional<VintrelApp> app;
};

} // namespace

TEST_F(VintrelAppTest, startedForItsWindowEndsWithItWhereThereIsNoTray) {
    start({.isToShow = true}, Presence::absent);
    ASSERT_TRUE(window().isVisible());
    EXPECT_TRUE(endsWithItsWindow());
}

TEST_F(VintrelAppTest, startedForItsWindowGoesOnInATray) {
    start({.isToShow = true}, Presence::shown);
    ASSERT_TRUE(window().isVisible());
    EXPECT_FALSE(endsWithItsWindow());
}

TEST_F(VintrelAppTest, aTrayThatCameLaterCountsToo) {
    start({.isToShow = true}, Presence::absent);
    item->setPresence(Presence::shown);
    EXPECT_FALSE(endsWithItsWindow());
}

TEST_F(VintrelAppTest, endsWithTheWindowThatFollowedThePopover) {
    start({.isToShow = true}, Presence::shown);
    window().close();
    item->setPresence(Presence::absent);
    app->appDelegate().showPopover();
    EXPECT_TRUE(endsWithItsWindow());
}

TEST_F(VintrelAppTest, whileAPanelStartsAgainItIsNotKnownWhetherToEnd) {
    start({.isToShow = true}, Presence::absent); // which makes it a window
    item->setPresence(Presence::unknown);
    EXPECT_FALSE(endsWithItsWindow());
    EXPECT_TRUE(endsAfter([this] { item->setPresence(Presence::absent); }));
}

TEST_F(VintrelAppTest, goesOnInAPanelThatHasStartedAgain) {
    start({.isToShow = true}, Presence::absent); // which makes it a window
    item->setPresence(Presence::unknown);
    EXPECT_FALSE(endsWithItsWindow());
    EXPECT_FALSE(endsAfter([this] { item->setPresence(Presence::shown); }));
    EXPECT_FALSE(endsAfter([this] { item->setPresence(Presence::absent); })) << "no window has closed since";
}

TEST_F(VintrelAppTest, endsOnlyWithTheLastWindow) {
    start({.isToShow = true}, Presence::absent);
    app->appDelegate().openSettings();
    EXPECT_FALSE(endsWithItsWindow());
    EXPECT_TRUE(endsAfter([] {
        for (QWidget* const settings : windows("Vintrel Settings")) {
            settings->close();
        }
    }));
}

TEST_F(VintrelAppTest, aPlainStartShowsTheWindowWhereThereIsNoTray) {
    start({}, Presence::unknown);
    EXPECT_FALSE(window().isVisible());
    item->setPresence(Presence::absent);
    EXPECT_TRUE(window().isVisible());
    EXPECT_FALSE(endsWithItsWindow());
    item->setPresence(Presence::shown);
    item->setPresence(Presence::absent);
    EXPECT_FALSE(window().isVisible()) << "once";
}

TEST_F(VintrelAppTest, aPlainStartShowsNothingInATray) {
    start({}, Presence::shown);
    EXPECT_FALSE(window().isVisible());
    item->setPresence(Presence::absent);
    EXPECT_FALSE(window().isVisible());
}

TEST_F(VintrelAppTest, aServiceShowsNothing) {
    start({.isService = true}, Presence::absent);
    EXPECT_FALSE(window().isVisible());
}

} // namespace Vintrel
