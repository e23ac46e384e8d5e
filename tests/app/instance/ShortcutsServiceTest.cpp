// The shortcuts over D-Bus, on an engine in a prepared world.
#include "Vintrel/shell/linux/ApplicationService.h"
#include "Vintrel/shell/linux/ShortcutsAdaptor.h"
#include "tests/app/instance/Caller.h"
#include "tests/app/instance/Requests.h"
#include "tests/app/support/EngineTest.h"
#include "tests/app/support/SessionBus.h"

#include <gtest/gtest.h>

namespace Vintrel {

class ShortcutsServiceTest : public EngineTest {
protected:
    void SetUp() override { ASSERT_EQ(service.claim(), ApplicationInstance::Claim::granted); }

    [[nodiscard]] QString run(const QString& identifier) const {
        return script.call("Run", {identifier}).arguments().value(0).toString();
    }

    VintrelTests::SessionBus bus;
    VintrelTests::RecordingRequests requests{&engine()};
    ApplicationService service{bus.connect(), requests, {}};
    VintrelTests::Caller script{bus, QStringLiteral("/dev/vintrel/Vintrel"),
                                QStringLiteral("dev.vintrel.Vintrel.Shortcuts")};
};

TEST_F(ShortcutsServiceTest, listsThemWithTheirPhrases) {
    const QDBusMessage reply = script.call("List");
    EXPECT_EQ(reply.signature(), "a(sssass)");
    const auto listed = qdbus_cast<QList<ListedShortcut>>(reply.arguments().value(0));
    ASSERT_EQ(listed.size(), 2);
    EXPECT_EQ(listed[0].identifier, "clean-safe-strays");
    EXPECT_EQ(listed[0].title, "Clean Safe Strays");
    EXPECT_EQ(listed[0].shortTitle, "Clean Safe Strays");
    EXPECT_EQ(listed[0].phrases,
              (QStringList{"Clean safe strays with Vintrel", "Clean strays with Vintrel"}));
    EXPECT_EQ(listed[0].icon, "user-trash-symbolic");
    EXPECT_EQ(listed[1].identifier, "scan-now");
    EXPECT_EQ(listed[1].title, "Scan Now");
    EXPECT_EQ(listed[1].shortTitle, "Scan Now");
    EXPECT_EQ(listed[1].phrases, (QStringList{"Scan now with Vintrel", "Rescan with Vintrel"}));
}

TEST_F(ShortcutsServiceTest, answersAScanAtOnce) {
    EXPECT_EQ(run("scan-now"), "Rescanning for strays.");
    waitForScan();
    EXPECT_EQ(scansBegun(), 1U);
}

TEST_F(ShortcutsServiceTest, answersACleanWhenItIsDone) {
    scan({safeItem(1), reviewItem(7), safeItem(2)});
    world.killGate().close();
    const QDBusPendingCall pending = script.begin("Run", {"clean-safe-strays"});
    ASSERT_TRUE(spinUntil([this] { return world.killGate().arrivals() > 0; }));
    spinFor(std::chrono::milliseconds(30));
    EXPECT_FALSE(pending.isFinished());
    EXPECT_EQ(run("scan-now"), "Rescanning for strays.") << "others need not wait";
    world.killGate().open();
    ASSERT_TRUE(spinUntil([&] { return pending.isFinished(); }));
    EXPECT_EQ(pending.reply().arguments().value(0).toString(), "Cleaned 2 of 2");
}

TEST_F(ShortcutsServiceTest, answersACleanOfNothing) {
    scan({reviewItem(1)});
    EXPECT_EQ(run("clean-safe-strays"), "No unprotected safe-to-clean processes.");
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(ShortcutsServiceTest, answersEverybodyWhoAsks) {
    scan({safeItem(1)});
    const QDBusPendingCall first = script.begin("Run", {"clean-safe-strays"});
    const QDBusPendingCall second = script.begin("Run", {"clean-safe-strays"});
    ASSERT_TRUE(spinUntil([&] { return first.isFinished() && second.isFinished(); }));
    EXPECT_EQ(first.reply().type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(second.reply().type(), QDBusMessage::ReplyMessage);
    EXPECT_FALSE(world->killings.empty()); // one more when the first was over before the second came
}

TEST_F(ShortcutsServiceTest, tellsWhoHearsTheAnswerNothingElse) {
    EXPECT_EQ(run("scan-now"), "Rescanning for strays.");
    EXPECT_TRUE(requests.told.empty());
}

TEST_F(ShortcutsServiceTest, refusesWhatIsNoShortcut) {
    for (const char* const name : {"", "scan", "bind-global-shortcuts"}) {
        EXPECT_EQ(script.call("Run", {name}).errorName(), "org.freedesktop.DBus.Error.InvalidArgs") << name;
    }
}

} // namespace Vintrel
