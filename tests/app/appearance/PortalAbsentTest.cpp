// Desktops without a settings portal, with one that is late, and with one that does not answer.
#include "Vintrel/shell/linux/DesktopAppearance.h"
#include "tests/app/appearance/PreparedPortal.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"
#include "tests/support/ScopedEnvironment.h"

#include <algorithm>
#include <chrono>
#include <memory>

#include <QDBusConnection>
#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::AppearanceSettings;
using Vintrel::DesktopAppearance;

namespace {

/// Whoever waits for an answer that does not come waits for far longer than this.
constexpr qint64 notBlocked = 5'000;

const Groups dark{{appearance, {{"color-scheme", 1U}}}};

class PortalAbsentTest : public AppTest {
public:
    SessionBus bus;
};

/// Without a bus of its own.
class NoBusAtAllTest : public AppTest {};

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

TEST_F(PortalAbsentTest, leavesWhatIsKnownAnyway) {
    AppearanceSettings known;
    known.prefersDark = true;
    testing::internal::CaptureStderr();
    const DesktopAppearance desktop(bus.connect(), {.fallback = known});
    const Changes changes(desktop);
    spinFor(100ms);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "it is nothing to warn of";
    EXPECT_EQ(desktop.settings(), known);
    EXPECT_EQ(changes.count, 0);
}

TEST_F(PortalAbsentTest, thatComesLaterIsAsked) {
    PreparedPortal portal(bus, dark, PreparedPortal::Presence::later);
    const DesktopAppearance desktop(bus.connect());
    const Changes changes(desktop);
    spinFor(50ms);
    EXPECT_TRUE(portal.asked.empty());
    portal.arrive();
    EXPECT_TRUE(spinUntil([&] { return changes.count == 1; }));
    EXPECT_EQ(desktop.settings().prefersDark, true);
    EXPECT_EQ(portal.asked.size(), 1U);
    portal.change(appearance, "color-scheme", 2U);
    EXPECT_TRUE(spinUntil([&] { return changes.count == 2; })) << "its changes are followed";
}

TEST_F(PortalAbsentTest, thatCannotBeStartedIsNone) {
    bus.startOnDemand("org.freedesktop.portal.Desktop", "/bin/false");
    const DesktopAppearance desktop(bus.connect());
    spinFor(200ms);
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
}

TEST_F(PortalAbsentTest, inSpiritDoesNotHoldUpTheStart) {
    PreparedPortal portal(bus, dark);
    portal.fallSilent();
    const QDBusConnection connection = bus.connect();
    QElapsedTimer start;
    start.start();
    const DesktopAppearance desktop(connection);
    const Changes changes(desktop);
    EXPECT_LT(start.elapsed(), notBlocked);
    EXPECT_LT(longestPause(300ms), notBlocked);
    ASSERT_TRUE(spinUntil([&] { return !portal.asked.empty(); }));
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
    portal.answerAll();
    EXPECT_TRUE(spinUntil([&] { return changes.count == 1; })) << "late is better than never";
    EXPECT_EQ(desktop.settings().prefersDark, true);
}

TEST_F(PortalAbsentTest, mayAnswerAfterTheProgramHasLostInterest) {
    PreparedPortal portal(bus, dark);
    portal.fallSilent();
    auto desktop = std::make_unique<DesktopAppearance>(bus.connect());
    ASSERT_TRUE(spinUntil([&] { return !portal.asked.empty(); }));
    desktop.reset();
    portal.answerAll();
    portal.change(appearance, "color-scheme", 1U);
    spinFor(50ms);
    EXPECT_EQ(portal.asked.size(), 1U);
}

TEST_F(PortalAbsentTest, goesWithTheBus) {
    auto portal = std::make_unique<PreparedPortal>(bus, dark);
    const DesktopAppearance desktop(bus.connect());
    const Changes changes(desktop);
    ASSERT_TRUE(spinUntil([&] { return changes.count == 1; }));
    portal.reset();
    bus.end();
    spinFor(50ms);
    EXPECT_EQ(desktop.settings().prefersDark, true) << "the last that was heard";
    EXPECT_EQ(changes.count, 1);
}

TEST_F(PortalAbsentTest, goesWithTheBusWhileItIsAsked) {
    auto portal = std::make_unique<PreparedPortal>(bus, dark);
    portal->fallSilent();
    const DesktopAppearance desktop(bus.connect());
    ASSERT_TRUE(spinUntil([&] { return !portal->asked.empty(); }));
    portal.reset();
    bus.end();
    spinFor(50ms);
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
}

TEST_F(NoBusAtAllTest, leavesTheDefaults) {
    const auto nowhere = QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"),
                                                       QStringLiteral("nowhere"));
    ASSERT_FALSE(nowhere.isConnected());
    testing::internal::CaptureStderr();
    const DesktopAppearance desktop(nowhere);
    spinFor(50ms);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
}

TEST_F(NoBusAtAllTest, leavesTheDefaultsWithoutASessionBus) {
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    testing::internal::CaptureStderr();
    const DesktopAppearance desktop;
    spinFor(50ms);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
}
