// The shortcuts as global ones, with a stand-in for the desktop's portal.
#include "Vintrel/shell/linux/GlobalShortcuts.h"

#include "tests/app/instance/PreparedShortcutsPortal.h"
#include "tests/app/instance/Requests.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::GlobalShortcuts;
using Presence = PreparedShortcutsPortal::Presence;
using Told = std::vector<std::pair<std::string, std::string>>;

namespace {

class GlobalShortcutsTest : public AppTest {
public:
    GlobalShortcuts& make() {
        shortcuts.emplace(bus.connect(), requests, mark.string());
        return *shortcuts;
    }

    /// The user has wished them before.
    void setMark() const {
        std::filesystem::create_directories(mark.parent_path());
        std::ofstream(mark) << "wished\n";
    }

    [[nodiscard]] bool isMarked() const { return std::filesystem::exists(mark); }

    [[nodiscard]] bool isBound() {
        return spinUntil([this] { return shortcuts->isBound(); });
    }

    const std::filesystem::path mark = dataFolder() / "Vintrel/global-shortcuts";
    SessionBus bus;
    RecordingRequests requests;
    std::optional<GlobalShortcuts> shortcuts;
};

} // namespace

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
    EXPECT_EQ(portal.calls, (QStringList{"CreateSession", "BindShortcuts"}));
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
    EXPECT_EQ(portal.calls, QStringList{"CreateSession"});
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

TEST_F(GlobalShortcutsTest, comeBackWithThePortal) {
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

TEST_F(GlobalShortcutsTest, comeWithAPortalThatStartsLater) {
    setMark();
    make().restore();
    spinFor(50ms);
    PreparedShortcutsPortal portal(bus, Presence::later);
    portal.arrive();
    EXPECT_TRUE(isBound());
}

TEST_F(GlobalShortcutsTest, wishedAgainAreOfferedInANewSession) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    const QString before = portal.session;
    shortcuts->bind();
    ASSERT_TRUE(isBound());
    EXPECT_NE(portal.session, before);
    EXPECT_EQ(portal.calls,
              (QStringList{"CreateSession", "BindShortcuts", "Close", "CreateSession", "BindShortcuts"}));
    portal.press("scan-now", before);
    portal.press("scan-now");
    EXPECT_TRUE(spinUntil([this] { return !requests.asked.empty(); }));
    spinFor(30ms);
    EXPECT_EQ(requests.asked.size(), 1U);
}

TEST_F(GlobalShortcutsTest, endWithTheirSession) {
    PreparedShortcutsPortal portal(bus);
    make().bind();
    ASSERT_TRUE(isBound());
    portal.endSession();
    EXPECT_TRUE(spinUntil([this] { return !shortcuts->isBound(); }));
    EXPECT_TRUE(isMarked());
}
