// The message bus starts the program for who calls it, which a start with an errand does too.
#include "tests/app/instance/Caller.h"
#include "tests/app/instance/InstanceTest.h"
#include "tests/app/notifications/PreparedServer.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

class ActivationTest : public InstanceTest {
public:
    ActivationTest() { bus.startOnDemand("dev.vintrel.Vintrel", std::string(VINTREL_APP) + " --service"); }

    /// The program that the bus has started; it ends with the test.
    void keepStarted() {
        ASSERT_NE(owner(), 0);
        m_started.emplace(owner());
    }

    [[nodiscard]] Caller caller(const char* interface) {
        return {bus, QStringLiteral("/dev/vintrel/Vintrel"), QString::fromLatin1(interface)};
    }

    PreparedServer server{bus};

private:
    std::optional<Ended> m_started;
};

} // namespace

TEST_F(ActivationTest, carriesALinkOutAfterTheStart) {
    const QDBusMessage reply =
        caller("org.freedesktop.Application").call("Open", {QStringList{"vintrel://clean"}, QVariantMap()});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    keepStarted();
    EXPECT_TRUE(spinUntil([this] { return !server.asked.empty(); }));
    EXPECT_EQ(server.asked.at(0).summary, "Nothing to clean");
}

TEST_F(ActivationTest, opensTheProgramAfterTheStart) {
    const QDBusMessage reply = caller("org.freedesktop.Application").call("Activate", {QVariantMap()});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    keepStarted();
    EXPECT_EQ(start()->status(), 0) << "the program is there";
}

TEST_F(ActivationTest, answersAShortcutAfterTheStart) {
    const QDBusMessage reply = caller("dev.vintrel.Vintrel.Shortcuts").call("Run", {"clean-safe-strays"});
    EXPECT_EQ(reply.arguments().value(0).toString(), "No unprotected safe-to-clean processes.");
    keepStarted();
}

TEST_F(ActivationTest, letsAStartForAnActionEndAtOnce) {
    const auto errand = start({"--action", "clean-safe-strays"});
    EXPECT_EQ(errand->status(), 0);
    EXPECT_EQ(errand->output(), "");
    keepStarted();
    EXPECT_NE(owner(), errand->pid());
    EXPECT_TRUE(spinUntil([this] { return !server.asked.empty(); }));
    EXPECT_EQ(server.asked.at(0).summary, "Clean Safe Strays");
}

TEST_F(ActivationTest, letsAStartForALinkEndAtOnce) {
    EXPECT_EQ(start({"vintrel://clean"})->status(), 0);
    keepStarted();
    EXPECT_TRUE(spinUntil([this] { return !server.asked.empty(); }));
    EXPECT_EQ(server.asked.at(0).summary, "Nothing to clean");
}

TEST_F(ActivationTest, isNotForAStartThatShowsAWindow) {
    const auto first = startFirst({"--show", "--action", "scan-now"});
    EXPECT_TRUE(first->runs());
}

TEST_F(ActivationTest, thatFailsLeavesTheActionToTheStart) {
    bus.startOnDemand("dev.vintrel.Vintrel", "/bin/false");
    const auto first = startFirst({"--action", "clean-safe-strays"});
    EXPECT_TRUE(spinUntil([this] { return !server.asked.empty(); }));
    EXPECT_EQ(server.asked.at(0).summary, "Clean Safe Strays");
    EXPECT_TRUE(first->runs()) << "and it stays";
}
