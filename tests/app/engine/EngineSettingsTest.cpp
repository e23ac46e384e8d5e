// What a change of a setting writes and brings about.
#include "tests/app/support/EngineTest.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class EngineSettings : public EngineTest {
protected:
    /// Makes a change, and expects that it is told of once, after it was made and written, and brings about
    /// no scan.
    void expectChange(Field field, const std::function<void()>& change, const std::function<bool()>& isMade) {
        (void)engine();
        changes.clear();
        bool wasMade = false;
        onChange = [&](Field) { wasMade = isMade(); };
        change();
        onChange = {};
        EXPECT_EQ(changes, Fields{field});
        EXPECT_TRUE(wasMade);
        EXPECT_TRUE(isMade());
        EXPECT_EQ(scansBegun(), 0U);
        EXPECT_FALSE(engine().isScanning());
    }

    void expectNoScan() {
        spinFor(100ms);
        EXPECT_EQ(scansBegun(), 0U);
    }
};

TEST_F(EngineSettings, theThresholdIsWrittenAtOnce) {
    expectChange(
        Field::elapsedThreshold, [this] { engine().setElapsedThreshold(90.5); },
        [this] { return engine().elapsedThreshold() == 90.5; });
    EXPECT_EQ(stored().elapsedThreshold, 90.5);
    expectNoScan();
}

TEST_F(EngineSettings, theIntervalIsWrittenAtOnce) {
    expectChange(
        Field::scanInterval, [this] { engine().setScanInterval(45.25); },
        [this] { return engine().scanInterval() == 45.25; });
    EXPECT_EQ(stored().scanInterval, 45.25);
    expectNoScan();
}

TEST_F(EngineSettings, theIgnoreRulesAreWrittenAsTheyStand) {
    const Texts rules{"node", " vite @ ~/work/shop ", "", "node"};
    expectChange(
        Field::ignoredNames, [&] { engine().setIgnoredNames(rules); },
        [&] { return engine().ignoredNames() == rules; });
    EXPECT_EQ(stored().ignoredNames, rules);
    expectNoScan();
}

TEST_F(EngineSettings, theProtectedProjectsAreWrittenAsTheyStand) {
    const Texts folders{"~/work/b", "~/work/a", "~/work/b"};
    expectChange(
        Field::protectedProjects, [&] { engine().setProtectedProjects(folders); },
        [&] { return engine().protectedProjects() == folders; });
    EXPECT_EQ(stored().protectedProjects, folders);
    expectNoScan();
}

TEST_F(EngineSettings, theDisabledKindsAreWrittenAtOnce) {
    const std::set kinds{ProcessKind::vite, ProcessKind::docker};
    expectChange(
        Field::disabledKinds, [&] { engine().setDisabledKinds(kinds); },
        [&] { return engine().disabledKinds() == kinds; });
    EXPECT_EQ(stored().disabledKinds, kinds);
    expectNoScan();
}

TEST_F(EngineSettings, theCustomRulesAreWrittenInOrder) {
    const std::vector<CustomRule> rules{{"z", "Last"}, {"a", "b = c"}, {"bare", "bare"}};
    expectChange(
        Field::customRules, [&] { engine().setCustomRules(rules); },
        [&] { return engine().customRules() == rules; });
    EXPECT_EQ(stored().customRules, rules);
    expectNoScan();
}

TEST_F(EngineSettings, announcementsAreWrittenAtOnce) {
    expectChange(
        Field::notificationsEnabled, [this] { engine().setNotificationsEnabled(true); },
        [this] { return engine().notificationsEnabled(); });
    EXPECT_TRUE(stored().notificationsEnabled);
    expectChange(
        Field::notificationsEnabled, [this] { engine().setNotificationsEnabled(false); },
        [this] { return !engine().notificationsEnabled(); });
    EXPECT_FALSE(stored().notificationsEnabled);
    expectNoScan();
}

TEST_F(EngineSettings, listsCanBeEmptiedAgain) {
    engine().setIgnoredNames({"node"});
    engine().setProtectedProjects({"~/a"});
    engine().setDisabledKinds({ProcessKind::vite});
    engine().setCustomRules({{"a", "b"}});
    EXPECT_FALSE(stored() == Preferences{});
    engine().setIgnoredNames({});
    engine().setProtectedProjects({});
    engine().setDisabledKinds({});
    engine().setCustomRules({});
    EXPECT_TRUE(stored() == Preferences{});
}

TEST_F(EngineSettings, theNextEngineHasThem) {
    engine().setElapsedThreshold(5);
    engine().setIgnoredNames({"node"});
    endEngine();
    EXPECT_EQ(engine().elapsedThreshold(), 5);
    EXPECT_EQ(engine().ignoredNames(), Texts{"node"});
}

TEST_F(EngineSettings, theSameValueIsNoChange) {
    engine().setIgnoredNames({});
    engine().setProtectedProjects({});
    engine().setDisabledKinds({});
    engine().setCustomRules({});
    engine().setElapsedThreshold(1'800);
    engine().setScanInterval(120);
    engine().setNotificationsEnabled(false);
    spinFor(20ms);
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(notifications.requests, 0);
    EXPECT_FALSE(fs::exists(settings().file())) << "nothing was written";
}

TEST_F(EngineSettings, timesThatAreNotAboveZeroAreDisregarded) {
    for (const double seconds : {0.0, -0.0, -5.0, -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()}) {
        engine().setScanInterval(seconds);
        engine().setElapsedThreshold(seconds);
    }
    EXPECT_EQ(engine().scanInterval(), 120);
    EXPECT_EQ(engine().elapsedThreshold(), 1'800);
    EXPECT_TRUE(changes.empty());
    EXPECT_FALSE(fs::exists(settings().file()));
}

TEST_F(EngineSettings, aShorterIntervalRestartsTheTimer) {
    (void)engine();
    spinFor(50ms);
    engine().setScanInterval(0.2);
    EXPECT_EQ(scansBegun(), 0U) << "it does not scan at once";
    EXPECT_TRUE(spinUntil([this] { return scansBegun() >= 2; }));
}

TEST_F(EngineSettings, aLongerIntervalRestartsTheTimer) {
    store([](QSettings& values) { values.setValue("scanInterval", 0.2); });
    (void)engine();
    engine().setScanInterval(1'000);
    spinFor(400ms);
    EXPECT_EQ(scansBegun(), 0U);
}

TEST_F(EngineSettings, onlyTheIntervalRestartsTheTimer) {
    store([](QSettings& values) { values.setValue("scanInterval", 0.4); });
    (void)engine();
    for (int round = 0; scansBegun() == 0 && round < 100; ++round) {
        engine().setElapsedThreshold(1 + round);
        engine().setScanInterval(0.4); // the same as before
        spinFor(50ms);
    }
    EXPECT_GE(scansBegun(), 1U);
}

TEST_F(EngineSettings, anIntervalOfAgesDoesNotTick) {
    engine().setScanInterval(std::numeric_limits<double>::max());
    spinFor(100ms);
    engine().setScanInterval(1e10);
    expectNoScan();
}

TEST_F(EngineSettings, leaveWhatElseIsStored) {
    store([](QSettings& values) {
        values.setValue("elapsedThreshold", 7.0);
        values.setValue("Window/size", "400x600");
    });
    engine().setIgnoredNames({"node"});
    EXPECT_EQ(stored().elapsedThreshold, 7);
    std::ifstream file(settings().file());
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text.find("400x600"), std::string::npos) << text;
}

TEST_F(EngineSettings, thatCannotBeWrittenCountAllTheSameAndAreMadeUpFor) {
    (void)engine();
    std::ofstream(settings().folder() / "Vintrel") << "in the way of the folder";
    engine().setElapsedThreshold(99);
    EXPECT_EQ(engine().elapsedThreshold(), 99);
    ASSERT_TRUE(hasProblem(Problem::Source::settings));
    EXPECT_EQ(countOf(Field::problems), 1U);
    engine().setCustomRules({{"a", "b"}});
    EXPECT_EQ(countOf(Field::problems), 1U);
    fs::remove(settings().folder() / "Vintrel");
    engine().setIgnoredNames({"node"});
    EXPECT_FALSE(hasProblem(Problem::Source::settings));
    EXPECT_EQ(stored().elapsedThreshold, 99);
    EXPECT_EQ(stored().customRules, (std::vector<CustomRule>{{"a", "b"}}));
    EXPECT_EQ(stored().ignoredNames, Texts{"node"});
}

} // namespace Vintrel
