#include "Vintrel/engine/Preferences.h"
#include "tests/app/support/SettingsStore.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <QSettings>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace Vintrel {

using VintrelTests::ScopedEnvironment;
using VintrelTests::SettingsStore;
using VintrelTests::TemporaryFolder;

namespace {

namespace fs = std::filesystem;

using namespace std::string_literals;

struct Damage {
    std::string why;
    std::string bytes;
};

const std::vector<Damage> damages = {
    {"an unterminated quote", "[General]\nscanInterval=45\nprotectedProjects=\"~/shop\n"},
    {"an unterminated quote at the very end", "[General]\nscanInterval=45\nprotectedProjects=\"~/shop"},
    {"an unterminated quote in a list", "[General]\nprotectedProjects=~/a, \"~/shop\nscanInterval=45\n"},
    {"two lost quotes", "[General]\nprotectedProjects=\"~/code/a\nignoredNames=\"vite\nelapsedThreshold=5\n"},
    {"text that is not UTF-8", "[General]\nprotectedProjects=~/L\xe4"
                               "den\n"},
    {"nothing but zeros", std::string(512, '\0')},
    {"zeros behind the settings", "[General]\nscanInterval=45\n"s + std::string(64, '\0')},
    {"a zero in a value", "[General]\nscanInterval=45\nprotectedProjects=~/sh\0op\n"s},
    {"a zero in a key", "[General]\nscan\0Interval=45\n"s},
    {"a line that is no setting", "[General]\nscanInterval=45\nprotect my shop, please\n"},
    {"a line that is no setting, in front", "hello\n[General]\nscanInterval=45\n"},
    {"a line that is no setting, in another section", "[General]\nscanInterval=45\n[Window]\nhello\n"},
    {"an unfinished section", "[General\nscanInterval=45\n"},
    {"another format", "{\"scanInterval\": 45}\n"},
    {"a program", "\x7f"s + "ELF\2\1\1\0\0\0\0\0\n\xff\xfe\n"s},
};

/// No value may come from a store that is not whole: half of what the user protects is not enough.
void expectProblem() {
    const auto [values, problem] = Preferences::load();
    EXPECT_TRUE(values == Preferences{}) << "not all values are defaults";
    ASSERT_TRUE(problem.has_value());
    EXPECT_NE(problem->find(' '), std::string::npos) << "no sentence: " << *problem;
}

void expectScanInterval(double seconds) {
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(values.scanInterval, seconds);
    EXPECT_EQ(problem, std::nullopt);
}

} // namespace

TEST(PreferencesDamageTest, aDamagedFileIsAProblem) {
    for (const auto& [why, bytes] : damages) {
        SCOPED_TRACE(why);
        const SettingsStore store;
        store.write(bytes);
        expectProblem();
    }
}

TEST(PreferencesDamageTest, aDamagedFileStaysAsItIs) {
    for (const auto& [why, bytes] : damages) {
        SCOPED_TRACE(why);
        const SettingsStore store;
        store.write(bytes);
        const auto before = store.contents();
        EXPECT_EQ(Preferences::load().values.notificationsEnabled, false);
        EXPECT_EQ(store.contents(), before);
    }
}

TEST(PreferencesDamageTest, aFileWithoutSettingsIsWhole) {
    for (const std::string bytes : {"", "\n", "[General]\n", "; nothing\n\n  ; at all on a 5\" disk\n",
                                    "[General] ; \"\n", "[Window]\n"}) {
        SCOPED_TRACE(bytes);
        const SettingsStore store;
        store.write(bytes);
        const auto [values, problem] = Preferences::load();
        EXPECT_TRUE(values == Preferences{}) << "not all values are defaults";
        EXPECT_EQ(problem, std::nullopt);
    }
}

TEST(PreferencesDamageTest, theLastLineNeedsNoLineFeed) {
    const SettingsStore store;
    store.write("[General]\nscanInterval=45");
    expectScanInterval(45);
}

TEST(PreferencesDamageTest, linesMayEndAsOnOtherSystems) {
    const SettingsStore store;
    store.write("[General]\r\nscanInterval=45\r\nprotectedProjects=~/shop\r\n");
    expectScanInterval(45);
    EXPECT_EQ(Preferences::load().values.protectedProjects, std::vector<std::string>{"~/shop"});
}

TEST(PreferencesDamageTest, aLinkToTheFileIsFollowed) {
    const SettingsStore store;
    const TemporaryFolder elsewhere;
    fs::create_directories(store.file().parent_path());
    fs::create_symlink(elsewhere.write("dotfiles/vintrel", "[General]\nscanInterval=45\n"), store.file());
    expectScanInterval(45);
}

TEST(PreferencesDamageTest, aFolderInPlaceOfTheFileIsAProblem) {
    const SettingsStore store;
    fs::create_directories(store.file());
    expectProblem();
    EXPECT_TRUE(fs::is_directory(store.file()));
}

TEST(PreferencesDamageTest, readingWritesNothing) {
    const SettingsStore store;
    store.fill([](QSettings& settings) { settings.setValue("scanInterval", 45.0); });
    const auto before = store.contents();
    expectScanInterval(45);
    EXPECT_EQ(store.contents(), before);
}

TEST(PreferencesDamageTest, readingMakesNoFileWhereThereIsNone) {
    const SettingsStore store;
    const auto before = store.contents();
    EXPECT_EQ(Preferences::load().problem, std::nullopt);
    EXPECT_EQ(store.contents(), before);
    fs::create_directories(store.file().parent_path());
    const auto withAFolder = store.contents();
    EXPECT_EQ(Preferences::load().problem, std::nullopt);
    EXPECT_EQ(store.contents(), withAFolder);
}

TEST(PreferencesDamageTest, readingMakesNoFolderWhereThereIsNone) {
    const SettingsStore store;
    fs::remove(store.folder());
    EXPECT_EQ(Preferences::load().problem, std::nullopt);
    EXPECT_FALSE(fs::exists(store.folder()));
}

namespace {

/// What somebody without special rights gets to see.
class PreferencesDeathTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_store.write("[General]\nscanInterval=45\n");
        fs::permissions(m_store.folder(), fs::perms{0755});
        fs::permissions(m_store.file().parent_path(), fs::perms{0755});
        fs::permissions(m_store.file(), fs::perms{0644});
    }

    void TearDown() override {
        // Only then can it be removed by somebody without special rights.
        fs::permissions(m_store.file().parent_path(), fs::perms{0755});
    }

    static constexpr int gotTheSettings = 0;
    static constexpr int gotAProblem = 1;
    static constexpr int gotSomethingElse = 2;

    [[noreturn]] static void load() {
        ::alarm(5);
        const auto [values, problem] = Preferences::load();
        if (values.scanInterval == 45 && !problem) {
            std::_Exit(gotTheSettings);
        }
        std::_Exit(values == Preferences{} && problem ? gotAProblem : gotSomethingElse);
    }

    [[noreturn]] static void loadWithoutRights() {
        constexpr uid_t nobody = 65'534;
        if (::geteuid() == 0 && (::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
            std::_Exit(3);
        }
        load();
    }

    const SettingsStore m_store;
};

} // namespace

TEST_F(PreferencesDeathTest, aReadableFileIsRead) {
    EXPECT_EXIT(loadWithoutRights(), ::testing::ExitedWithCode(gotTheSettings), "");
}

TEST_F(PreferencesDeathTest, aFileThatMayOnlyBeReadIsRead) {
    fs::permissions(m_store.file(), fs::perms{0444});
    fs::permissions(m_store.file().parent_path(), fs::perms{0555});
    EXPECT_EXIT(loadWithoutRights(), ::testing::ExitedWithCode(gotTheSettings), "");
}

TEST_F(PreferencesDeathTest, anUnreadableFileIsAProblem) {
    fs::permissions(m_store.file(), fs::perms{0200});
    EXPECT_EXIT(loadWithoutRights(), ::testing::ExitedWithCode(gotAProblem), "");
}

TEST_F(PreferencesDeathTest, aFolderThatNobodyMayLookIntoIsAProblem) {
    fs::permissions(m_store.file().parent_path(), fs::perms{0000});
    EXPECT_EXIT(loadWithoutRights(), ::testing::ExitedWithCode(gotAProblem), "");
}

TEST_F(PreferencesDeathTest, aPipeInPlaceOfTheFileIsAProblemAndNoReasonToWait) {
    fs::remove(m_store.file());
    ASSERT_EQ(::mkfifo(m_store.file().c_str(), 0644), 0);
    EXPECT_EXIT(load(), ::testing::ExitedWithCode(gotAProblem), "");
}

} // namespace Vintrel
