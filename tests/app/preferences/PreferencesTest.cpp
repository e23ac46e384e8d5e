#include "Vintrel/engine/Preferences.h"

#include "tests/app/support/SettingsStore.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <QSettings>
#include <QStringList>
#include <QVariant>
#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::CustomRule;
using VintrelCore::ProcessKind;
using VintrelTests::ScopedEnvironment;
using VintrelTests::SettingsStore;
using VintrelTests::TemporaryFolder;

namespace {

using Texts = std::vector<std::string>;

} // namespace

TEST(PreferencesTest, withoutAFileEverythingHasItsDefault) {
    const SettingsStore store;
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(values.elapsedThreshold, 1800);
    EXPECT_EQ(values.scanInterval, 120);
    EXPECT_EQ(values.ignoredNames, Texts{});
    EXPECT_EQ(values.protectedProjects, Texts{});
    EXPECT_EQ(values.disabledKinds, std::set<ProcessKind>{});
    EXPECT_EQ(values.customRules, std::vector<CustomRule>{});
    EXPECT_FALSE(values.notificationsEnabled);
}

TEST(PreferencesTest, readsAllSevenSettings) {
    const SettingsStore store;
    store.fill([](QSettings& settings) {
        settings.setValue("elapsedThreshold", 900.5);
        settings.setValue("scanInterval", 45.0);
        settings.setValue("ignoredNames", QStringList{"node @ ~/work", "vite"});
        settings.setValue("protectedProjects", QStringList{"~/src/shop", "/srv/app"});
        settings.setValue("disabledKinds", QStringList{"vite", "goRun"});
        settings.setValue("customRules", QStringList{"ssh-agent = Keys", "hugo = Site"});
        settings.setValue("notificationsEnabled", true);
    });
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(values.elapsedThreshold, 900.5);
    EXPECT_EQ(values.scanInterval, 45);
    EXPECT_EQ(values.ignoredNames, (Texts{"node @ ~/work", "vite"}));
    EXPECT_EQ(values.protectedProjects, (Texts{"~/src/shop", "/srv/app"}));
    EXPECT_EQ(values.disabledKinds, (std::set{ProcessKind::vite, ProcessKind::goRun}));
    EXPECT_EQ(values.customRules, (std::vector<CustomRule>{{"ssh-agent", "Keys"}, {"hugo", "Site"}}));
    EXPECT_TRUE(values.notificationsEnabled);
}

TEST(PreferencesTest, readsAFileThatSomebodyWroteWithAnEditor) {
    const SettingsStore store;
    store.write("; my settings\n"
                "[General]\n"
                "scanInterval = 45\n"
                "ignoredNames = node, \"a, b\", straße\n"
                "customRules = hugo\n"
                "notificationsEnabled=true\n");
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(values.elapsedThreshold, 1800) << "absent";
    EXPECT_EQ(values.scanInterval, 45);
    EXPECT_EQ(values.ignoredNames, (Texts{"node", "a, b", "straße"}));
    EXPECT_EQ(values.customRules, (std::vector<CustomRule>{{"hugo", "hugo"}}));
    EXPECT_TRUE(values.notificationsEnabled);
}

TEST(PreferencesTest, knowsOnlyItsOwnKeys) {
    const SettingsStore store;
    store.fill([](QSettings& settings) {
        settings.setValue("scaninterval", 45.0);
        settings.setValue("Window/scanInterval", 45.0);
        settings.setValue("theme", "dark");
    });
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_TRUE(values == Preferences{});
}

TEST(PreferencesTest, usesANumberThatIsGreaterThanZero) {
    for (const double number : {45.0, 1.0, 0.25, 1e-9, 1e9, 1e300, 1.0 / 3}) {
        SCOPED_TRACE(number);
        const SettingsStore store;
        store.fill([number](QSettings& settings) {
            settings.setValue("elapsedThreshold", number);
            settings.setValue("scanInterval", number);
        });
        const auto [values, problem] = Preferences::load();
        EXPECT_EQ(problem, std::nullopt);
        EXPECT_EQ(values.elapsedThreshold, number);
        EXPECT_EQ(values.scanInterval, number);
    }
}

TEST(PreferencesTest, anyOtherNumberStandsForTheDefault) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    const std::vector<QVariant> others = {0.0,
                                          -0.0,
                                          -5.0,
                                          infinity,
                                          -infinity,
                                          notANumber,
                                          "inf",
                                          "1e999",
                                          "soon",
                                          "45 seconds",
                                          "",
                                          true,
                                          QStringList{"45", "5"}};
    for (const QVariant& other : others) {
        const SettingsStore store;
        store.fill([&other](QSettings& settings) {
            settings.setValue("elapsedThreshold", other);
            settings.setValue("scanInterval", other);
            settings.setValue("ignoredNames", "vite");
        });
        const auto [values, problem] = Preferences::load();
        SCOPED_TRACE(other.toString().toStdString());
        EXPECT_EQ(problem, std::nullopt);
        EXPECT_EQ(values.elapsedThreshold, 1800);
        EXPECT_EQ(values.scanInterval, 120);
        EXPECT_EQ(values.ignoredNames, Texts{"vite"}) << "the other settings stay";
    }
}

TEST(PreferencesTest, announcesStraysOnlyWhenToldSo) {
    struct Case {
        QVariant stored;
        bool enabled;
    };

    const std::vector<Case> cases = {
        {true, true}, {false, false},   {"true", true},
        {"", false},  {"false", false}, {"maybe", false},
        {"0", false}, {"1", true},      {QStringList{"true", "true"}, false},
    };
    for (const Case& one : cases) {
        const SettingsStore store;
        store.fill([&one](QSettings& settings) { settings.setValue("notificationsEnabled", one.stored); });
        const auto [values, problem] = Preferences::load();
        SCOPED_TRACE(one.stored.toString().toStdString());
        EXPECT_EQ(problem, std::nullopt);
        EXPECT_EQ(values.notificationsEnabled, one.enabled);
    }
}

TEST(PreferencesTest, readsNoFileButTheUsersOwn) {
    const SettingsStore store;
    const auto write = [](const std::filesystem::path& file, std::string_view bytes) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << bytes;
    };
    write(store.systemWide() / "Vintrel/Vintrel.conf", "[General]\nscanInterval=45\n");
    write(store.systemWide() / "Vintrel.conf", "[General]\nelapsedThreshold=45\n");
    write(store.folder() / "Vintrel.conf", "[General]\nnotificationsEnabled=true\n");
    const QSettings withFallbacks("Vintrel", "Vintrel");
    ASSERT_EQ(withFallbacks.value("scanInterval"), "45");
    ASSERT_EQ(withFallbacks.value("elapsedThreshold"), "45");
    ASSERT_EQ(withFallbacks.value("notificationsEnabled"), "true");

    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_TRUE(values == Preferences{});
}

namespace {

/// Where the file is looked for is settled once in a process, so each of these gets a process of its own.
class PreferencesPlaceDeathTest : public ::testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    [[noreturn]] static void tellScanInterval() {
        std::cerr << Preferences::load().values.scanInterval;
        std::exit(0);
    }

    TemporaryFolder m_home;
    ScopedEnvironment m_environment{"HOME", m_home.path().string()};
};

} // namespace

TEST_F(PreferencesPlaceDeathTest, isTheConfigurationFolder) {
    m_home.write("elsewhere/Vintrel/Vintrel.conf", "[General]\nscanInterval=45\n");
    m_home.write(".config/Vintrel/Vintrel.conf", "[General]\nscanInterval=77\n");
    const ScopedEnvironment configHome("XDG_CONFIG_HOME", (m_home.path() / "elsewhere").string());
    EXPECT_EXIT(tellScanInterval(), ::testing::ExitedWithCode(0), "^45$");
}

TEST_F(PreferencesPlaceDeathTest, isBelowHomeWhereNoConfigurationFolderIsNamed) {
    m_home.write(".config/Vintrel/Vintrel.conf", "[General]\nscanInterval=77\n");
    m_home.write("relative/Vintrel/Vintrel.conf", "[General]\nscanInterval=45\n");
    for (const auto& named : {std::optional<std::string>(), std::optional<std::string>("relative"),
                              std::optional<std::string>("")}) {
        const ScopedEnvironment configHome("XDG_CONFIG_HOME", named);
        EXPECT_EXIT(tellScanInterval(), ::testing::ExitedWithCode(0), "^77$") << named.value_or("none");
    }
}

} // namespace Vintrel
