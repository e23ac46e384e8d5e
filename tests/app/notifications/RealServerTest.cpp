// With a real notification server.
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/notifications/PreparedServer.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/NotificationServer.h"
#include "tests/app/support/SessionBus.h"
#include "tests/support/Process.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::DesktopNotifications;
using Vintrel::UserNotifications;
using Authorization = Vintrel::UserNotifications::Authorization;

namespace {

std::optional<bool> request(UserNotifications& notifications) {
    std::optional<bool> granted;
    notifications.requestAuthorization([&](bool isGranted) { granted = isGranted; });
    EXPECT_TRUE(spinUntil([&] { return granted.has_value(); }));
    return granted;
}

class RealServerTest : public AppTest {
public:
    SessionBus bus;

    /// Waits, with the event loop running, until the server has shown that many.
    static bool waitUntilShown(const NotificationServer& server, size_t count) {
        return spinUntil([&] { return server.shown().size() >= count; }) && server.shown().size() == count;
    }
};

/// Everything that is said to notification servers, and by them.
class Monitor {
public:
    explicit Monitor(const SessionBus& bus)
        : m_monitor({.argv = {"dbus-monitor", "--address", bus.address(),
                              "interface='org.freedesktop.Notifications'"},
                     .output = m_folder.path() / "heard"}) {
        // It says a few words about itself when it has begun.
        EXPECT_TRUE(eventually([this] { return heard().find("member=NameLost") != std::string::npos; }));
    }

    /// With every row of blanks and line ends as one blank.
    [[nodiscard]] std::string heard() const {
        std::ifstream file(m_folder.path() / "heard");
        std::string text;
        for (std::string word; file >> word;) {
            text += word + ' ';
        }
        return text;
    }

private:
    TemporaryFolder m_folder;
    Process m_monitor;
};

} // namespace

TEST_F(RealServerTest, getsTheExactTextsAndHints) {
    NotificationServer server(bus);
    const Monitor monitor(bus);
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), true);
    notifications.add({.title = "2 new strays", .body = "node, vite — 店"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    const ShownNotification shown = server.shown().front();
    EXPECT_EQ(shown.appName, "Vintrel");
    EXPECT_EQ(shown.summary, "2 new strays");
    EXPECT_EQ(shown.body, "node, vite — 店");
    EXPECT_EQ(shown.urgency, "NORMAL");
    EXPECT_EQ(shown.desktopEntry, "dev.vintrel.Vintrel");

    const std::string heard = monitor.heard();
    const auto wasHeard = [&](const std::string& words) { return heard.find(words) != std::string::npos; };
    EXPECT_TRUE(wasHeard("member=Notify string \"Vintrel\" uint32 0 ")) << heard;
    EXPECT_TRUE(wasHeard("string \"urgency\" variant byte 1 ")) << heard;
    EXPECT_TRUE(wasHeard("string \"desktop-entry\" variant string \"dev.vintrel.Vintrel\" ")) << heard;
    EXPECT_TRUE(wasHeard("string \"sound-name\" variant string \"")) << heard;
    EXPECT_FALSE(wasHeard("string \"sound-name\" variant string \"\"")) << heard;
    EXPECT_TRUE(wasHeard("array [ string \"default\" string \"")) << heard;
}

TEST_F(RealServerTest, keepsThemInItsHistory) {
    NotificationServer server(bus);
    DesktopNotifications notifications(bus.connect());
    notifications.add({.title = "first", .body = "one"});
    notifications.add({.title = "second", .body = "two"});
    ASSERT_TRUE(waitUntilShown(server, 2));
    EXPECT_EQ(server.displayed(), 2) << "neither takes the place of the other";
    server.closeAll();
    ASSERT_TRUE(spinUntil([&] { return server.displayed() == 0; }));
    const auto history = server.history();
    ASSERT_EQ(history.size(), 2U);
    for (const auto& kept : history) {
        EXPECT_EQ(kept.appName, "Vintrel");
        EXPECT_EQ(kept.body, kept.summary == "first" ? "one" : "two");
    }
    EXPECT_NE(history[0].summary, history[1].summary);
}

TEST_F(RealServerTest, withMarkupGetsAnEscapedBody) {
    const NotificationServer server(bus, NotificationServer::Markup::full);
    DesktopNotifications notifications(bus.connect());
    notifications.add({.title = "<a> & b", .body = "a <b> & c"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    EXPECT_EQ(server.shown().front().summary, "<a> & b");
    EXPECT_EQ(server.shown().front().body, "a &lt;b&gt; &amp; c");
}

TEST_F(RealServerTest, withoutMarkupGetsThePlainBody) {
    const NotificationServer server(bus, NotificationServer::Markup::none);
    const Monitor monitor(bus);
    DesktopNotifications notifications(bus.connect());
    notifications.add({.title = "title", .body = "a <b> & c"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    EXPECT_NE(monitor.heard().find("string \"a <b> & c\" "), std::string::npos) << monitor.heard();
}

TEST_F(RealServerTest, aClickOpensTheProgramThatShowedIt) {
    NotificationServer server(bus);
    DesktopNotifications notifications(bus.connect());
    DesktopNotifications others(bus.connect());
    const Activations activations(notifications);
    const Activations othersActivations(others);
    notifications.add({.title = "ours", .body = "body"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    others.add({.title = "theirs", .body = "body"});
    ASSERT_TRUE(waitUntilShown(server, 2));
    ASSERT_TRUE(spinUntil([&] { return server.displayed() == 2; }));
    spinFor(50ms);

    server.clickOldest();
    EXPECT_TRUE(spinUntil([&] { return !activations.tokens.empty(); }));
    EXPECT_EQ(othersActivations.tokens.size(), 0U);

    server.close(server.shown().front().number);
    ASSERT_TRUE(spinUntil([&] { return server.displayed() == 1; }));
    server.clickOldest();
    EXPECT_TRUE(spinUntil([&] { return !othersActivations.tokens.empty(); }));
    spinFor(50ms);
    EXPECT_EQ(activations.tokens.size(), 1U);
    EXPECT_EQ(othersActivations.tokens.size(), 1U);
}

TEST_F(RealServerTest, closingIsNoClick) {
    NotificationServer server(bus);
    DesktopNotifications notifications(bus.connect());
    const Activations activations(notifications);
    notifications.add({.title = "ours", .body = "body"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    server.closeAll();
    ASSERT_TRUE(spinUntil([&] { return server.displayed() == 0; }));
    spinFor(100ms);
    EXPECT_EQ(activations.tokens.size(), 0U);
}

TEST_F(RealServerTest, mayBeStartedAfterTheProgram) {
    DesktopNotifications notifications(bus.connect());
    EXPECT_EQ(request(notifications), false);
    const NotificationServer server(bus);
    EXPECT_EQ(request(notifications), true);
    notifications.add({.title = "title", .body = "a & b"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    EXPECT_EQ(server.shown().front().body, "a &amp; b");
}

TEST_F(RealServerTest, mayBeStartedByTheBusWhenItIsNeeded) {
    const NotificationServer server(bus, NotificationServer::Markup::full,
                                    NotificationServer::Start::onDemand);
    DesktopNotifications notifications(bus.connect());
    EXPECT_FALSE(bus.isOffered("org.freedesktop.Notifications")) << "the program alone does not need it";
    EXPECT_EQ(request(notifications), true);
    notifications.add({.title = "title", .body = "a & b"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    EXPECT_EQ(server.shown().front().body, "a &amp; b");
}

TEST_F(RealServerTest, mayEnd) {
    DesktopNotifications notifications(bus.connect());
    {
        const NotificationServer server(bus);
        EXPECT_EQ(request(notifications), true);
    }
    ASSERT_TRUE(spinUntil([&] { return !bus.isOffered("org.freedesktop.Notifications"); }));
    EXPECT_EQ(request(notifications), false);
}

// Qt connects once per process to the bus that the environment names.
TEST_F(RealServerTest, theDesktopsNotificationsGoToTheSessionsBus) {
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
    const NotificationServer server(bus);
    const auto notifications = Vintrel::Desktop::makeUserNotifications();
    ASSERT_NE(notifications, nullptr);
    EXPECT_EQ(request(*notifications), true);
    notifications->add({.title = "title", .body = "body"});
    ASSERT_TRUE(waitUntilShown(server, 1));
    EXPECT_EQ(server.shown().front().summary, "title");
}
