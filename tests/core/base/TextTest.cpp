#include "VintrelCore/base/Text.h"

#include <array>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;

TEST(Text, trimmedDropsUnicodeWhiteSpaceAtBothEnds) {
    EXPECT_EQ(Text::trimmed(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(Text::trimmed("\u00A0\u2003a\u3000"), "a"); // no-break, em and ideographic spaces
    EXPECT_EQ(Text::trimmed(" \u2003 "), "");
    EXPECT_EQ(Text::trimmed(""), "");
    EXPECT_EQ(Text::trimmed("é"), "é");
}

TEST(Text, trimmedBlanksKeepsLineBreaks) {
    EXPECT_EQ(Text::trimmedBlanks(" \t\na\n "), "\na\n");
}

TEST(Text, splitKeepsEmptyPieces) {
    EXPECT_EQ(Text::split("a::b", ':'), (std::vector<std::string_view>{"a", "", "b"}));
    EXPECT_EQ(Text::split("", ':'), (std::vector<std::string_view>{""}));
    EXPECT_EQ(Text::split(":", ':'), (std::vector<std::string_view>{"", ""}));
}

TEST(Text, takeLineSkipsEmptyLines) {
    std::string_view rest = "\n\none\n\ntwo";
    EXPECT_EQ(Text::takeLine(rest), "one");
    EXPECT_EQ(Text::takeLine(rest), "two");
    EXPECT_EQ(Text::takeLine(rest), std::nullopt);
    EXPECT_EQ(Text::takeLine(rest), std::nullopt);
}

TEST(Text, takeWordLeavesTheRestWithItsSpacing) {
    std::string_view rest = "  one two  three";
    EXPECT_EQ(Text::takeWord(rest), "one");
    EXPECT_EQ(Text::takeWord(rest), "two");
    EXPECT_EQ(rest, "  three");
    EXPECT_EQ(Text::takeWord(rest), "three");
    EXPECT_EQ(Text::takeWord(rest), "");
}

TEST(Text, asciiLoweredTouchesNothingButAToZ) {
    EXPECT_EQ(Text::asciiLowered("AZaz09@[`{ÄÉ"), "azaz09@[`{ÄÉ");
}

TEST(Text, parseIntegerTakesOneOptionalSignAndDigitsOnly) {
    EXPECT_EQ(Text::parseInteger<int32_t>("42"), 42);
    EXPECT_EQ(Text::parseInteger<int32_t>("+42"), 42);
    EXPECT_EQ(Text::parseInteger<int32_t>("-42"), -42);
    EXPECT_EQ(Text::parseInteger<int32_t>("0042"), 42);
    EXPECT_EQ(Text::parseInteger<int32_t>("2147483647"), 2147483647);
    for (const char* text :
         {"", "+", "-", "+-1", "-+1", "++1", " 1", "1 ", "1.0", "0x1", "2147483648", "99999999999"}) {
        EXPECT_EQ(Text::parseInteger<int32_t>(text), std::nullopt) << text;
    }
}

TEST(Text, parseDecimalReadsPlainFiniteNumbers) {
    EXPECT_EQ(Text::parseDecimal("12.5"), 12.5);
    EXPECT_EQ(Text::parseDecimal("-0.5"), -0.5);
    EXPECT_EQ(Text::parseDecimal("7"), 7.0);
    for (const char* text : {"", " 1", "1 ", "1,5", "nan", "inf", "0x10", "1e999", "1.2.3", "e", "-"}) {
        EXPECT_EQ(Text::parseDecimal(text), std::nullopt) << text;
    }
}

TEST(Text, isValidUTF8FindsABadByteAnywhere) {
    const std::string ascii(10'000, 'a');
    EXPECT_TRUE(Text::isValidUTF8(ascii));
    EXPECT_TRUE(Text::isValidUTF8(ascii + "ä€😀"));
    for (const size_t position : std::array<size_t, 5>{0, 4'095, 4'096, 4'097, 9'999}) {
        std::string spoilt = ascii;
        spoilt[position] = '\xFF';
        EXPECT_FALSE(Text::isValidUTF8(spoilt)) << position;
    }
    std::string acrossBlocks(4'095, 'a');
    EXPECT_TRUE(Text::isValidUTF8(acrossBlocks + "€" + ascii));
    EXPECT_FALSE(Text::isValidUTF8(acrossBlocks + "\xE2\x82"));
}

TEST(Text, withoutCutCharacterDropsOnlyAnIncompleteOne) {
    EXPECT_EQ(Text::withoutCutCharacter("a€"), "a€");
    EXPECT_EQ(Text::withoutCutCharacter("a\xE2\x82"), "a");
    EXPECT_EQ(Text::withoutCutCharacter("a\xF0\x9F\x98"), "a");
    EXPECT_EQ(Text::withoutCutCharacter(""), "");
    EXPECT_EQ(Text::withoutCutCharacter("\xB7"), "\xB7"); // the end of a character that never began
    EXPECT_EQ(Text::withoutCutCharacter("\xB7\xAF"), "\xB7\xAF");
}
