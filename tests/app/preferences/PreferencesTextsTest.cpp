// Whatever people call their processes and folders, it reads back as it was.
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"

#include <random>
#include <string>
#include <vector>

#include <QStringList>
#include <gtest/gtest.h>

namespace Vintrel {

using namespace VintrelTests;

namespace {

using Texts = std::vector<std::string>;

/// Texts that the file's format could trip over.
const Texts difficult = {
    "node",
    "node server.js @ ~/work/my shop",
    "a, b",
    ",",
    ", ",
    "\"quoted\"",
    "one \" alone",
    "\"",
    "back\\slash",
    "\\",
    "ends with \\",
    "\\x41",
    "\\n",
    "a=b",
    "=",
    "semi;colon",
    "; no comment",
    "# no comment",
    "[General]",
    "[General]\nscanInterval=1",
    "\nscanInterval=1",
    "\r\n[Window]\r\n",
    "line\nfeed",
    "100%",
    "%41",
    "%U0041",
    "@playwright/mcp",
    "@",
    "@@",
    "@Invalid()",
    "@Variant(7)",
    "@ByteArray(x)",
    "@String(x)",
    "@Rect(1 2 3 4)",
    " leading",
    "   more of them",
    "trailing ",
    " ",
    "\ttab\t",
    "",
    "true",
    "1800",
    "\x01"
    "f",
    "\x7f",
    "~/straße/Läden",
    "日本語 の 店",
    "👨‍👩‍👧 e\u0301",
    "mark\uFEFF",
    "\u2028\u0085\u00a0",
};

QStringList listOf(const Texts& entries) {
    QStringList list;
    for (const std::string& entry : entries) {
        list << QString::fromStdString(entry);
    }
    return list;
}

void expectRoundTrip(const Preferences& values) {
    const SettingsStore store;
    ASSERT_TRUE(values.save(allKeys));
    expectStored(values);
}

} // namespace

TEST(PreferencesTextsTest, aListOfOneReadsBackExactly) {
    for (const std::string& entry : difficult) {
        SCOPED_TRACE(entry);
        Preferences values;
        values.ignoredNames = {entry};
        values.protectedProjects = {entry};
        const SettingsStore store;
        ASSERT_TRUE(values.save(allKeys));
        EXPECT_EQ(described(Preferences::load().values), described(values));
        const QVariant stored = storedIn(store.file())["ignoredNames"];
        EXPECT_EQ(stored.toStringList(), listOf({entry}));
    }
}

TEST(PreferencesTextsTest, aListOfManyReadsBackExactly) {
    Preferences values;
    values.ignoredNames = difficult;
    values.protectedProjects = {difficult.rbegin(), difficult.rend()};
    expectRoundTrip(values);
}

TEST(PreferencesTextsTest, listsOfEmptyTextsReadBackExactly) {
    for (const size_t count : {1U, 2U, 3U}) {
        Preferences values;
        values.ignoredNames = Texts(count);
        expectRoundTrip(values);
    }
}

TEST(PreferencesTextsTest, everySingleCharacterReadsBackExactly) {
    Preferences values;
    for (char16_t unit = 1; unit <= 0x17f; ++unit) {
        const std::string text = QString(QChar(unit)).toStdString();
        values.ignoredNames.insert(values.ignoredNames.end(), {text, text + "1", "a" + text, text + text});
    }
    expectRoundTrip(values);
}

TEST(PreferencesTextsTest, longTextsReadBackExactly) {
    Preferences values;
    for (const size_t length : {299U, 300U, 301U, 5'000U}) {
        values.ignoredNames.emplace_back(length, 'x');
        values.protectedProjects.push_back("~/" + std::string(length, '"') + ", ü");
        values.customRules.push_back({std::string(length, 'y'), std::string(length, ',')});
    }
    expectRoundTrip(values);
    for (const std::string& alone : values.protectedProjects) {
        expectRoundTrip({.ignoredNames = {alone}});
    }
}

TEST(PreferencesTextsTest, textsAtRandomReadBackExactly) {
    const Texts pieces = {"a",  " ",   ",", "\"", "\\", ";", "=", "@",
                          "\n", "x41", "0", "%",  "ä",  "[", "]", "("};
    std::mt19937 random(4'242); // the same texts in every run
    const auto upTo = [&random](size_t most) { return random() % (most + 1); };
    for (int round = 0; round < 60; ++round) {
        const auto texts = [&] {
            Texts list(upTo(5));
            for (std::string& text : list) {
                for (size_t left = upTo(8); left > 0; --left) {
                    text += pieces[upTo(pieces.size() - 1)];
                }
            }
            return list;
        };
        const Preferences values{.ignoredNames = texts(), .protectedProjects = texts()};
        const SettingsStore store;
        ASSERT_TRUE(values.save(allKeys));
        ASSERT_EQ(described(Preferences::load().values), described(values)) << "round " << round;
    }
}

TEST(PreferencesTextsTest, aByteOrderMarkInFrontStopsNothing) {
    const SettingsStore store;
    Preferences values;
    values.ignoredNames = {"\uFEFFnode", "vite"}; // as a text from another system is pasted
    EXPECT_TRUE(values.save({Key::ignoredNames}));
    const Texts read = Preferences::load().values.ignoredNames;
    EXPECT_TRUE(read == values.ignoredNames || read == (Texts{"node", "vite"}));
}

TEST(PreferencesTextsTest, bytesThatAreNoTextDoNotDamageTheStore) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    Preferences values = distinctValues();
    values.ignoredNames = {"caf\xe9", "\xff\xfe", "good"};
    const bool isSaved = values.save({Key::ignoredNames});
    const auto [read, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(read.protectedProjects, distinctValues().protectedProjects);
    EXPECT_EQ(read.ignoredNames.back(), isSaved ? "good" : "vite");
}

} // namespace Vintrel
