// The program on the session bus: its name, and what launchers call.
#include "Vintrel/shell/linux/ApplicationService.h"

#include "Vintrel/shell/StartRequest.h"
#include "Vintrel/shell/linux/ApplicationClient.h"
#include "tests/app/instance/Caller.h"
#include "tests/app/instance/Requests.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"
#include "tests/support/ScopedEnvironment.h"

#include <optional>

#include <gtest/gtest.h>

using namespace VintrelTests;
using Vintrel::ApplicationClient;
using Vintrel::ApplicationService;
using Vintrel::StartRequest;
using Asked = std::vector<std::string>;
using Claim = Vintrel::ApplicationInstance::Claim;

namespace {

class ApplicationServiceTest : public AppTest {
public:
    SessionBus bus;
    RecordingRequests requests;
    ApplicationService service{bus.connect(), requests, {}};
    Caller launcher{bus, QStringLiteral("/dev/vintrel/Vintrel"),
                    QStringLiteral("org.freedesktop.Application")};
};

} // namespace

TEST_F(ApplicationServiceTest, ownsItsName) {
    EXPECT_FALSE(bus.isOffered("dev.vintrel.Vintrel"));
    EXPECT_EQ(service.claim(), Claim::granted);
    EXPECT_TRUE(bus.isOffered("dev.vintrel.Vintrel"));
}

TEST_F(ApplicationServiceTest, leavesTheNameToWhoHasIt) {
    ASSERT_EQ(service.claim(), Claim::granted);
    ApplicationService second(bus.connect(), requests, {});
    EXPECT_EQ(second.claim(), Claim::taken);
    EXPECT_EQ(second.claim(), Claim::taken);
}

TEST_F(ApplicationServiceTest, takesTheNameOverWhenItIsFree) {
    std::optional<ApplicationService> first;
    first.emplace(bus.connect(), requests, std::string());
    ASSERT_EQ(first->claim(), Claim::granted);
    ASSERT_EQ(service.claim(), Claim::taken);
    first.reset();
    EXPECT_TRUE(spinUntil([this] { return !bus.isOffered("dev.vintrel.Vintrel"); }));
    EXPECT_EQ(service.claim(), Claim::granted);
}

TEST_F(ApplicationServiceTest, withoutABusRunsOnItsOwn) {
    ApplicationService alone(QDBusConnection(QStringLiteral("none")), requests, {});
    EXPECT_EQ(alone.claim(), Claim::unenforceable);
    EXPECT_TRUE(alone.activateAction("scan-now"));
    EXPECT_EQ(requests.asked, Asked{"scan-now"});
}

TEST_F(ApplicationServiceTest, isActivated) {
    ASSERT_EQ(service.claim(), Claim::granted);
    const QDBusMessage reply =
        launcher.call("Activate", {QVariantMap{{"activation-token", "leave"}, {"other", 7}}});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(requests.asked, Asked{"activate"});
    EXPECT_EQ(requests.token, "leave");
}

TEST_F(ApplicationServiceTest, opensAddressesInTheirOrder) {
    ASSERT_EQ(service.claim(), Claim::granted);
    const QDBusMessage reply =
        launcher.call("Open", {QStringList{"vintrel://scan", "x:", "vintrel://clean"}, QVariantMap()});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(requests.asked, (Asked{"open", "vintrel://scan", "x:", "vintrel://clean"}));
}

TEST_F(ApplicationServiceTest, carriesOutItsActions) {
    ASSERT_EQ(service.claim(), Claim::granted);
    for (const char* const action : {"scan-now", "clean-safe-strays"}) {
        const QDBusMessage reply = launcher.call("ActivateAction", {action, QVariantList(), QVariantMap()});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    }
    EXPECT_EQ(requests.asked, (Asked{"scan-now", "clean-safe-strays"}));
    using Told = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(requests.told, (Told{{"Scan Now", "done"}, {"Clean Safe Strays", "done"}}));
}

TEST_F(ApplicationServiceTest, refusesOtherActions) {
    ASSERT_EQ(service.claim(), Claim::granted);
    const QDBusMessage reply = launcher.call("ActivateAction", {"quit", QVariantList(), QVariantMap()});
    EXPECT_EQ(reply.errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_EQ(requests.asked, Asked());
}

TEST_F(ApplicationServiceTest, describesItsInterfaceAsLaunchersKnowIt) {
    ASSERT_EQ(service.claim(), Claim::granted);
    const Caller anybody(bus, "/dev/vintrel/Vintrel", "org.freedesktop.DBus.Introspectable");
    const QString description = anybody.call("Introspect").arguments().value(0).toString();
    for (const char* const part :
         {"<interface name=\"org.freedesktop.Application\">", "<method name=\"Activate\">",
          "<method name=\"Open\">", "<method name=\"ActivateAction\">", "type=\"av\"", "type=\"a{sv}\""}) {
        EXPECT_TRUE(description.contains(part)) << part << " is missing in " << description.toStdString();
    }
}

TEST(ApplicationClient, callsWhatIsAskedFor) {
    const ScopedEnvironment noID("DESKTOP_STARTUP_ID", std::nullopt);
    const ScopedEnvironment noToken("XDG_ACTIVATION_TOKEN", std::nullopt);
    const auto methods = [](const StartRequest& request) {
        QStringList names;
        for (const QDBusMessage& message : ApplicationClient::calls(request)) {
            EXPECT_FALSE(message.autoStartService());
            names.append(message.member());
        }
        return names;
    };
    EXPECT_EQ(methods({}), QStringList{"Activate"});
    EXPECT_EQ(methods({.isToShow = true}), QStringList{"Activate"});
    EXPECT_EQ(methods({.isService = true}), QStringList());
    EXPECT_EQ(methods({.urls = {"vintrel:scan"}}), QStringList{"Open"});
    EXPECT_EQ(methods({.action = "scan-now"}), QStringList{"ActivateAction"});
    EXPECT_EQ(methods({.isToShow = true, .urls = {"vintrel:scan"}, .action = "scan-now"}),
              (QStringList{"Activate", "Open", "ActivateAction"}));
    EXPECT_EQ(ApplicationClient::calls({}).first().arguments().value(0).toMap(), QVariantMap());
}

TEST(ApplicationClient, passesTheTokensOn) {
    const ScopedEnvironment id("DESKTOP_STARTUP_ID", "launcher_TIME42");
    const ScopedEnvironment token("XDG_ACTIVATION_TOKEN", "token-1");
    const QVariantMap expected{{"desktop-startup-id", "launcher_TIME42"}, {"activation-token", "token-1"}};
    const auto calls =
        ApplicationClient::calls({.isToShow = true, .urls = {"vintrel:scan"}, .action = "scan-now"});
    for (const QDBusMessage& message : calls) {
        EXPECT_EQ(message.arguments().last().toMap(), expected) << message.member().toStdString();
    }
}
