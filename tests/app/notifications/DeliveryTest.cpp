// What a notification server is asked to show.
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/notifications/PreparedServer.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>

#include <QMetaType>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::DesktopNotifications;

namespace {

const QStringList withoutMarkup{"actions", "body"};
const QStringList withMarkup{"actions", "body", "body-markup"};

class DeliveryTest : public AppTest {
public:
    SessionBus bus;

    /// What a server with these capabilities is asked to show for a notification.
    AskedToShow delivered(const QStringList& capabilities, const std::string& title,
                          const std::string& body) {
        PreparedServer server(bus, capabilities);
        DesktopNotifications notifications(bus.connect());
        notifications.add({.title = title, .body = body});
        EXPECT_TRUE(spinUntil([&] { return !server.asked.empty(); }));
        spinFor(20ms);
        EXPECT_EQ(server.asked.size(), 1U);
        return server.asked.empty() ? AskedToShow{} : server.asked.front();
    }

    QString bodyFor(const QStringList& capabilities, const std::string& body) {
        return delivered(capabilities, "Vintrel", body).body;
    }
};

/// The text that a server with markup shows; absent when it is no good markup, or has any in it.
std::optional<QString> shownText(const QString& markup) {
    QXmlStreamReader reader("<body>" + markup + "</body>");
    reader.readNextStartElement();
    const QString text = reader.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
    return reader.hasError() ? std::nullopt : std::optional(text);
}

} // namespace

TEST_F(DeliveryTest, saysWhoItIsAndWhatItIsAbout) {
    const AskedToShow asked = delivered(withoutMarkup, "2 new strays", "node and vite");
    EXPECT_EQ(asked.signature, "susssasa{sv}i");
    EXPECT_EQ(asked.appName, "Vintrel");
    EXPECT_EQ(asked.summary, "2 new strays");
    EXPECT_EQ(asked.body, "node and vite");
    EXPECT_EQ(asked.replaces, 0U) << "one of its own";
}

TEST_F(DeliveryTest, hintsHaveTheTypesThatServersLookFor) {
    const QVariantMap hints = delivered(withoutMarkup, "title", "body").hints;
    EXPECT_EQ(hints["urgency"].metaType(), QMetaType::fromType<uchar>()) << "servers disregard any other";
    EXPECT_EQ(hints["urgency"].toInt(), 1) << "normal: neither hidden nor there to stay";
    EXPECT_EQ(hints["desktop-entry"].metaType(), QMetaType::fromType<QString>());
    EXPECT_EQ(hints["desktop-entry"].toString(), "dev.vintrel.Vintrel");
    EXPECT_EQ(hints["sound-name"].metaType(), QMetaType::fromType<QString>());
    EXPECT_NE(hints["sound-name"].toString(), "");
    EXPECT_FALSE(hints.value("suppress-sound").toBool());
}

TEST_F(DeliveryTest, canBeClicked) {
    const QStringList actions = delivered(withMarkup, "title", "body").actions;
    ASSERT_EQ(actions.size() % 2, 0) << "keys and labels";
    QStringList keys;
    for (qsizetype index = 0; index < actions.size(); index += 2) {
        keys.append(actions[index]);
    }
    EXPECT_EQ(keys, QStringList{"default"});
}

TEST_F(DeliveryTest, aServerWithoutMarkupGetsTheBodyAsItIs) {
    for (const std::string body : {"a <b>bold</b> & \"quoted\" 'name'", "&amp;", "<", "", "a\nb\\n"}) {
        EXPECT_EQ(bodyFor(withoutMarkup, body).toStdString(), body);
    }
    EXPECT_EQ(bodyFor({}, "a & b"), "a & b") << "nor does one without any capabilities";
    EXPECT_EQ(bodyFor({"body-markup-of-mine", "body-hyperlinks", "BODY-MARKUP"}, "a & b"), "a & b");
}

TEST_F(DeliveryTest, aServerWithMarkupShowsTheBodyAsItIs) {
    for (const std::string body :
         {"a <b>bold</b> & \"quoted\" 'name'", "&amp;", "<", ">", "a && b << c >> d", "</body>", "plain",
          "a\nb", "<img src=\"x\"/>", "&lt;", "vite — 3 × 20 MB 店"}) {
        const QString sent = bodyFor(withMarkup, body);
        EXPECT_EQ(shownText(sent), QString::fromStdString(body)) << sent.toStdString();
    }
    EXPECT_EQ(bodyFor(withMarkup, "a & b"), "a &amp; b") << "once";
    EXPECT_EQ(bodyFor(withMarkup, "a < b"), "a &lt; b");
    EXPECT_EQ(bodyFor({"body-markup"}, "a & b"), "a &amp; b");
}

TEST_F(DeliveryTest, aTitleIsNeverMarkup) {
    for (const QStringList& capabilities : {withMarkup, withoutMarkup}) {
        EXPECT_EQ(delivered(capabilities, "<a> & \"b\"", "body").summary, "<a> & \"b\"");
    }
}

TEST_F(DeliveryTest, textsMayHaveAnyCharacters) {
    const AskedToShow asked = delivered(withoutMarkup, "Vintrel — 店 🧹", "3 × “node”\n• vite");
    EXPECT_EQ(asked.summary.toStdString(), "Vintrel — 店 🧹");
    EXPECT_EQ(asked.body.toStdString(), "3 × “node”\n• vite");
}

TEST_F(DeliveryTest, textsWithBrokenBytesDoNotCostTheConnection) {
    PreparedServer server(bus);
    DesktopNotifications notifications(bus.connect());
    notifications.add({.title = "na\xffme", .body = "node \xe5\xba"});
    notifications.add({.title = std::string("nul\0in", 6), .body = std::string("a\0b", 3)});
    notifications.add({.title = "next", .body = "body"});
    ASSERT_TRUE(spinUntil([&] { return server.asked.size() == 3; }));
    EXPECT_TRUE(server.asked[0].summary.startsWith("na")) << server.asked[0].summary.toStdString();
    EXPECT_TRUE(server.asked[0].summary.endsWith("me"));
    EXPECT_TRUE(server.asked[0].body.startsWith("node "));
    EXPECT_EQ(server.asked[2].summary, "next");
}

TEST_F(DeliveryTest, everyOneIsShownInOrder) {
    PreparedServer server(bus, withMarkup);
    DesktopNotifications notifications(bus.connect());
    constexpr int count = 50;
    for (int number = 0; number < count; ++number) {
        notifications.add({.title = std::to_string(number), .body = "a & b"});
    }
    ASSERT_TRUE(spinUntil([&] { return server.asked.size() >= count; }));
    spinFor(50ms);
    ASSERT_EQ(server.asked.size(), static_cast<size_t>(count));
    for (int number = 0; number < count; ++number) {
        const AskedToShow& asked = server.asked[static_cast<size_t>(number)];
        EXPECT_EQ(asked.summary, QString::number(number));
        EXPECT_EQ(asked.body, "a &amp; b");
        EXPECT_EQ(asked.replaces, 0U);
    }
}

TEST_F(DeliveryTest, nobodyHasToAskForPermissionFirst) {
    PreparedServer server(bus, withMarkup);
    DesktopNotifications asking(bus.connect());
    std::optional<bool> granted;
    asking.requestAuthorization([&](bool isGranted) { granted = isGranted; });
    ASSERT_TRUE(spinUntil([&] { return granted.has_value(); }));
    asking.add({.title = "asked", .body = "&"});
    DesktopNotifications notAsking(bus.connect());
    notAsking.add({.title = "did not ask", .body = "&"});
    ASSERT_TRUE(spinUntil([&] { return server.asked.size() == 2; }));
    EXPECT_EQ(server.asked[0].body, "&amp;");
    EXPECT_EQ(server.asked[1].body, "&amp;");
}

TEST_F(DeliveryTest, worksWithAServerThatCameLater) {
    DesktopNotifications notifications(bus.connect());
    notifications.add({.title = "to nobody", .body = "body"});
    spinFor(100ms);
    PreparedServer server(bus, withMarkup);
    notifications.add({.title = "to the server", .body = "a & b"});
    ASSERT_TRUE(spinUntil([&] { return !server.asked.empty(); }));
    EXPECT_EQ(server.asked.back().summary, "to the server");
    EXPECT_EQ(server.asked.back().body, "a &amp; b");
}

TEST_F(DeliveryTest, everyServerGetsTheBodyInItsOwnWay) {
    DesktopNotifications notifications(bus.connect());
    for (const bool hasMarkup : {true, false, true}) {
        PreparedServer server(bus, hasMarkup ? withMarkup : withoutMarkup);
        notifications.add({.title = "title", .body = "a & b"});
        ASSERT_TRUE(spinUntil([&] { return !server.asked.empty(); }));
        EXPECT_EQ(server.asked.front().body, hasMarkup ? "a &amp; b" : "a & b");
    }
}

TEST_F(DeliveryTest, aServerThatRefusesOneGetsTheNext) {
    PreparedServer server(bus);
    server.errorForShowing = "org.freedesktop.DBus.Error.LimitsExceeded";
    DesktopNotifications notifications(bus.connect());
    const auto attempts = [&] { return std::ranges::count(server.calls, QStringLiteral("Notify")); };
    notifications.add({.title = "refused", .body = "body"});
    ASSERT_TRUE(spinUntil([&] { return attempts() == 1; }));
    spinFor(50ms);
    EXPECT_EQ(attempts(), 1) << "it is not tried again";
    server.errorForShowing.reset();
    notifications.add({.title = "shown", .body = "body"});
    ASSERT_TRUE(spinUntil([&] { return !server.asked.empty(); }));
    EXPECT_EQ(server.asked.front().summary, "shown");
}
