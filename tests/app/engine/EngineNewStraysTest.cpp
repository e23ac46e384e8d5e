// When new strays are announced, and in which words.
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::URLScheme::Command;

class EngineNewStrays : public EngineTest {
protected:
    EngineNewStrays() { enableNotifications(); }

    void expectNothingPosted() { expectPosted({}); }
};

TEST_F(EngineNewStrays, theFirstScanNeverAnnounces) {
    scan({safeItem(1), safeItem(2)});
    expectNothingPosted();
}

TEST_F(EngineNewStrays, aScanWithKnownItemsAnnouncesNothing) {
    scan({safeItem(1), safeItem(2)});
    scan();
    scan({safeItem(2)});
    expectNothingPosted();
}

TEST_F(EngineNewStrays, oneIsAnnouncedWithItsLabelAndPath) {
    scan({safeItem(1)});
    scan({safeItem(1), safeItem(2)});
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
}

TEST_F(EngineNewStrays, oneAfterAnEmptyScanIsAnnounced) {
    scan();
    scan({reviewItem(2)});
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
}

TEST_F(EngineNewStrays, severalAreAnnouncedTogetherInOrderWithRepeats) {
    ProcessItem node = reviewItem(3);
    node.kind = ProcessKind::node;
    ProcessItem custom = safeItem(9);
    custom.kind = ProcessKind::custom;
    custom.customLabel = "My agent";
    scan({safeItem(1)});
    scan({safeItem(8), safeItem(1), node, safeItem(2), custom});
    expectPosted({{.title = "4 new stray processes", .body = "Vite, Node, Vite, My agent"}});
}

TEST_F(EngineNewStrays, theUsersLabelGoesBeforeThatOfTheKind) {
    ProcessItem custom = safeItem(2);
    custom.customLabel = "My agent";
    scan();
    scan({custom});
    expectPosted({{.title = "New stray process", .body = "My agent: bin/vite"}});
}

TEST_F(EngineNewStrays, oneThatWasAwayForAScanIsNewAgain) {
    scan({safeItem(1)});
    scan(std::vector<ProcessItem>{});
    scan({safeItem(1)});
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
}

TEST_F(EngineNewStrays, areAnnouncedOnlyOnce) {
    scan();
    scan({safeItem(1)});
    scan();
    scan();
    EXPECT_EQ(posted().size(), 1U);
}

TEST_F(EngineNewStrays, areAnnouncedWithoutAskingTheDesktopFirst) {
    notifications.authorization = UserNotifications::Authorization::notDetermined;
    scan();
    scan({safeItem(1)});
    EXPECT_EQ(posted().size(), 1U);
    EXPECT_EQ(notifications.requests, 0);
    EXPECT_EQ(notifications.readings, 0);
}

TEST_F(EngineNewStrays, areNotAnnouncedWhenThatIsOff) {
    engine().setNotificationsEnabled(false);
    scan();
    scan({safeItem(1)});
    engine().setNotificationsEnabled(true);
    spinFor(std::chrono::milliseconds(30));
    scan();
    expectNothingPosted();
    scan({safeItem(1), safeItem(2)});
    EXPECT_EQ(posted().size(), 1U);
}

TEST_F(EngineNewStrays, areAnnouncedWhenTheScanIsOver) {
    class Watching : public VintrelTests::RecordingNotifications {
    public:
        std::function<void()> onAdd;

        void add(const UserNotification& notification) override {
            RecordingNotifications::add(notification);
            onAdd();
        }
    };

    Watching watching;
    ScanEngine engine(watching, world.sources());
    std::vector<bool> wasScanning;
    watching.onAdd = [&] {
        wasScanning.push_back(engine.isScanning());
        EXPECT_EQ(pidsOf(engine.items()), PIDs{1});
    };
    engine.scan();
    ASSERT_TRUE(spinUntil([&] { return !engine.isScanning(); }));
    world->found.items = {safeItem(1)};
    engine.scan();
    ASSERT_TRUE(spinUntil([&] { return !watching.added.empty(); }));
    EXPECT_EQ(wasScanning, std::vector<bool>{false});
}

TEST_F(EngineNewStrays, aScanThatBringsHiddenItemsBackAnnouncesNothing) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(2);
    scan({safeItem(1)});
    world->found.items = {safeItem(1), safeItem(2), safeItem(3)};
    engine().restoreHiddenAndScan();
    EXPECT_EQ(engine().previousPIDs(), std::nullopt);
    waitForScan();
    expectNothingPosted();
    EXPECT_EQ(engine().previousPIDs(), (PIDSet{1, 2, 3}));
    scan({safeItem(1), safeItem(4)});
    EXPECT_EQ(posted().size(), 1U) << "the one after it announces again";
}

TEST_F(EngineNewStrays, whatIsAskedForDuringAScanIsNotAnnouncedByIt) {
    scan({safeItem(1)});
    beginScan({safeItem(1), safeItem(2)});
    engine().restoreHiddenAndScan();
    finishScan();
    expectNothingPosted();
}

TEST_F(EngineNewStrays, aLinkMakesEveryStrayNew) {
    scan({safeItem(1), safeItem(2)});
    engine().perform(Command::scan);
    EXPECT_EQ(engine().previousPIDs(), PIDSet{}) << "empty, and not absent";
    waitForScan();
    expectPosted({{.title = "2 new stray processes", .body = "Vite, Vite"}});
}

TEST_F(EngineNewStrays, aLinkAnnouncesWithTheFirstScanOfAll) {
    world->found.items = {safeItem(1)};
    engine().perform(Command::scan);
    EXPECT_TRUE(engine().isScanning());
    waitForScan();
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
}

TEST_F(EngineNewStrays, aLinkDuringAScanMakesThatOneAnnounceEverything) {
    scan({safeItem(1)});
    beginScan({safeItem(1), safeItem(2)});
    engine().perform(Command::scan);
    finishScan();
    expectPosted({{.title = "2 new stray processes", .body = "Vite, Vite"}});
    EXPECT_EQ(scansBegun(), 2U);
}

TEST_F(EngineNewStrays, aLinkAnnouncesNothingWhenThatIsOff) {
    engine().setNotificationsEnabled(false);
    world->found.items = {safeItem(1)};
    engine().perform(Command::scan);
    waitForScan();
    expectNothingPosted();
}

TEST_F(EngineNewStrays, aLinkBringsNoHiddenItemsBack) {
    scan({safeItem(1), safeItem(2)});
    engine().dismiss(2);
    engine().perform(Command::scan);
    waitForScan();
    EXPECT_EQ(engine().dismissedPIDs(), PIDSet{2});
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
}

} // namespace Vintrel
