// Servers and buses that accept a question and do not answer it.
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/notifications/PreparedServer.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::DesktopNotifications;
using Authorization = Vintrel::UserNotifications::Authorization;

namespace {

/// Whoever waits for an answer that does not come waits for far longer than this.
constexpr qint64 notBlocked = 5'000;

class SilentServerTest : public AppTest {
public:
    SessionBus bus;
};

/// The longest time for which the event loop did not turn while it should have.
qint64 longestPause(std::chrono::milliseconds time) {
    QElapsedTimer all;
    all.start();
    qint64 longest = 0;
    while (all.elapsed() < time.count()) {
        QElapsedTimer turn;
        turn.start();
        spinFor(10ms);
        longest = std::max(longest, turn.elapsed());
    }
    return longest;
}

} // namespace

TEST_F(SilentServerTest, doesNotHoldTheEventLoopUp) {
    PreparedServer server(bus);
    server.fallSilent();
    QElapsedTimer calls;
    calls.start();
    DesktopNotifications notifications(bus.connect());
    std::optional<bool> granted;
    notifications.requestAuthorization([&](bool isGranted) { granted = isGranted; });
    notifications.add({.title = "title", .body = "body"});
    EXPECT_LT(calls.elapsed(), notBlocked);
    EXPECT_LT(longestPause(500ms), notBlocked);
    EXPECT_FALSE(granted.has_value());
    EXPECT_FALSE(server.calls.empty()) << "it has been asked";
}

TEST_F(SilentServerTest, whatIsKnownIsReadWithoutIt) {
    PreparedServer server(bus);
    server.fallSilent();
    DesktopNotifications notifications(bus.connect());
    notifications.requestAuthorization([](bool) {});
    std::optional<Authorization> authorization;
    notifications.readAuthorization([&](Authorization known) { authorization = known; });
    EXPECT_TRUE(spinUntil([&] { return authorization.has_value(); }, 5s));
    EXPECT_EQ(authorization, Authorization::notDetermined);
}

TEST_F(SilentServerTest, mayAnswerLater) {
    PreparedServer server(bus, {"actions", "body-markup"});
    server.fallSilent();
    DesktopNotifications notifications(bus.connect());
    std::optional<bool> granted;
    notifications.requestAuthorization([&](bool isGranted) { granted = isGranted; });
    notifications.add({.title = "first", .body = "&"});
    notifications.add({.title = "second", .body = "&"});
    spinFor(200ms);
    server.answerAll();
    ASSERT_TRUE(spinUntil([&] { return granted.has_value() && server.asked.size() == 2; }));
    EXPECT_EQ(granted, true);
    EXPECT_EQ(server.asked[0].summary, "first");
    EXPECT_EQ(server.asked[1].summary, "second");
    EXPECT_EQ(server.asked[1].body, "&amp;");
}

TEST_F(SilentServerTest, tellsNothingToAnObjectThatIsGone) {
    PreparedServer server(bus);
    server.fallSilent();
    auto notifications = std::make_unique<DesktopNotifications>(bus.connect());
    int answers = 0;
    notifications->requestAuthorization([&](bool) { ++answers; });
    ASSERT_TRUE(spinUntil([&] { return !server.calls.empty(); }));
    notifications->readAuthorization([&](Authorization) { ++answers; });
    notifications.reset();
    server.answerAll();
    spinFor(200ms);
    EXPECT_EQ(answers, 0);
}

TEST_F(SilentServerTest, anObjectMayGoWhileItShowsOne) {
    PreparedServer server(bus);
    for (const size_t callsBefore : {size_t{1}, size_t{2}}) {
        server.calls.clear();
        auto notifications = std::make_unique<DesktopNotifications>(bus.connect());
        if (callsBefore == 1) {
            server.fallSilent(); // so that it waits for the capabilities
        }
        notifications->add({.title = "title", .body = "body"});
        ASSERT_TRUE(spinUntil([&] { return server.calls.size() == callsBefore; }));
        notifications.reset();
        server.answerAll();
        spinFor(100ms);
    }
}

TEST_F(SilentServerTest, anObjectMayGoRightAfterAsking) {
    const PreparedServer server(bus);
    int answers = 0;
    for (int round = 0; round < 20; ++round) {
        DesktopNotifications notifications(bus.connect());
        notifications.requestAuthorization([&](bool) { ++answers; });
        notifications.readAuthorization([&](Authorization) { ++answers; });
        notifications.add({.title = "title", .body = "body"});
    }
    spinFor(200ms);
    EXPECT_EQ(answers, 0);
}

TEST_F(SilentServerTest, anObjectMayGoInItsOwnAnswer) {
    const PreparedServer server(bus);
    auto notifications = std::make_unique<DesktopNotifications>(bus.connect());
    bool isAnswered = false;
    notifications->requestAuthorization([&](bool) {
        isAnswered = true;
        notifications.reset();
    });
    EXPECT_TRUE(spinUntil([&] { return isAnswered; }));
    isAnswered = false;
    notifications = std::make_unique<DesktopNotifications>(bus.connect());
    notifications->readAuthorization([&](Authorization) {
        isAnswered = true;
        notifications.reset();
    });
    EXPECT_TRUE(spinUntil([&] { return isAnswered; }));
    spinFor(50ms);
}

TEST_F(SilentServerTest, aBusThatHangsDoesNotHoldTheEventLoopUp) {
    DesktopNotifications notifications(bus.connect());
    spinFor(50ms);
    bus.hang();
    int answers = 0;
    QElapsedTimer calls;
    calls.start();
    notifications.requestAuthorization([&](bool) { ++answers; });
    notifications.add({.title = "title", .body = "body"});
    EXPECT_LT(calls.elapsed(), notBlocked);
    EXPECT_LT(longestPause(300ms), notBlocked);
    EXPECT_EQ(answers, 0);
}
