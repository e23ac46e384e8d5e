// What a start does: alone, on the command line, and towards a first instance that notes what it is asked.
#include "Vintrel/shell/linux/ApplicationService.h"
#include "tests/app/instance/InstanceTest.h"
#include "tests/app/instance/Requests.h"

#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelTests;
using Vintrel::ApplicationService;
using Asked = std::vector<std::string>;

namespace {

/// With a first instance inside the test.
class HandingOverTest : public InstanceTest {
public:
    HandingOverTest() { EXPECT_EQ(service.claim(), Vintrel::ApplicationInstance::Claim::granted); }

    Asked askedBy(const std::vector<std::string>& arguments) {
        requests.asked.clear();
        const auto second = start(arguments);
        EXPECT_EQ(second->status(), 0);
        EXPECT_EQ(second->output(), "");
        return requests.asked;
    }

    RecordingRequests requests;
    ApplicationService service{bus.connect(), requests, {}};
};

/// A first instance that knows none of the requests.
class OtherVersion : public QDBusVirtualObject {
public:
    [[nodiscard]] QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        return connection.send(message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("no")));
    }
};

} // namespace

using StartingTest = InstanceTest;

TEST_F(HandingOverTest, aPlainStartOpensThePopover) {
    EXPECT_EQ(askedBy({}), Asked{"activate"});
    EXPECT_EQ(askedBy({"--show"}), Asked{"activate"});
}

TEST_F(HandingOverTest, linksArriveInTheirOrder) {
    EXPECT_EQ(askedBy({"vintrel://scan", "VINTREL:clean", "other:x"}),
              (Asked{"open", "vintrel://scan", "VINTREL:clean", "other:x"}));
}

TEST_F(HandingOverTest, linksArriveByteForByte) {
    EXPECT_EQ(askedBy({"vintrel://clean/%C3%A4?q=\xc3\xa4 b#f"}),
              (Asked{"open", "vintrel://clean/%C3%A4?q=\xc3\xa4 b#f"}));
}

TEST_F(HandingOverTest, actionsArrive) {
    EXPECT_EQ(askedBy({"--action", "clean-safe-strays"}), Asked{"clean-safe-strays"});
    EXPECT_EQ(askedBy({"--show", "--action", "scan-now"}), (Asked{"activate", "scan-now"}));
}

TEST_F(HandingOverTest, theBusesStartAsksForNothing) {
    EXPECT_EQ(askedBy({"--service"}), Asked());
}

TEST_F(StartingTest, withoutASessionBusRunsOnItsOwn) {
    const std::map<std::string, std::string> noBus{
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (folder.path() / "no-bus").string()}};
    const auto first = start({}, noBus);
    const auto second = start({}, noBus);
    for (const auto& alone : {first.get(), second.get()}) {
        EXPECT_TRUE(spinUntil([&] { return alone->output().ends_with('\n'); }));
        EXPECT_EQ(alone->output(),
                  "vintrel-app: there is no session bus: links and notifications will not work\n");
    }
    EXPECT_TRUE(first->runs());
    EXPECT_TRUE(second->runs());
    first->signal(SIGTERM);
    EXPECT_EQ(first->status(), -SIGTERM);
}

TEST_F(StartingTest, saysWhenTheFirstIsOfAnotherVersion) {
    QDBusConnection other = bus.connect();
    OtherVersion object;
    ASSERT_TRUE(other.registerVirtualObject("/dev/vintrel/Vintrel", &object));
    ASSERT_TRUE(other.registerService("dev.vintrel.Vintrel"));
    const auto second = start({"--action", "scan-now"});
    EXPECT_EQ(second->status(), 1);
    EXPECT_EQ(second->output(), "vintrel-app: the program that runs already is of another version and does "
                                "not know this\n");
    other.unregisterObject("/dev/vintrel/Vintrel");
}

TEST_F(StartingTest, doesNotHaveTheBusStartAnother) {
    const auto mark = folder.path() / "started";
    bus.startOnDemand("dev.vintrel.Vintrel", "/usr/bin/touch " + mark.string());
    const auto first = startFirst();
    EXPECT_EQ(start()->status(), 0);
    EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST_F(StartingTest, withoutAScreenSaysSo) {
    const auto alone = start({}, {{"QT_QPA_PLATFORM", ""}});
    EXPECT_EQ(alone->status(), 1);
    EXPECT_EQ(alone->output(),
              "vintrel-app: there is no graphical session here; the command line tool is vintrel\n");
}

TEST_F(StartingTest, refusesWhatItDoesNotKnow) {
    for (const char* const word : {"--quit", "scan"}) {
        const auto start = this->start({word});
        EXPECT_EQ(start->status(), 2);
        EXPECT_TRUE(start->output().starts_with("usage: vintrel-app ")) << start->output();
    }
}

TEST_F(StartingTest, tellsItsUseAndItsVersionWithoutABus) {
    const std::map<std::string, std::string> noBus{{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"},
                                                   {"QT_QPA_PLATFORM", ""}};
    const auto help = start({"--help"}, noBus);
    EXPECT_EQ(help->status(), 0);
    EXPECT_TRUE(help->output().starts_with("usage: vintrel-app ")) << help->output();
    const auto version = start({"--version"}, noBus);
    EXPECT_EQ(version->status(), 0);
    EXPECT_TRUE(version->output().starts_with("vintrel-app ")) << version->output();
}
