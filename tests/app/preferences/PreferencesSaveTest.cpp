// What is written for each setting.
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"

#include <chrono>
#include <filesystem>
#include <limits>
#include <vector>

#include <QStringList>
#include <gtest/gtest.h>

namespace Vintrel {

using namespace VintrelTests;
using VintrelCore::ProcessKind;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

void expectRoundTrip(const Preferences& values) {
    const SettingsStore store;
    ASSERT_TRUE(values.save(allKeys));
    expectStored(values);
}

} // namespace

TEST(PreferencesSaveTest, writesEachSettingInItsForm) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    auto stored = storedIn(store.file());
    EXPECT_EQ(stored["elapsedThreshold"], QString("900.5"));
    EXPECT_EQ(stored["scanInterval"], QString("45"));
    EXPECT_EQ(stored["ignoredNames"], (QStringList{"node @ ~/work", "vite"}));
    EXPECT_EQ(stored["protectedProjects"], (QStringList{"~/src/shop", "/srv/app"}));
    EXPECT_EQ(stored["customRules"], (QStringList{"ssh-agent = Keys", "hugo = Site"}));
    EXPECT_EQ(stored["notificationsEnabled"], QString("true"));
    auto kinds = stored["disabledKinds"].toStringList();
    kinds.sort();
    EXPECT_EQ(kinds, (QStringList{"goRun", "vite"}));
    EXPECT_EQ(stored.size(), 7) << "and nothing else";
}

TEST(PreferencesSaveTest, everySettingReadsBackHereAndInAnotherProgram) {
    expectRoundTrip(distinctValues());
    expectRoundTrip({});
}

TEST(PreferencesSaveTest, whatIsGivenIsWrittenAndNothingElse) {
    for (const Key key : allKeys) {
        const SettingsStore store;
        ASSERT_TRUE(distinctValues().save({key}));
        EXPECT_EQ(storedIn(store.file()).size(), 1);
    }
}

TEST(PreferencesSaveTest, oneAfterTheOtherTheyAllCome) {
    const SettingsStore store;
    for (const Key key : allKeys) {
        ASSERT_TRUE(distinctValues().save({key}));
    }
    expectStored(distinctValues());
}

TEST(PreferencesSaveTest, nothingToWriteChangesNothing) {
    const SettingsStore store;
    EXPECT_TRUE(Preferences{}.save({}));
    expectStored({});
    ASSERT_TRUE(distinctValues().save(allKeys));
    EXPECT_TRUE(Preferences{}.save({}));
    expectStored(distinctValues());
}

TEST(PreferencesSaveTest, settingsGoBackToTheirDefaults) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    ASSERT_TRUE(Preferences{}.save(allKeys));
    expectStored({});
    EXPECT_EQ(storedIn(store.file())["notificationsEnabled"], QString("false"));
}

TEST(PreferencesSaveTest, numbersKeepEveryDigit) {
    for (const double number : {45.0, 1.0, 60.0, 0.1, 1.0 / 3, 1e-9, 1e9, 86'400.0, 123'456'789.125, 1e300,
                                std::numeric_limits<double>::max(), std::numeric_limits<double>::min()}) {
        SCOPED_TRACE(number);
        Preferences values;
        values.elapsedThreshold = number;
        values.scanInterval = number;
        expectRoundTrip(values);
    }
}

TEST(PreferencesSaveTest, aNumberThatIsNoPeriodHasNoEffect) {
    for (const double number :
         {0.0, -5.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        const SettingsStore store;
        Preferences values;
        values.elapsedThreshold = number;
        values.scanInterval = number;
        static_cast<void>(values.save({Key::elapsedThreshold, Key::scanInterval}));
        expectStored({});
    }
}

TEST(PreferencesSaveTest, aListThatBecomesEmptyIsEmpty) {
    const SettingsStore store;
    Preferences values = distinctValues();
    ASSERT_TRUE(values.save(allKeys));
    values.ignoredNames.clear();
    values.protectedProjects.clear();
    values.disabledKinds.clear();
    values.customRules.clear();
    ASSERT_TRUE(
        values.save({Key::ignoredNames, Key::protectedProjects, Key::disabledKinds, Key::customRules}));
    expectStored(values);
    EXPECT_EQ(storedIn(store.file())["ignoredNames"].toStringList(), QStringList{});
}

TEST(PreferencesSaveTest, everyKindIsStoredByItsRawValue) {
    Preferences all;
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        all.disabledKinds.insert(kind);
        const SettingsStore store;
        ASSERT_TRUE((Preferences{.disabledKinds = {kind}}).save({Key::disabledKinds}));
        const std::string raw(rawValue(kind));
        EXPECT_EQ(storedIn(store.file())["disabledKinds"], QString::fromStdString(raw));
        EXPECT_EQ(Preferences::load().values.disabledKinds, std::set{kind});
    }
    expectRoundTrip(all);
}

TEST(PreferencesSaveTest, customRulesAreStoredAsTheirTextsInOrder) {
    const SettingsStore store;
    const Preferences values{.customRules = {{"vitest", "Unit, tests"},
                                             {"a", "b = c"},
                                             {"bare", "bare"},
                                             {"@mcp", "\"quoted\""},
                                             {"back\\slash", "; ü"},
                                             {"vitest", "again"}}};
    ASSERT_TRUE(values.save({Key::customRules}));
    EXPECT_EQ(storedIn(store.file())["customRules"].toStringList(),
              (QStringList{"vitest = Unit, tests", "a = b = c", "bare = bare", "@mcp = \"quoted\"",
                           "back\\slash = ; ü", "vitest = again"}));
    expectStored(values);
}

TEST(PreferencesSaveTest, aChangeIsReadAlsoWhereTheClockHasNotMoved) {
    const SettingsStore store;
    Preferences values;
    values.scanInterval = 45;
    ASSERT_TRUE(values.save({Key::scanInterval}));
    const auto ahead = std::chrono::floor<std::chrono::milliseconds>(fs::file_time_type::clock::now()) + 1h;
    fs::last_write_time(store.file(), ahead);
    ASSERT_EQ(Preferences::load().values.scanInterval, 45);
    values.scanInterval = 46;
    ASSERT_TRUE(values.save({Key::scanInterval}));
    EXPECT_GT(fs::last_write_time(store.file()), ahead) << "the toolkit compares sizes and times";
    EXPECT_EQ(Preferences::load().values.scanInterval, 46);
}

TEST(PreferencesSaveTest, everyChangeIsReadAtOnce) {
    const SettingsStore store;
    Preferences values;
    for (int round = 0; round < 100; ++round) { // of the same size, and soon after one another
        values.scanInterval = round % 2 == 0 ? 45 : 46;
        ASSERT_TRUE(values.save({Key::scanInterval}));
        ASSERT_EQ(Preferences::load().values.scanInterval, values.scanInterval) << "round " << round;
    }
}

} // namespace Vintrel
