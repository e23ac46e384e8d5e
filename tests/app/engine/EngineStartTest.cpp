// What an engine begins with, and when it scans by itself.
#include "tests/app/support/EngineTest.h"

#include <limits>
#include <set>
#include <string>

#include <QStringList>
#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;

class EngineStart : public EngineTest {
protected:
    void storeInterval(double seconds) const {
        store([seconds](QSettings& values) { values.setValue("scanInterval", seconds); });
    }
};

TEST_F(EngineStart, nothingIsKnownBeforeTheFirstScan) {
    EXPECT_TRUE(engine().items().empty());
    EXPECT_FALSE(engine().isScanning());
    EXPECT_TRUE(engine().listeningPorts().empty());
    EXPECT_TRUE(engine().containerOwners().empty());
    EXPECT_TRUE(engine().cwds().empty());
    EXPECT_TRUE(engine().processTable().empty());
    EXPECT_TRUE(engine().openFiles().empty());
    EXPECT_TRUE(engine().managers().empty());
    EXPECT_TRUE(engine().problems().empty());
    EXPECT_TRUE(engine().dismissedPIDs().empty());
    EXPECT_EQ(engine().previousPIDs(), std::nullopt);
    EXPECT_EQ(engine().scanHistory().windowDepth(), 5);
    EXPECT_TRUE(engine().sweepableSafeItems().empty());
    EXPECT_EQ(engine().reasonNotToClean(), std::nullopt);
}

TEST_F(EngineStart, withoutStoredSettingsTheDefaultsStand) {
    EXPECT_EQ(engine().scanInterval(), 120);
    EXPECT_EQ(engine().elapsedThreshold(), 1'800);
    EXPECT_TRUE(engine().ignoredNames().empty());
    EXPECT_TRUE(engine().protectedProjects().empty());
    EXPECT_TRUE(engine().disabledKinds().empty());
    EXPECT_TRUE(engine().customRules().empty());
    EXPECT_FALSE(engine().notificationsEnabled());
}

TEST_F(EngineStart, loadsWhatIsStored) {
    store([](QSettings& values) {
        values.setValue("elapsedThreshold", 90.5);
        values.setValue("scanInterval", 45.0);
        values.setValue("ignoredNames", QStringList{"node", "vite @ ~/work/shop"});
        values.setValue("protectedProjects", QStringList{"~/work/a", "~/work/b"});
        values.setValue("disabledKinds", QStringList{"docker", "warp drive"});
        values.setValue("customRules", QStringList{"agent = Agent", " = none", "bare"});
        values.setValue("notificationsEnabled", true);
    });
    EXPECT_EQ(engine().elapsedThreshold(), 90.5);
    EXPECT_EQ(engine().scanInterval(), 45);
    EXPECT_EQ(engine().ignoredNames(), (std::vector<std::string>{"node", "vite @ ~/work/shop"}));
    EXPECT_EQ(engine().protectedProjects(), (std::vector<std::string>{"~/work/a", "~/work/b"}));
    EXPECT_EQ(engine().disabledKinds(), std::set{ProcessKind::docker});
    EXPECT_EQ(engine().customRules(), (std::vector<CustomRule>{{"agent", "Agent"}, {"bare", "bare"}}));
    EXPECT_TRUE(engine().notificationsEnabled());
}

TEST_F(EngineStart, storedTimesThatAreNotAboveZeroAreDisregarded) {
    store([](QSettings& values) {
        values.setValue("elapsedThreshold", 0.0);
        values.setValue("scanInterval", -5.0);
    });
    EXPECT_EQ(engine().elapsedThreshold(), 1'800);
    EXPECT_EQ(engine().scanInterval(), 120);
}

TEST_F(EngineStart, aStartWritesNoSettings) {
    (void)engine();
    spinFor(50ms);
    EXPECT_FALSE(std::filesystem::exists(settings().file()));
}

TEST_F(EngineStart, theLogIsTheUsersAndKeepsAThousandEvents) {
    EXPECT_EQ(engine().cleanLog().fileURL(), cleanLogFile().string());
    EXPECT_EQ(engine().cleanLog().cap(), 1'000);
    EXPECT_TRUE(engine().cleanLog().events().empty());
}

TEST_F(EngineStart, doesNotScan) {
    (void)engine();
    spinFor(200ms);
    EXPECT_EQ(scansBegun(), 0U);
    EXPECT_FALSE(engine().isScanning());
    EXPECT_TRUE(changes.empty());
}

TEST_F(EngineStart, announcementsThatWereOnAskForNothing) {
    enableNotifications();
    (void)engine();
    spinFor(50ms);
    EXPECT_EQ(notifications.requests, 0);
    EXPECT_EQ(notifications.readings, 0);
    EXPECT_TRUE(changes.empty());
}

TEST_F(EngineStart, everyTickOfTheTimerScans) {
    storeInterval(0.2);
    world->found.items = {safeItem(1)};
    EXPECT_EQ(engine().scanInterval(), 0.2);
    EXPECT_TRUE(spinUntil([this] { return scansBegun() >= 3; }));
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
}

TEST_F(EngineStart, theFirstTickComesAfterOneInterval) {
    storeInterval(0.6);
    (void)engine();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(spinUntil([this] { return scansBegun() == 1; }));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 500ms);
}

TEST_F(EngineStart, aTickDuringAScanIsDropped) {
    storeInterval(0.05);
    beginScan({safeItem(1)});
    spinFor(300ms);
    EXPECT_EQ(scansBegun(), 1U);
    finishScan();
    EXPECT_TRUE(spinUntil([this] { return scansBegun() >= 2; })) << "the timer goes on";
}

TEST_F(EngineStart, anIntervalOfAgesDoesNotTick) {
    storeInterval(std::numeric_limits<double>::max());
    (void)engine();
    spinFor(200ms);
    EXPECT_EQ(scansBegun(), 0U);
}

TEST_F(EngineStart, anIntervalBeyondTheTimersRangeDoesNotTick) {
    storeInterval(5'000'000); // more milliseconds than 32 bits hold
    (void)engine();
    spinFor(200ms);
    EXPECT_EQ(scansBegun(), 0U);
}

} // namespace Vintrel
