// Clicks on notifications: which of them open the program.
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/notifications/PreparedServer.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <QDBusMessage>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::DesktopNotifications;

namespace {

using Tokens = std::vector<std::string>;

class ClickTest : public AppTest {
public:
    SessionBus bus;
    PreparedServer server{bus};
    DesktopNotifications notifications{bus.connect()};
    Activations activations{notifications};

    /// Shows a notification: its number. The program knows it by the time this returns.
    uint show(DesktopNotifications& program) {
        const size_t before = server.asked.size();
        program.add({.title = "title", .body = "body"});
        EXPECT_TRUE(spinUntil([&] { return server.asked.size() > before; }));
        spinFor(50ms);
        return server.asked.empty() ? 0 : server.asked.back().number;
    }

    uint show() { return show(notifications); }

    /// Waits until everything that the server has said before is heard: what comes last is a click, on a
    /// notification that is shown for it.
    Tokens tokensUpToNow() {
        const uint last = show();
        server.giveToken(last, "last");
        server.click(last);
        EXPECT_TRUE(spinUntil([&] { return std::ranges::count(activations.tokens, "last") > 0; }));
        Tokens tokens = activations.tokens;
        EXPECT_EQ(tokens.back(), "last");
        tokens.pop_back();
        return tokens;
    }
};

} // namespace

TEST_F(ClickTest, onOneOfOursOpensTheProgram) {
    server.click(show());
    EXPECT_EQ(tokensUpToNow(), Tokens{""}) << "this desktop gives no token";
}

TEST_F(ClickTest, comesWithTheTokenThatWasGivenBefore) {
    const uint number = show();
    server.giveToken(number, "token-1");
    server.click(number);
    server.close(number);
    EXPECT_EQ(tokensUpToNow(), Tokens{"token-1"});
}

TEST_F(ClickTest, onEachOfOursOpensTheProgram) {
    const uint first = show();
    const uint second = show();
    const uint third = show();
    for (const uint number : {second, first, third}) {
        server.giveToken(number, QString::number(number));
        server.click(number);
    }
    EXPECT_EQ(tokensUpToNow(),
              (Tokens{std::to_string(second), std::to_string(first), std::to_string(third)}));
}

TEST_F(ClickTest, aTokenIsUsedOnce) {
    const uint first = show();
    const uint second = show();
    server.giveToken(first, "token-1");
    server.click(first);
    server.click(second);
    EXPECT_EQ(tokensUpToNow(), (Tokens{"token-1", ""}));
}

TEST_F(ClickTest, aTokenIsForItsOwnNotification) {
    const uint first = show();
    const uint second = show();
    server.giveToken(first, "token-1");
    server.close(first); // with another action, or none
    server.click(second);
    EXPECT_EQ(tokensUpToNow(), Tokens{""});
}

TEST_F(ClickTest, aTokenForAnotherProgramsNotificationIsNotOurs) {
    const uint ours = show();
    server.giveToken(ours + 1'000, "theirs");
    server.click(ours);
    EXPECT_EQ(tokensUpToNow(), Tokens{""});
}

TEST_F(ClickTest, onAnotherProgramsNotificationIsNoneOfOurBusiness) {
    const uint ours = show();
    server.giveToken(ours + 1'000, "theirs");
    server.click(ours + 1'000);
    server.click(0);
    EXPECT_EQ(tokensUpToNow(), Tokens());
}

TEST_F(ClickTest, goesToTheProgramThatShowedIt) {
    DesktopNotifications others(bus.connect());
    const Activations othersActivations(others);
    const uint theirs = show(others);
    const uint ours = show();
    server.giveToken(theirs, "theirs");
    server.click(theirs);
    server.giveToken(ours, "ours");
    server.click(ours);
    EXPECT_EQ(tokensUpToNow(), Tokens{"ours"});
    EXPECT_TRUE(spinUntil([&] { return !othersActivations.tokens.empty(); }));
    EXPECT_EQ(othersActivations.tokens, Tokens{"theirs"});
}

TEST_F(ClickTest, beforeAnythingIsShownIsNotOurs) {
    server.click(1);
    server.click(41);
    EXPECT_EQ(tokensUpToNow(), Tokens());
}

TEST_F(ClickTest, onAClosedOneIsForgotten) {
    const uint closed = show();
    const uint open = show();
    server.close(closed);
    server.click(closed); // its number may be another program's by now
    server.click(open);
    EXPECT_EQ(tokensUpToNow(), Tokens{""}) << "only the open one";
}

TEST_F(ClickTest, anotherProgramsClosingChangesNothing) {
    const uint ours = show();
    server.close(ours + 1'000);
    server.click(ours);
    EXPECT_EQ(tokensUpToNow(), Tokens{""});
}

TEST_F(ClickTest, otherActionsAreNotTheClick) {
    const uint ours = show();
    server.click(ours, "settings");
    server.click(ours, "");
    server.click(ours, "Default");
    EXPECT_EQ(tokensUpToNow(), Tokens());
}

TEST_F(ClickTest, inTheMomentOfShowingIsNotMissed) {
    server.clicksAtOnce = true;
    notifications.add({.title = "title", .body = "body"});
    EXPECT_TRUE(spinUntil([&] { return !activations.tokens.empty(); }, 5s));
    EXPECT_EQ(activations.tokens, Tokens{""});
}

TEST_F(ClickTest, isBelievedFromTheServerOnly) {
    const uint ours = show();
    const QDBusConnection impostor = bus.connect();
    auto message = QDBusMessage::createSignal("/org/freedesktop/Notifications",
                                              "org.freedesktop.Notifications", "ActionInvoked");
    message << ours << QStringLiteral("default");
    ASSERT_TRUE(impostor.send(message));
    EXPECT_FALSE(spinUntil([&] { return !activations.tokens.empty(); }, 200ms));
    server.click(ours);
    EXPECT_EQ(tokensUpToNow(), Tokens{""});
}

TEST_F(ClickTest, worksWithAServerThatCameBack) {
    show();
    server.leave();
    spinFor(50ms);
    server.arrive();
    spinFor(50ms);
    const uint ours = show();
    server.giveToken(ours, "new");
    server.click(ours);
    EXPECT_EQ(tokensUpToNow(), Tokens{"new"});
}

TEST_F(ClickTest, onOneOfAServerThatHasGoneIsNotOursAnyMore) {
    const uint old = show();
    server.leave();
    spinFor(50ms);
    server.arrive(); // a new one begins to count again, and may give the number to another program
    spinFor(50ms);
    server.click(old);
    EXPECT_EQ(tokensUpToNow(), Tokens());
}
