// The table of shortcuts, and which typed texts find them.
#include "Vintrel/shell/Intents.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelShortcuts::Match;
using Names = std::vector<std::string>;

namespace {

/// The shortcuts that a text finds.
Names foundBy(std::string_view typed) {
    Names names;
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        if (VintrelShortcuts::match(shortcut, typed) != Match::none) {
            names.emplace_back(shortcut.identifier);
        }
    }
    return names;
}

const AppShortcut& clean() {
    return VintrelShortcuts::appShortcuts()[0];
}

const AppShortcut& scan() {
    return VintrelShortcuts::appShortcuts()[1];
}

} // namespace

TEST(VintrelShortcuts, areTwoInTheirOrder) {
    ASSERT_EQ(VintrelShortcuts::appShortcuts().size(), 2U);
    EXPECT_EQ(clean().title, "Clean Safe Strays");
    EXPECT_EQ(clean().shortTitle, "Clean Safe Strays");
    EXPECT_EQ(clean().symbol, "trash");
    EXPECT_EQ(scan().title, "Scan Now");
    EXPECT_EQ(scan().shortTitle, "Scan Now");
}

TEST(VintrelShortcuts, havePhrasesThatEndWithTheName) {
    EXPECT_EQ(clean().spokenPhrases(),
              (std::array<std::string, 2>{"Clean safe strays with Vintrel", "Clean strays with Vintrel"}));
    EXPECT_EQ(scan().spokenPhrases(),
              (std::array<std::string, 2>{"Scan now with Vintrel", "Rescan with Vintrel"}));
}

TEST(VintrelShortcuts, areFoundByTheirIdentifiers) {
    EXPECT_EQ(VintrelShortcuts::find("clean-safe-strays"), &clean());
    EXPECT_EQ(VintrelShortcuts::find("scan-now"), &scan());
    EXPECT_EQ(VintrelShortcuts::find(""), nullptr);
    EXPECT_EQ(VintrelShortcuts::find("Scan-Now"), nullptr);
}

TEST(VintrelShortcuts, areFoundByEachWholePhrase) {
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        for (const std::string& phrase : shortcut.spokenPhrases()) {
            EXPECT_EQ(foundBy(phrase), Names{std::string(shortcut.identifier)}) << phrase;
            EXPECT_EQ(VintrelShortcuts::match(shortcut, phrase), Match::whole);
            EXPECT_EQ(VintrelShortcuts::matchingPhrase(shortcut, phrase), phrase);
        }
    }
}

TEST(VintrelShortcuts, areFoundByTheBeginningOfAPhrase) {
    EXPECT_EQ(foundBy("rescan"), Names{"scan-now"});
    EXPECT_EQ(foundBy("scan n"), Names{"scan-now"});
    EXPECT_EQ(foundBy("clean s"), Names{"clean-safe-strays"});
    EXPECT_EQ(foundBy("clean strays w"), Names{"clean-safe-strays"});
    EXPECT_EQ(VintrelShortcuts::match(scan(), "rescan"), Match::beginning);
    EXPECT_EQ(VintrelShortcuts::matchingPhrase(clean(), "clean str"), "Clean strays with Vintrel");
}

TEST(VintrelShortcuts, areFoundWhateverTheCaseAndTheBlanks) {
    EXPECT_EQ(foundBy("RESCAN WITH VINTREL"), Names{"scan-now"});
    EXPECT_EQ(foundBy("  Clean\t strays   with vintrel "), Names{"clean-safe-strays"});
    EXPECT_EQ(VintrelShortcuts::match(clean(), " clean  strays with vintrel"), Match::whole);
}

TEST(VintrelShortcuts, areNotFoundByWordsThatLookForOtherThings) {
    for (const char* const typed :
         {"", " ", "c", "clean", "clean ", "scan", "scan  ", "resca", "strays", "vintrel", "with vintrel",
          "cleaner", "scanner", "rescans", "clean my disk"}) {
        EXPECT_EQ(foundBy(typed), Names()) << '"' << typed << '"';
    }
}

TEST(VintrelShortcuts, areNotFoundByMoreThanAPhrase) {
    EXPECT_EQ(foundBy("rescan with vintrel now"), Names());
    EXPECT_EQ(foundBy("please rescan with vintrel"), Names());
}

TEST(VintrelShortcuts, areNotFoundByTextsThatAreNoASCII) {
    EXPECT_EQ(foundBy("r\xc3\xa9scan with vintrel"), Names());
    EXPECT_EQ(foundBy("\xff\xfe rescan"), Names());
    EXPECT_EQ(foundBy(std::string(1'000'000, 'r')), Names());
}

} // namespace Vintrel
