#include "Vintrel/engine/Preferences.h"
#include "tests/app/support/SettingsStore.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

#include <QSettings>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::CustomRule;
using VintrelCore::ProcessKind;
using VintrelTests::SettingsStore;

namespace {

using Texts = std::vector<std::string>;

/// Texts that the file's format could trip over.
const Texts difficult = {
    "node",
    "node server.js @ ~/work/my shop",
    "a, b",
    ",",
    "\"quoted\"",
    "one \" alone",
    "back\\slash",
    "\\",
    "\\x41",
    "a=b",
    "vitest = Unit tests",
    "=",
    "semi;colon",
    "; no comment",
    "# no comment",
    "[General]",
    "100%",
    "%41",
    "@playwright/mcp",
    "@Invalid()",
    "@Variant(7)",
    "@@",
    " blanks around ",
    "tab\tand\nline feed",
    "true",
    "1800",
    "~/straße/Läden",
    "日本語 の 店",
    "👨‍👩‍👧 e\u0301",
};

QString textOf(const std::string& text) {
    return QString::fromStdString(text);
}

QStringList listOf(const Texts& entries) {
    QStringList list;
    for (const std::string& entry : entries) {
        list << textOf(entry);
    }
    return list;
}

} // namespace

TEST(PreferencesListTest, aListOfOneEntryReadsBackExactly) {
    for (const std::string& entry : difficult) {
        SCOPED_TRACE(entry);
        const SettingsStore store;
        store.fill([&entry](QSettings& settings) {
            settings.setValue("ignoredNames", listOf({entry}));
            settings.setValue("protectedProjects", listOf({entry}));
        });
        const auto [values, problem] = Preferences::load();
        EXPECT_EQ(problem, std::nullopt);
        EXPECT_EQ(values.ignoredNames, Texts{entry});
        EXPECT_EQ(values.protectedProjects, Texts{entry});
    }
}

TEST(PreferencesListTest, aPlainTextIsAListOfOne) {
    for (const std::string& entry : difficult) {
        SCOPED_TRACE(entry);
        const SettingsStore store;
        store.fill([&entry](QSettings& settings) {
            settings.setValue("ignoredNames", textOf(entry));
            settings.setValue("protectedProjects", textOf(entry));
        });
        const auto [values, problem] = Preferences::load();
        EXPECT_EQ(problem, std::nullopt);
        EXPECT_EQ(values.ignoredNames, Texts{entry});
        EXPECT_EQ(values.protectedProjects, Texts{entry});
    }
}

TEST(PreferencesListTest, aListOfManyEntriesReadsBackExactly) {
    const SettingsStore store;
    store.fill([](QSettings& settings) {
        settings.setValue("ignoredNames", listOf(difficult));
        settings.setValue("protectedProjects", listOf({difficult.rbegin(), difficult.rend()}));
    });
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(values.ignoredNames, difficult);
    EXPECT_EQ(values.protectedProjects, Texts(difficult.rbegin(), difficult.rend()));
}

TEST(PreferencesListTest, aListOfNoEntryReadsBackExactly) {
    const SettingsStore store;
    store.fill([](QSettings& settings) {
        for (const char* const key : {"ignoredNames", "protectedProjects", "disabledKinds", "customRules"}) {
            settings.setValue(key, QStringList{});
        }
    });
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_TRUE(values == Preferences{});
}

TEST(PreferencesListTest, dropsKindsThatItDoesNotKnow) {
    const SettingsStore store;
    store.fill([](QSettings& settings) {
        settings.setValue("disabledKinds",
                          QStringList{"vite", "warp drive", "Docker", "", " npm", "vite", "mcpServer"});
    });
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(values.disabledKinds, (std::set{ProcessKind::vite, ProcessKind::mcpServer}));
}

TEST(PreferencesListTest, aSingleKindNeedsNoList) {
    const SettingsStore store;
    store.fill([](QSettings& settings) { settings.setValue("disabledKinds", "playwrightMCP"); });
    EXPECT_EQ(Preferences::load().values.disabledKinds, std::set{ProcessKind::playwrightMCP});
}

TEST(PreferencesListTest, dropsCustomRulesThatAreNoneAndKeepsTheOrderOfTheRest) {
    const SettingsStore store;
    store.fill([](QSettings& settings) {
        settings.setValue("customRules", QStringList{"vitest = Unit tests", " = nothing", "", "bare", "   ",
                                                     "a = b = c", "  agent = Keys, all  "});
    });
    const auto [values, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(values.customRules,
              (std::vector<CustomRule>{
                  {"vitest", "Unit tests"}, {"bare", "bare"}, {"a", "b = c"}, {"agent", "Keys, all"}}));
}

} // namespace Vintrel
