// Whether notifications may be delivered: nobody is asked here, so it is a matter of there being a server.
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/notifications/PreparedServer.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <chrono>
#include <memory>
#include <optional>
#include <thread>

#include <QDBusConnection>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::DesktopNotifications;
using Authorization = Vintrel::UserNotifications::Authorization;

namespace {

/// An answer that comes within this comes at once, on a busy machine; the bus waits far longer for a server.
constexpr auto atOnce = 5s;

std::optional<bool> request(DesktopNotifications& notifications) {
    std::optional<bool> granted;
    const auto here = std::this_thread::get_id();
    notifications.requestAuthorization([&granted, here](bool isGranted) {
        EXPECT_FALSE(granted.has_value()) << "one answer";
        EXPECT_EQ(std::this_thread::get_id(), here);
        granted = isGranted;
    });
    EXPECT_FALSE(granted.has_value()) << "the call returns before the answer";
    EXPECT_TRUE(spinUntil([&] { return granted.has_value(); }, atOnce));
    spinFor(20ms);
    return granted;
}

std::optional<Authorization> read(DesktopNotifications& notifications) {
    std::optional<Authorization> read;
    notifications.readAuthorization([&read](Authorization authorization) { read = authorization; });
    EXPECT_FALSE(read.has_value()) << "the call returns before the answer";
    EXPECT_TRUE(spinUntil([&] { return read.has_value(); }, atOnce));
    return read;
}

class AuthorizationTest : public AppTest {
public:
    SessionBus bus;
};

/// Without a bus of its own.
class NoBusTest : public AppTest {};

} // namespace

TEST_F(AuthorizationTest, isNotDeterminedBeforeAnythingWasAsked) {
    DesktopNotifications without(bus.connect());
    EXPECT_EQ(read(without), Authorization::notDetermined);
    const PreparedServer server(bus);
    DesktopNotifications with(bus.connect());
    EXPECT_EQ(read(with), Authorization::notDetermined);
}

TEST_F(AuthorizationTest, isGrantedByADesktopThatShowsNotifications) {
    PreparedServer server(bus);
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), true);
    EXPECT_EQ(read(notifications), Authorization::authorized);
    EXPECT_TRUE(server.asked.empty()) << "asking shows nothing";
    EXPECT_EQ(request(notifications), true) << "again";
}

TEST_F(AuthorizationTest, isRefusedAtOnceWithoutAServer) {
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), false);
    EXPECT_EQ(read(notifications), Authorization::denied);
    EXPECT_EQ(request(notifications), false) << "again";
}

TEST_F(AuthorizationTest, isGrantedByAServerThatCameLater) {
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), false);
    const PreparedServer server(bus);
    EXPECT_EQ(request(notifications), true);
    EXPECT_EQ(read(notifications), Authorization::authorized);
}

TEST_F(AuthorizationTest, isRefusedOnceTheServerHasGone) {
    PreparedServer server(bus);
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), true);
    server.leave();
    EXPECT_EQ(request(notifications), false);
    EXPECT_EQ(read(notifications), Authorization::denied);
    server.arrive();
    EXPECT_EQ(request(notifications), true);
}

TEST_F(AuthorizationTest, isRefusedWhenTheBusCannotStartItsServer) {
    bus.startOnDemand("org.freedesktop.Notifications", "/bin/false");
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), false);
}

TEST_F(AuthorizationTest, isRefusedByAServerThatDoesNotSayWhatItCanDo) {
    PreparedServer server(bus);
    server.errorForCapabilities = "org.freedesktop.DBus.Error.Failed";
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), false);
}

TEST_F(AuthorizationTest, everyRequestGetsItsAnswer) {
    const PreparedServer server(bus);
    DesktopNotifications notifications(bus.connect());
    int granted = 0;
    for (int number = 0; number < 10; ++number) {
        notifications.requestAuthorization([&](bool isGranted) { granted += isGranted ? 1 : 0; });
    }
    EXPECT_TRUE(spinUntil([&] { return granted == 10; }, atOnce));
}

TEST_F(AuthorizationTest, theAnswerMayAskAgain) {
    const PreparedServer server(bus);
    DesktopNotifications notifications(bus.connect());
    std::optional<Authorization> authorization;
    notifications.requestAuthorization([&](bool) {
        notifications.requestAuthorization([&](bool) {
            notifications.readAuthorization([&](Authorization known) { authorization = known; });
        });
    });
    EXPECT_TRUE(spinUntil([&] { return authorization.has_value(); }, atOnce));
    EXPECT_EQ(authorization, Authorization::authorized);
}

TEST_F(AuthorizationTest, isRefusedWhenTheBusIsGone) {
    DesktopNotifications notifications(bus.connect());
    bus.end();
    EXPECT_EQ(request(notifications), false);
    notifications.add({.title = "nobody", .body = "sees it"});
    spinFor(50ms);
}

TEST_F(AuthorizationTest, isRefusedWhenTheBusGoesWhileItIsAsked) {
    auto server = std::make_unique<PreparedServer>(bus);
    server->fallSilent();
    DesktopNotifications notifications(bus.connect());
    std::optional<bool> granted;
    notifications.requestAuthorization([&](bool isGranted) { granted = isGranted; });
    ASSERT_TRUE(spinUntil([&] { return !server->calls.empty(); }));
    EXPECT_FALSE(granted.has_value());
    bus.end();
    EXPECT_TRUE(spinUntil([&] { return granted.has_value(); }, atOnce));
    EXPECT_EQ(granted, false);
}

TEST_F(NoBusTest, isRefusedWithoutAConnection) {
    const auto nowhere = QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"),
                                                       QStringLiteral("nowhere"));
    ASSERT_FALSE(nowhere.isConnected());
    DesktopNotifications notifications(nowhere);
    EXPECT_EQ(read(notifications), Authorization::notDetermined);
    EXPECT_EQ(request(notifications), false);
    EXPECT_EQ(read(notifications), Authorization::denied);
    notifications.add({.title = "nobody", .body = "sees it"});
    spinFor(50ms);
}

TEST_F(NoBusTest, isRefusedWithoutASessionBus) {
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    DesktopNotifications notifications;
    EXPECT_EQ(request(notifications), false);
    notifications.add({.title = "nobody", .body = "sees it"});
    spinFor(50ms);
}
