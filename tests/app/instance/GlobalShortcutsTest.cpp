// The shortcuts as global ones, with a stand-in for the desktop's portal.
#include "tests/app/instance/GlobalShortcutsTest.h"

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;

TEST_F(GlobalShortcutsTest, areNotAskedForByThemselves) {
    PreparedShortcutsPortal portal(bus);
    make().restore();
    spinFor(50ms);
    EXPECT_EQ(portal.calls, QStringList());
    EXPECT_EQ(requests.told, Told());
}

TEST_F(GlobalShortcutsTest, areOfferedWithoutKeysWhenTheUserWishesThem) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.calls, (QStringList{"Register", "CreateSession", "BindShortcuts"}));
    EXPECT_EQ(portal.signature, "oa(sa{sv})sa{sv}");
    const QMap<QString, QVariantMap> expected{{"clean-safe-strays", {{"description", "Clean Safe Strays"}}},
                                              {"scan-now", {{"description", "Scan Now"}}}};
    EXPECT_EQ(portal.offered, expected);
    EXPECT_TRUE(isMarked());
    EXPECT_EQ(requests.told, Told());
}

TEST_F(GlobalShortcutsTest, areThereAgainAfterTheNextStart) {
    PreparedShortcutsPortal portal(bus);
    setMark();
    make().restore();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(portal.offered.size(), 2);
    EXPECT_TRUE(isMarked());
}

TEST_F(GlobalShortcutsTest, carryTheirShortcutsOut) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    portal.press("scan-now");
    portal.press("unknown");
    portal.press("clean-safe-strays");
    EXPECT_TRUE(spinUntil([this] { return requests.told.size() >= 2; }));
    EXPECT_EQ(requests.asked, (std::vector<std::string>{"scan-now", "clean-safe-strays"}));
    EXPECT_EQ(requests.told, (Told{{"Scan Now", "done"}, {"Clean Safe Strays", "done"}}));
}

TEST_F(GlobalShortcutsTest, ofOtherProgramsAreNotOurs) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    portal.press("scan-now", "/org/freedesktop/portal/desktop/session/1_999/theirs");
    portal.press("clean-safe-strays");
    EXPECT_TRUE(spinUntil([this] { return !requests.asked.empty(); }));
    EXPECT_EQ(requests.asked, std::vector<std::string>{"clean-safe-strays"});
}

TEST_F(GlobalShortcutsTest, thatTheUserRefusesAreNotAskedForAgain) {
    PreparedShortcutsPortal portal(bus);
    portal.answerToBinding = 1;
    setMark();
    make().restore();
    ASSERT_TRUE(spinUntil([&] { return portal.calls.contains("Close"); }));
    EXPECT_FALSE(shortcuts->isBound());
    EXPECT_FALSE(isMarked());
    EXPECT_EQ(requests.told, Told()) << "the user knows";
}

TEST_F(GlobalShortcutsTest, thatTheDesktopFailsToSetUpAreAskedForNextTime) {
    PreparedShortcutsPortal portal(bus);
    portal.answerToBinding = 2;
    setMark();
    make().restore();
    ASSERT_TRUE(spinUntil([&] { return portal.calls.contains("Close"); }));
    EXPECT_FALSE(shortcuts->isBound());
    EXPECT_TRUE(isMarked());
    EXPECT_EQ(requests.told, Told()) << "nobody has asked";
    EXPECT_EQ(portal.sessions, QStringList());
}

TEST_F(GlobalShortcutsTest, thatTheDesktopFailsToSetUpAreMissedByWhoWishesThem) {
    PreparedShortcutsPortal portal(bus);
    portal.answerToBinding = 2;
    setMark();
    make().bind();
    ASSERT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_EQ(requests.told, (Told{{"Global Shortcuts", "The desktop did not set them up."}}));
    EXPECT_TRUE(isMarked());
    portal.answerToBinding = 0;
    shortcuts->bind();
    EXPECT_TRUE(isBound()) << "the next time";
    EXPECT_EQ(requests.told.size(), 1U);
}

TEST_F(GlobalShortcutsTest, areMissedByWhoWishesThemWhenThePortalEnds) {
    PreparedShortcutsPortal portal(bus);
    portal.hesitate();
    make().bind();
    ASSERT_TRUE(spinUntil([&] { return portal.calls.contains("CreateSession"); }));
    portal.leave();
    ASSERT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_EQ(requests.told, (Told{{"Global Shortcuts", "The desktop did not set them up."}}));
}

TEST_F(GlobalShortcutsTest, withoutAPortalAreMissedOnlyByWhoWishesThem) {
    setMark();
    make().restore();
    spinFor(50ms);
    EXPECT_EQ(requests.told, Told());
    shortcuts->bind();
    EXPECT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_EQ(requests.told, (Told{{"Global Shortcuts", "This desktop offers none."}}));
    EXPECT_TRUE(isMarked()) << "the next desktop may have them";
}

TEST_F(GlobalShortcutsTest, ofAPortalWithoutThemAreMissedOnlyByWhoWishesThem) {
    PreparedShortcutsPortal portal(bus);
    portal.isWithoutShortcuts = true;
    make().bind();
    EXPECT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_FALSE(shortcuts->isBound());
    EXPECT_FALSE(isMarked());
}

TEST_F(GlobalShortcutsTest, withoutASessionAreNotThere) {
    PreparedShortcutsPortal portal(bus);
    portal.answerToSession = 2;
    make().bind();
    EXPECT_TRUE(spinUntil([this] { return !requests.told.empty(); }));
    EXPECT_EQ(portal.calls, (QStringList{"Register", "CreateSession"}));
    EXPECT_EQ(requests.told, (Told{{"Global Shortcuts", "The desktop did not set them up."}}));
    EXPECT_FALSE(shortcuts->isBound());
}

TEST_F(GlobalShortcutsTest, withoutABusAreNotThere) {
    shortcuts.emplace(QDBusConnection(QStringLiteral("none")), requests, mark.string());
    setMark();
    shortcuts->restore();
    EXPECT_EQ(requests.told, Told());
    shortcuts->bind();
    EXPECT_EQ(requests.told.size(), 1U);
}
