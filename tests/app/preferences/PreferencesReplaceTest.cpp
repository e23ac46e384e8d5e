// A damaged store is kept beside its place before another takes it.
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"
#include "tests/core/base/FolderContent.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>

namespace Vintrel {

using namespace VintrelTests;
using namespace std::string_literals;

namespace fs = std::filesystem;

namespace {

const std::string lostQuote = "[General]\nscanInterval=45\nprotectedProjects=\"~/shop\n";

const std::vector<std::string> damages = {
    lostQuote,
    "[General]\nscanInterval=45\nprotectedProjects=\"~/shop",
    "[General]\nprotectedProjects=~/L\xe4"
    "den\n",
    std::string(512, '\0'),
    "[General]\nscanInterval=45\n"s + std::string(64, '\0'),
    "[General]\nscanInterval=45\nprotect my shop, please\n",
    "hello\n[General]\nscanInterval=45\n",
    "[General]\nscanInterval=45\n[Window]\nhello\n",
    "[General\nscanInterval=45\n",
    "{\"scanInterval\": 45}\n",
    "\x7f"s + "ELF\2\1\1\0\0\0\0\0\n\xff\xfe\n"s,
    std::string(100'000, 'd'),
};

const std::set<std::string> firstName = {"Vintrel.conf.damaged"};

} // namespace

TEST(PreferencesReplaceTest, aDamagedFileIsKeptAndAGoodOneTakesItsPlace) {
    for (const std::string& damaged : damages) {
        SCOPED_TRACE(damaged.substr(0, 80));
        const SettingsStore store;
        store.write(damaged);
        ASSERT_TRUE(Preferences::load().problem.has_value());
        ASSERT_TRUE(distinctValues().save(allKeys));
        expectStored(distinctValues());
        EXPECT_EQ(keptWith(damaged, store.file()), firstName);
        EXPECT_EQ(modeOf(store.file()), 0600);
        EXPECT_EQ(pictureOf(store.folder()).size(), 3U) << "the folder, the settings, the damaged ones";
    }
}

TEST(PreferencesReplaceTest, itNeedsNotBeReadBefore) {
    const SettingsStore store;
    store.write(lostQuote);
    ASSERT_TRUE(distinctValues().save(allKeys));
    expectStored(distinctValues());
    EXPECT_EQ(keptWith(lostQuote, store.file()), firstName);
}

TEST(PreferencesReplaceTest, nothingOfADamagedFileIsTakenOver) {
    for (const std::string& damaged : damages) {
        const SettingsStore store;
        store.write(damaged);
        const Preferences values{.elapsedThreshold = 77};
        ASSERT_TRUE(values.save({Key::elapsedThreshold, Key::protectedProjects}));
        expectStored(values);
    }
}

TEST(PreferencesReplaceTest, whatADamagedFileProtectedIsUnknownUntilThatIsStoredAgain) {
    const SettingsStore store;
    store.write(damages.front());
    ASSERT_TRUE((Preferences{.elapsedThreshold = 77}).save({Key::elapsedThreshold}));
    const auto [values, problem] = Preferences::load();
    ASSERT_TRUE(problem.has_value());
    EXPECT_TRUE(problem->ends_with("were damaged, and may have protected projects")) << *problem;
    EXPECT_EQ(values.elapsedThreshold, 77);
    ASSERT_TRUE(Preferences().save({Key::protectedProjects}));
    EXPECT_EQ(Preferences::load().problem, std::nullopt) << "also none is an answer";
}

TEST(PreferencesReplaceTest, whatADamagedFileProtectedMattersNoMoreWhenItIsTakenAway) {
    const SettingsStore store;
    store.write(damages.front());
    ASSERT_TRUE((Preferences{.elapsedThreshold = 77}).save({Key::elapsedThreshold}));
    ASSERT_TRUE(std::filesystem::remove(store.file().string() + ".damaged"));
    EXPECT_EQ(Preferences::load().problem, std::nullopt);
}

TEST(PreferencesReplaceTest, aSecondDamagedFileGetsAnotherName) {
    const SettingsStore store;
    std::set<std::string> names;
    for (const std::string& damaged : damages) {
        store.write(damaged);
        ASSERT_TRUE(distinctValues().save(allKeys));
        const auto kept = keptWith(damaged, store.file());
        ASSERT_EQ(kept.size(), 1U);
        EXPECT_TRUE(kept.begin()->starts_with("Vintrel.conf.damaged")) << *kept.begin();
        names.insert(*kept.begin());
    }
    EXPECT_EQ(names.size(), damages.size());
    for (const std::string& damaged : damages) {
        EXPECT_EQ(keptWith(damaged, store.file()).size(), 1U) << "all of them are still there";
    }
    expectStored(distinctValues());
}

TEST(PreferencesReplaceTest, theNamesForDamagedFilesMayBeTaken) {
    const SettingsStore store;
    store.write(lostQuote);
    const fs::path first = store.file().string() + ".damaged";
    fs::create_symlink("elsewhere", first);
    ASSERT_TRUE(distinctValues().save(allKeys));
    EXPECT_EQ(fs::read_symlink(first), "elsewhere");
    EXPECT_FALSE(fs::exists(store.file().parent_path() / "elsewhere"));
    EXPECT_EQ(keptWith(lostQuote, store.file()).size(), 1U);
    expectStored(distinctValues());
}

TEST(PreferencesReplaceTest, aGoodFileIsNotKept) {
    const SettingsStore store;
    store.write("[General]\nscanInterval=45\n; a comment on a 5\" disk\n");
    ASSERT_TRUE(distinctValues().save(allKeys));
    ASSERT_TRUE(Preferences{}.save(allKeys));
    EXPECT_EQ(pictureOf(store.folder()).size(), 2U) << "the folder and the settings";
}

TEST(PreferencesReplaceTest, whenTheNewFileCannotBeWrittenAllStays) {
    const SettingsStore store;
    store.write(lostQuote);
    const Picture before = pictureOf(store.folder());
    for (const rlim_t limit : {0U, 1U, 60U, 500U}) {
        EXPECT_EQ(inChild([&] {
                      ::signal(SIGXFSZ, SIG_IGN);
                      const rlimit most{limit, limit};
                      ::setrlimit(RLIMIT_FSIZE, &most);
                      return manyEntries(50, "new").save(allKeys) ? 1 : 0;
                  }),
                  0);
        EXPECT_EQ(pictureOf(store.folder()), before) << limit;
    }
    EXPECT_TRUE(Preferences::load().problem.has_value());
}

TEST(PreferencesReplaceTest, onAReadOnlyDiskAllStays) {
    VINTREL_NEEDS_ROOT();
    const SettingsStore store;
    const ScratchDisk disk(store.file().parent_path(), "size=256k,mode=0700");
    for (const std::string& damaged : {lostQuote, damages.back()}) {
        store.write(damaged);
        ASSERT_TRUE(disk.makeReadOnly());
        const Picture before = pictureOf(store.folder());
        EXPECT_FALSE(distinctValues().save(allKeys));
        EXPECT_EQ(pictureOf(store.folder()), before);
        ASSERT_EQ(::mount("scratch", disk.folder().c_str(), "tmpfs", MS_REMOUNT, nullptr), 0);
    }
    ASSERT_TRUE(distinctValues().save(allKeys));
    expectStored(distinctValues());
    EXPECT_EQ(keptWith(damages.back(), store.file()), firstName);
}

TEST(PreferencesReplaceTest, theSettingsAnotherProgramSavedMeanwhileAreKept) {
    const SettingsStore store;
    store.write(lostQuote);
    ASSERT_TRUE(Preferences::load().problem.has_value());
    EXPECT_EQ(inChild([] { return distinctValues().save(allKeys) ? 0 : 1; }), 0);
    Preferences values = distinctValues();
    values.scanInterval = 7;
    ASSERT_TRUE(values.save({Key::scanInterval})); // what was damaged when it was read is not any more
    expectStored(values);
    EXPECT_EQ(keptWith(lostQuote, store.file()), firstName);
}

} // namespace Vintrel
