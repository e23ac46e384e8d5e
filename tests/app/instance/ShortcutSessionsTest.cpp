// The sessions that hold the global shortcuts: one at a time, on a portal that knows whose it is.
#include "Vintrel/shell/linux/DesktopAppearance.h"
#include "tests/app/instance/GlobalShortcutsTest.h"

#include <chrono>
#include <filesystem>

#include <QDBusConnectionInterface>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Presence = PreparedShortcutsPortal::Presence;

namespace {

using ShortcutSessionsTest = GlobalShortcutsTest;

} // namespace

TEST_F(ShortcutSessionsTest, thatCannotBeBoundLeaveNoSession) {
    PreparedShortcutsPortal portal(bus);
    portal.errors["BindShortcuts"] = "org.freedesktop.portal.Error.Failed";
    make().bind();
    ASSERT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_EQ(requests.told, (Told{{"Global Shortcuts", "The desktop did not set them up."}}));
    EXPECT_TRUE(spinUntil([&] { return portal.calls.contains("Close"); }));
    EXPECT_EQ(portal.sessions, QStringList());
    EXPECT_FALSE(isMarked());
}

TEST_F(ShortcutSessionsTest, ofAPortalForKnownProgramsAreOfferedUnderTheProgramsName) {
    PreparedShortcutsPortal portal(bus);
    portal.isForKnownPrograms = true;
    make().bind();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.known, QStringList{"dev.vintrel.Vintrel"});
    portal.leave();
    ASSERT_TRUE(spinUntil([this] { return !shortcuts->isBound(); }));
    portal.arrive();
    EXPECT_TRUE(isBound()) << "it has forgotten everything";
    EXPECT_EQ(portal.known.size(), 2);
}

TEST_F(ShortcutSessionsTest, comeBackWithAPortalThatTakesThePlaceOfAnother) {
    QDBusConnection other = bus.connect();
    const QString name = "org.freedesktop.portal.Desktop";
    const auto replaceable = QDBusConnectionInterface::AllowReplacement;
    ASSERT_TRUE(
        other.interface()->registerService(name, QDBusConnectionInterface::DontQueueService, replaceable));
    setMark();
    make().restore();
    spinFor(50ms);
    EXPECT_FALSE(shortcuts->isBound());
    PreparedShortcutsPortal portal(bus, Presence::later);
    portal.isForKnownPrograms = true;
    portal.replace();
    EXPECT_TRUE(isBound());
}

TEST_F(ShortcutSessionsTest, shareTheConnectionWithTheAppearance) {
    PreparedShortcutsPortal portal(bus);
    portal.isForKnownPrograms = true;
    const QDBusConnection connection = bus.connect();
    const Vintrel::DesktopAppearance appearance(connection);
    shortcuts.emplace(connection, requests, mark.string());
    shortcuts->bind();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.calls, (QStringList{"Register", "ReadAll", "CreateSession", "BindShortcuts"}));
}

TEST_F(ShortcutSessionsTest, thatNobodyWishesStartNoPortal) {
    const auto started = dataFolder() / "started";
    bus.startOnDemand("org.freedesktop.portal.Desktop", "/usr/bin/touch " + started.string());
    make().restore();
    spinFor(200ms);
    EXPECT_FALSE(std::filesystem::exists(started));
    shortcuts->bind();
    EXPECT_TRUE(spinUntil([&] { return std::filesystem::exists(started); }));
}

TEST_F(ShortcutSessionsTest, comeBackWithThePortal) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    portal.leave();
    ASSERT_TRUE(spinUntil([this] { return !shortcuts->isBound(); }));
    portal.arrive();
    ASSERT_TRUE(isBound());
    portal.press("scan-now");
    EXPECT_TRUE(spinUntil([this] { return !requests.asked.empty(); }));
    spinFor(30ms);
    EXPECT_EQ(requests.asked.size(), 1U) << "heard twice";
}

TEST_F(ShortcutSessionsTest, comeWithAPortalThatStartsLater) {
    setMark();
    make().restore();
    spinFor(50ms);
    PreparedShortcutsPortal portal(bus, Presence::later);
    portal.arrive();
    EXPECT_TRUE(isBound());
}

TEST_F(ShortcutSessionsTest, wishedAgainAreOfferedInANewSession) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    const QString before = portal.session;
    shortcuts->bind();
    EXPECT_FALSE(shortcuts->isBound());
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.session, before) << "desktops may keep the keys under its name";
    EXPECT_EQ(portal.sessions, QStringList{before});
    EXPECT_EQ(portal.calls, (QStringList{"Register", "CreateSession", "BindShortcuts", "Close",
                                         "CreateSession", "BindShortcuts"}));
    portal.press("scan-now");
    EXPECT_TRUE(spinUntil([this] { return !requests.asked.empty(); }));
    spinFor(30ms);
    EXPECT_EQ(requests.asked.size(), 1U);
    EXPECT_EQ(requests.told.size(), 1U) << "and that is the result";
}

TEST_F(ShortcutSessionsTest, wishedAgainMeanwhileAreOfferedOnce) {
    PreparedShortcutsPortal portal(bus);
    portal.hesitate();
    make().bind();
    ASSERT_TRUE(spinUntil([&] { return !portal.sessions.empty(); }));
    shortcuts->bind();
    shortcuts->bind();
    spinFor(30ms);
    portal.answerAll();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.calls, (QStringList{"Register", "CreateSession", "BindShortcuts"}));
    EXPECT_EQ(portal.sessions.size(), 1);
    EXPECT_EQ(requests.told, Told());
}

TEST_F(ShortcutSessionsTest, wishedAgainWhileTheUserIsAskedAreAskedForAnew) {
    PreparedShortcutsPortal portal(bus);
    make();
    shortcuts->bind();
    ASSERT_TRUE(spinUntil([&] { return portal.calls.contains("CreateSession"); }));
    portal.hesitate();
    ASSERT_TRUE(spinUntil([&] { return portal.calls.contains("BindShortcuts"); }));
    portal.answerToBinding = 0;
    shortcuts->bind();
    ASSERT_TRUE(spinUntil([&] { return portal.calls.count("CreateSession") == 2; }));
    portal.answerAll();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.calls, (QStringList{"Register", "CreateSession", "BindShortcuts", "Close",
                                         "CreateSession", "BindShortcuts"}));
    EXPECT_EQ(portal.sessions.size(), 1);
    EXPECT_TRUE(isMarked());
    EXPECT_EQ(requests.told, Told());
}

TEST_F(ShortcutSessionsTest, ofAPortalThatAnswersLateAreThereLate) {
    PreparedShortcutsPortal portal(bus);
    portal.errors["CreateSession"] = "org.freedesktop.DBus.Error.NoReply";
    portal.doesWhatItDenies = true;
    portal.hesitate();
    make().bind();
    ASSERT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_EQ(requests.told, (Told{{"Global Shortcuts", "The desktop did not set them up."}}));
    shortcuts->bind();
    portal.answerAll();
    EXPECT_TRUE(isBound());
    EXPECT_EQ(portal.sessions.size(), 1) << "none is left behind";
    EXPECT_EQ(portal.calls.count("CreateSession"), 1);
}

TEST_F(ShortcutSessionsTest, endWithTheirSession) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    portal.endSession();
    EXPECT_TRUE(spinUntil([this] { return !shortcuts->isBound(); }));
    EXPECT_TRUE(isMarked());
}
