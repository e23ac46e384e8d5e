#include "VintrelCore/platform/ProcText.h"

#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace std::string_literals;

namespace {

/// All but the line separator, as in the C library.
bool isPrintable(char32_t character) {
    return character != 0x2028 && character >= 0xA0 && character <= 0x10FFFF;
}

std::string shown(const std::string& cmdline) {
    return ProcText::commandLine(cmdline, isPrintable);
}

} // namespace

TEST(ProcCommandLine, joinsArgumentsByBlanks) {
    EXPECT_EQ(shown("node\0server.js\0--port\0"s), "node server.js --port");
    EXPECT_EQ(shown("sh\0-c\0two\nlines\0"s), "sh -c two lines");
    EXPECT_EQ(shown("a\0\0\0b\0\0\0"s), "a   b") << "empty arguments leave their blanks";
    EXPECT_EQ(shown("a  \0  \0"s), "a");
    EXPECT_EQ(shown("a title"s), "a title");
    EXPECT_EQ(shown("\0\0"s), "?");
    EXPECT_EQ(shown(""s), "");
}

TEST(ProcCommandLine, showsControlCharactersAsQuestionMarks) {
    EXPECT_EQ(shown("a\tb\0\x01\x1b[0m\x7f\0"s), "a?b ??[0m?");
    EXPECT_EQ(shown("\xc2\x80\xc2\x9f\0"s), "??") << "one for a character of two bytes";
    EXPECT_EQ(shown("c\xe2\x80\xa8"
                    "d\0"s),
              "c?d");
}

TEST(ProcCommandLine, keepsWhatIsValid) {
    EXPECT_EQ(shown("Läden € \U0001F600 日本\0"s), "Läden € \U0001F600 日本");
    EXPECT_EQ(shown("a\xf4\x8f\xbf\xbd\0"s), "a\xf4\x8f\xbf\xbd");
}

TEST(ProcCommandLine, showsEachBrokenByteAsAQuestionMark) {
    EXPECT_EQ(shown("L\xe4"
                    "den \xc3\xa4\0"s),
              "L?den ä");
    EXPECT_EQ(shown("\xe2\x82"
                    "a \xe2"
                    "a\x82 \xc3 \xc3\xa4\0"s),
              "??a ?a? ? ä");
    EXPECT_EQ(shown("\xed\xa0\x80 \xc3\xa4\0"s), "??? ä") << "half of a pair";
    EXPECT_EQ(shown("\xe0\x80\xaf \xf0\x80\x80\x80 \xc3\xa4\0"s), "??? ???? ä") << "longer than need be";
    EXPECT_EQ(shown("\xf4\x90\x80\x80"
                    "b \xf4\xbf\xbf\xbf \xc3\xa4\0"s),
              "?b ? ä")
        << "one for a character beyond the last";
}

TEST(ProcCommandLine, behindAByteThatBeginsNoCharacterOnlyASCIIIsLeft) {
    for (const char first : {'\x80', '\xbf', '\xc0', '\xc1', '\xf5', '\xff'}) {
        EXPECT_EQ(shown("x \xc3\xa4 "s + first + " y \xc3\xa4\0"s), "x ä ? y ??");
    }
    EXPECT_EQ(shown("\xc3\xa4 x \xe2\x82"s), "ä x ??") << "cut off at the end";
    EXPECT_EQ(shown("a\xf4"
                    "b \xc3\xa4\0"s),
              "a?b ??")
        << "the byte is taken to begin four, and in their middle no character begins";
}

TEST(ProcName, showsLineBreaksAsQuestionMarks) {
    EXPECT_EQ(ProcText::name("two\nlines", isPrintable), "two?lines");
    EXPECT_EQ(ProcText::name("L\xc3\xa4"
                             "den",
                             isPrintable),
              "Läden");
}

TEST(ProcElapsed, leavesOutWhatIsZeroInFront) {
    EXPECT_EQ(ProcText::elapsed(0), "00:00");
    EXPECT_EQ(ProcText::elapsed(307), "05:07");
    EXPECT_EQ(ProcText::elapsed(3'723), "01:02:03");
    EXPECT_EQ(ProcText::elapsed(183'845), "2-03:04:05");
    EXPECT_EQ(ProcText::elapsed(86'400), "1-00:00:00");
    EXPECT_EQ(ProcText::elapsed(-1), "00:00");
}

TEST(ProcCPUPercent, hasOneDecimal) {
    EXPECT_EQ(ProcText::cpuPercent(0, 100), "0.0");
    EXPECT_EQ(ProcText::cpuPercent(1, 3), "33.3");
    EXPECT_EQ(ProcText::cpuPercent(2, 3), "66.6") << "cut off, not rounded";
    EXPECT_EQ(ProcText::cpuPercent(99.99, 100), "99.9");
    EXPECT_EQ(ProcText::cpuPercent(3.5, 2), "175") << "no decimal from the hundred on";
    EXPECT_EQ(ProcText::cpuPercent(1, 0), "0.0");
}
