// Wishes that change while the program runs.
#include "Vintrel/shell/linux/DesktopAppearance.h"
#include "tests/app/appearance/PreparedPortal.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <chrono>

#include <QColor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::AppearanceSettings;
using Vintrel::DesktopAppearance;

namespace {

/// With a light desktop, once that is known.
class PortalChangesTest : public AppTest {
public:
    SessionBus bus;
    PreparedPortal portal{bus, {{appearance, {{"color-scheme", 2U}}}}};
    QDBusConnection program = bus.connect();
    DesktopAppearance desktop{program};
    Changes changes{desktop};

    void SetUp() override {
        ASSERT_TRUE(spinUntil([this] { return changes.count == 1; }));
        ASSERT_EQ(desktop.settings().prefersDark, false);
        changes.count = 0;
    }

    /// Waits until everything that the portal has said is heard.
    void hearAll() const { EXPECT_TRUE(portal.isHeardOn(program)); }
};

} // namespace

TEST_F(PortalChangesTest, areFollowed) {
    portal.change(appearance, "color-scheme", 1U);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 1; }));
    EXPECT_EQ(desktop.settings().prefersDark, true);
    portal.change(appearance, "accent-color", QVariant::fromValue(Shares{1, 0, 0}));
    ASSERT_TRUE(spinUntil([&] { return changes.count == 2; }));
    EXPECT_EQ(desktop.settings().accent, QColor(Qt::red));
    portal.change(interface, "enable-animations", false);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 3; }));
    EXPECT_TRUE(desktop.settings().prefersReducedMotion);
    portal.change(interface, "font-name", "Ubuntu 12");
    ASSERT_TRUE(spinUntil([&] { return changes.count == 4; }));
    EXPECT_EQ(desktop.settings().font.value().families(), QStringList("Ubuntu"));
    EXPECT_EQ(desktop.settings().prefersDark, true) << "what was said before holds";
}

TEST_F(PortalChangesTest, backAgainAreFollowed) {
    portal.change(interface, "enable-animations", false);
    portal.change(interface, "enable-animations", true);
    portal.change(appearance, "contrast", 1U);
    portal.change(appearance, "contrast", 0U);
    portal.change(appearance, "color-scheme", 0U);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 5; }));
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
}

TEST_F(PortalChangesTest, anAccentCanBeTakenAway) {
    portal.change(appearance, "accent-color", QVariant::fromValue(Shares{1, 0, 0}));
    ASSERT_TRUE(spinUntil([&] { return desktop.settings().accent.has_value(); }));
    portal.change(appearance, "accent-color", QVariant::fromValue(Shares{-1, -1, -1}));
    EXPECT_TRUE(spinUntil([&] { return !desktop.settings().accent.has_value(); }));
}

TEST_F(PortalChangesTest, toTheSameAreNone) {
    portal.change(appearance, "color-scheme", 2U);
    portal.change(interface, "color-scheme", "prefer-dark");
    portal.change(interface, "cursor-size", 24);
    portal.change("org.example", "color-scheme", 1U);
    hearAll();
    EXPECT_EQ(changes.count, 0);
}

TEST_F(PortalChangesTest, thatAreMalformedAreDisregarded) {
    portal.change(appearance, "accent-color", QVariant::fromValue(Shares{1, 0, 0}));
    portal.change(interface, "font-name", "Ubuntu 12");
    ASSERT_TRUE(spinUntil([&] { return changes.count == 2; }));
    const AppearanceSettings before = desktop.settings();
    portal.change(appearance, "color-scheme", "dark");
    portal.change(appearance, "color-scheme", 1);
    portal.change(appearance, "accent-color", "red");
    portal.change(appearance, "accent-color", QVariantList{1.0, 0.0});
    portal.change(interface, "font-name", "");
    portal.change(interface, "font-name", 12);
    portal.change(interface, "font-name", QString(100'000, 'x') + " 12");
    portal.tell({});
    portal.tell({appearance, "color-scheme"});
    portal.tell({appearance, "color-scheme", 1U});
    portal.tell({1U, appearance, "color-scheme"});
    hearAll();
    EXPECT_EQ(changes.count, 2);
    EXPECT_EQ(desktop.settings(), before);
    portal.change(appearance, "color-scheme", 1U);
    EXPECT_TRUE(spinUntil([&] { return changes.count == 3; })) << "it still listens";
}

TEST_F(PortalChangesTest, areBelievedFromThePortalOnly) {
    const QDBusConnection impostor = bus.connect();
    auto message = QDBusMessage::createSignal("/org/freedesktop/portal/desktop",
                                              "org.freedesktop.portal.Settings", "SettingChanged");
    message << appearance << QStringLiteral("color-scheme") << QVariant::fromValue(QDBusVariant(1U));
    ASSERT_TRUE(impostor.send(message));
    spinFor(100ms);
    EXPECT_EQ(desktop.settings().prefersDark, false);
}

TEST_F(PortalChangesTest, ofAPortalThatCameBackAreFollowed) {
    portal.leave();
    hearAll();
    EXPECT_EQ(desktop.settings().prefersDark, false) << "nobody has said otherwise";
    portal.answer = {QVariant::fromValue(Groups{{appearance, {{"color-scheme", 1U}}}})};
    portal.arrive();
    ASSERT_TRUE(spinUntil([&] { return changes.count == 1; })) << "it is asked again";
    EXPECT_EQ(portal.calls, (QStringList{"Register", "ReadAll", "Register", "ReadAll"}));
    EXPECT_EQ(desktop.settings().prefersDark, true);
    portal.change(appearance, "color-scheme", 2U);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 2; }));
    EXPECT_EQ(desktop.settings().prefersDark, false);
}

TEST_F(PortalChangesTest, aNewPortalsAnswerReplacesWhatTheOldOneSaid) {
    portal.change(appearance, "contrast", 1U);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 1; }));
    portal.leave();
    portal.answer = {QVariant::fromValue(Groups{})};
    portal.arrive();
    EXPECT_TRUE(spinUntil([&] { return changes.count == 2; }));
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
}

TEST_F(PortalChangesTest, whileTheAnswerIsAwaitedCount) {
    portal.leave();
    hearAll();
    portal.fallSilent();
    portal.arrive();
    ASSERT_TRUE(spinUntil([&] { return portal.asked.size() == 2; }));
    portal.change(appearance, "color-scheme", 1U);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 1; }));
    EXPECT_EQ(desktop.settings().prefersDark, true);
    portal.answer = {QVariant::fromValue(Groups{{appearance, {{"color-scheme", 1U}}}})};
    portal.answerAll();
    hearAll();
    EXPECT_EQ(changes.count, 1);
}
