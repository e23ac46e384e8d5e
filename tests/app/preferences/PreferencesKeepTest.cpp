// What saving leaves as it is, and the permissions it gives.
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"
#include "tests/core/base/FolderContent.h"

#include <string>
#include <utility>
#include <vector>

#include <QByteArray>
#include <QPoint>
#include <QStringList>
#include <gtest/gtest.h>

namespace Vintrel {

using namespace VintrelTests;

namespace fs = std::filesystem;

namespace {

/// Settings of every sort, also such as this version does not know, or would not write like this.
void fillWithForeignValues(QSettings& settings) {
    settings.setValue("elapsedThreshold", "soon");
    settings.setValue("scanInterval", -5);
    settings.setValue("ignoredNames", "a plain text");
    settings.setValue("protectedProjects", QStringList{"~/a, b", "@c", ""});
    settings.setValue("disabledKinds", QStringList{"vite", "warp drive", "vite"});
    settings.setValue("customRules", QStringList{" = nothing", "bare", "a=b"});
    settings.setValue("notificationsEnabled", "maybe");
    settings.setValue("theme", "dark; \"very\"");
    settings.setValue("scaninterval", 77);
    settings.setValue("General/scanInterval", 78);
    settings.setValue("Window/geometry", QByteArray("\0\1\xff x", 5));
    settings.setValue("Window/Deep/place", QPoint(3, -4));
    settings.setValue("Zeilen/ü ä", QStringList{"ö", "\n", "日本"});
    settings.setValue("nothing", QVariant());
    settings.setValue("empty", "");
}

const std::vector<std::pair<Key, QString>> names = {{Key::elapsedThreshold, "elapsedThreshold"},
                                                    {Key::scanInterval, "scanInterval"},
                                                    {Key::ignoredNames, "ignoredNames"},
                                                    {Key::protectedProjects, "protectedProjects"},
                                                    {Key::disabledKinds, "disabledKinds"},
                                                    {Key::customRules, "customRules"},
                                                    {Key::notificationsEnabled, "notificationsEnabled"}};

} // namespace

TEST(PreferencesKeepTest, whatIsNotGivenStaysAsItStands) {
    for (const auto& [key, name] : names) {
        SCOPED_TRACE(name.toStdString());
        const SettingsStore store;
        store.fill(fillWithForeignValues);
        auto before = storedIn(store.file());
        ASSERT_EQ(before.size(), 15);
        ASSERT_TRUE(distinctValues().save({key}));
        auto after = storedIn(store.file());
        EXPECT_NE(after[name], before[name]);
        before.remove(name);
        after.remove(name);
        EXPECT_TRUE(after == before);
    }
}

TEST(PreferencesKeepTest, foreignValuesStayHoweverOftenItIsSaved) {
    const SettingsStore store;
    store.fill(fillWithForeignValues);
    auto before = storedIn(store.file());
    for (int time = 0; time < 5; ++time) {
        ASSERT_TRUE(manyEntries(static_cast<size_t>(time), "x").save(allKeys));
    }
    auto after = storedIn(store.file());
    for (const auto& [key, name] : names) {
        before.remove(name);
        after.remove(name);
    }
    EXPECT_EQ(before.size(), 8);
    EXPECT_TRUE(after == before);
}

TEST(PreferencesKeepTest, settingsWrittenWithAnEditorStay) {
    const SettingsStore store;
    store.write("; my settings\n[General]\nignoredNames = node, \"a, b\", straße\ntheme=dark\n"
                "[Window]\r\nwidth=3\r\n");
    ASSERT_TRUE((Preferences{.scanInterval = 45}).save({Key::scanInterval}));
    expectStored({.scanInterval = 45, .ignoredNames = {"node", "a, b", "straße"}});
    EXPECT_EQ(storedIn(store.file())["theme"].toString(), "dark");
    EXPECT_EQ(storedIn(store.file())["Window/width"].toInt(), 3);
}

TEST(PreferencesKeepTest, whatAnEditorChangedIsNotTakenBack) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    ASSERT_EQ(Preferences::load().problem, std::nullopt);
    store.write("[General]\nprotectedProjects=~/mine\n"); // behind the back of this process
    ASSERT_TRUE((Preferences{.scanInterval = 45}).save({Key::scanInterval}));
    expectStored({.scanInterval = 45, .protectedProjects = {"~/mine"}});
}

TEST(PreferencesKeepTest, aFileThatWasRemovedComesBackWithWhatIsGiven) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    fs::remove_all(store.file().parent_path());
    ASSERT_TRUE((Preferences{.scanInterval = 77}).save({Key::scanInterval}));
    expectStored({.scanInterval = 77});
}

TEST(PreferencesKeepTest, theFileIsTheUsersAloneWhateverTheMask) {
    for (const mode_t mask : {0U, 022U, 077U}) {
        const SettingsStore store;
        const ScopedUmask scope(mask);
        fs::remove(store.folder());
        ASSERT_TRUE(distinctValues().save(allKeys));
        EXPECT_EQ(modeOf(store.file()), 0600) << mask;
        EXPECT_EQ(modeOf(store.file().parent_path()), 0700) << mask;
        EXPECT_EQ(modeOf(store.folder()), 0700) << "the folder above was missing too";
        for (const std::string& name : namesIn(store.file().parent_path())) {
            EXPECT_EQ(modeOf(store.file().parent_path() / name) & 077, 0) << name;
        }
    }
}

TEST(PreferencesKeepTest, aFileThatOthersCouldReadIsTheUsersAloneAfterwards) {
    const SettingsStore store;
    store.write("[General]\nscanInterval=77\n");
    fs::permissions(store.file(), fs::perms{0644});
    ASSERT_TRUE((Preferences{.elapsedThreshold = 5}).save({Key::elapsedThreshold}));
    EXPECT_EQ(modeOf(store.file()), 0600);
    expectStored({.elapsedThreshold = 5, .scanInterval = 77});
}

TEST(PreferencesKeepTest, nothingStandsBesideTheFile) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    ASSERT_TRUE(Preferences{}.save(allKeys));
    EXPECT_EQ(pictureOf(store.folder()).size(), 2U) << "the folder and the file";
}

} // namespace Vintrel
