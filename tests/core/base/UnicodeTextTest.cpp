#include "VintrelCore/base/UnicodeText.h"

#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;
using UnicodeText::Needle;

namespace {

bool finds(std::string_view needle, std::string_view haystack, std::string_view language = "en") {
    return Needle(needle, language).isIn(haystack);
}

} // namespace

TEST(Needle, disregardsCase) {
    EXPECT_TRUE(finds("vite", "node Vite.js"));
    EXPECT_TRUE(finds("VITE", "node vite.js"));
    EXPECT_TRUE(finds("ÄRGER", "der ärger"));
    EXPECT_TRUE(finds("σίσυφος", "ΣΊΣΥΦΟΣ")); // three sigmas, one letter
    EXPECT_FALSE(finds("vitest", "vite"));
}

TEST(Needle, knowsFoldingsThatChangeTheLength) {
    EXPECT_TRUE(finds("STRASSE", "/home/x/straße/app"));
    EXPECT_TRUE(finds("straße", "STRASSE"));
    EXPECT_TRUE(finds("ﬁle", "FILE")); // a ligature
}

TEST(Needle, takesCanonicallyEquivalentSpellingsForOne) {
    EXPECT_TRUE(finds("caf\u00E9", "CAFE\u0301"));
    EXPECT_TRUE(finds("cafe\u0301", "Caf\u00C9"));
}

TEST(Needle, neverTakesALetterWithoutItsAccents) {
    EXPECT_FALSE(finds("e", "\u00E9"));
    EXPECT_FALSE(finds("e", "e\u0301"));
    EXPECT_FALSE(finds("x", "x\u0302")); // no composed form exists
    EXPECT_TRUE(finds("e", "\u00E9e"));  // a later one is found
}

TEST(Needle, tellsTheTurkishLettersApartOnlyWhereTheyAreTwo) {
    for (const std::string_view language : {"tr", "az"}) {
        EXPECT_TRUE(finds("i", "İ", language));
        EXPECT_TRUE(finds("ı", "I", language));
        EXPECT_FALSE(finds("i", "I", language));
        EXPECT_FALSE(finds("I", "i", language));
        EXPECT_TRUE(finds("node", "NODE", language));
        EXPECT_FALSE(finds("vite", "VITE", language));
        EXPECT_TRUE(finds("vite", "VİTE", language));
    }
    EXPECT_TRUE(finds("i", "I"));
    EXPECT_FALSE(finds("i", "İ"));
    EXPECT_FALSE(finds("I", "ı"));
}

TEST(Needle, nothingContainsTheEmptyNeedle) {
    EXPECT_FALSE(finds("", "anything"));
    EXPECT_FALSE(finds("", ""));
}

TEST(Needle, copesWithTextThatIsNotUTF8) {
    EXPECT_TRUE(finds("vite", "\xFFvite"));
    EXPECT_FALSE(finds("vite", "vit\xFF"
                               "e"));
}

TEST(CharacterCount, countsWhatAReaderSees) {
    EXPECT_EQ(UnicodeText::characterCount(""), 0U);
    EXPECT_EQ(UnicodeText::characterCount("plain"), 5U);
    EXPECT_EQ(UnicodeText::characterCount("naïve — “yes”…"), 14U);
    EXPECT_EQ(UnicodeText::characterCount("e\u0301"), 1U);
    EXPECT_EQ(UnicodeText::characterCount("👨‍👩‍👧‍👦"), 1U);
    EXPECT_EQ(UnicodeText::characterCount("safe 🔒"), 6U);
    EXPECT_EQ(UnicodeText::characterCount("🇩🇪🇫🇷"), 2U);
    EXPECT_EQ(UnicodeText::characterCount("a\r\nb"), 3U);
    EXPECT_EQ(UnicodeText::characterCount("한글"), 2U);
}

TEST(FirstCharacters, neverCutsACharacter) {
    EXPECT_EQ(UnicodeText::firstCharacters("abc", 2), "ab");
    EXPECT_EQ(UnicodeText::firstCharacters("abc", 0), "");
    EXPECT_EQ(UnicodeText::firstCharacters("abc", 9), "abc");
    EXPECT_EQ(UnicodeText::firstCharacters("ae\u0301b", 1), "a");
    EXPECT_EQ(UnicodeText::firstCharacters("ae\u0301b", 2), "ae\u0301");
    EXPECT_EQ(UnicodeText::firstCharacters("👨‍👩‍👧x", 1), "👨‍👩‍👧");
}

TEST(Printable, showsWhatATerminalWouldObey) {
    EXPECT_EQ(UnicodeText::printable("plain — 漢字 👨‍👩‍👧"),
              "plain — 漢字 👨‍👩‍👧");
    EXPECT_EQ(UnicodeText::printable("\x1B[31mred\n\t\x7F\u009B"), "?[31mred  ??");
    EXPECT_EQ(UnicodeText::printable("a\u202Eb\u2066c\u200F"), "a?b?c?");
    EXPECT_EQ(UnicodeText::printable("a\xFF\xE2\x82"), "a??");
}

TEST(TerminalColumns, countsCells) {
    EXPECT_EQ(UnicodeText::terminalColumns("safe 🔒"), 7U);
    EXPECT_EQ(UnicodeText::terminalColumns("e\u0301"), 1U);
    EXPECT_EQ(UnicodeText::terminalColumns("漢字"), 4U);
    EXPECT_EQ(UnicodeText::terminalColumns("—"), 1U);
    EXPECT_EQ(UnicodeText::terminalColumns("👩‍👧"),
              4U); // two figures, and nothing for what joins them
}
