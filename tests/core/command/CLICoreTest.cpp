#include "VintrelCore/command/CLICore.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::CLICore {

namespace {

using Words = std::vector<std::string>;
using Reason = ParseError::Reason;

/// The words as somebody would type them.
std::string typed(const Words& words) {
    std::string line = "vintrel";
    for (const std::string& word : words) {
        line += " " + word;
    }
    return line;
}

/// What people read when these words make no command; "" when they make one.
std::string complaintAbout(const Words& words) {
    const auto command = parse(words);
    return command ? "" : message(command.error());
}

} // namespace

TEST(CLICoreTest, understandsItsCommands) {
    struct Case {
        Words words;
        Command command;
    };

    const std::vector<Case> cases = {
        {{}, Command::help()},
        {{"help"}, Command::help()},
        {{"--help"}, Command::help()},
        {{"-h"}, Command::help()},
        {{"help", "kill", "12"}, Command::help()},
        {{"--help", "--safe"}, Command::help()},
        {{"-h", ""}, Command::help()},
        {{"list"}, Command::list(false)},
        {{"list", "--safe"}, Command::list(true)},
        {{"clean"}, Command::clean()},
        {{"kill", "1"}, Command::kill(1)},
        {{"kill", "42"}, Command::kill(42)},
        {{"kill", "+42"}, Command::kill(42)},
        {{"kill", "0042"}, Command::kill(42)},
        {{"kill", "2147483647"}, Command::kill(2147483647)},
    };
    for (const auto& [words, command] : cases) {
        SCOPED_TRACE(typed(words));
        const auto parsed = parse(words);
        ASSERT_TRUE(parsed.has_value());
        EXPECT_EQ(*parsed, command);
    }
}

TEST(CLICoreTest, namesTheWordAtFault) {
    struct Case {
        Words words;
        ParseError error;
    };

    const std::vector<Case> cases = {
        {{"purge"}, {Reason::unknownCommand, "purge"}},
        {{"Kill", "42"}, {Reason::unknownCommand, "Kill"}},
        {{"LIST"}, {Reason::unknownCommand, "LIST"}},
        {{"-H"}, {Reason::unknownCommand, "-H"}},
        {{""}, {Reason::unknownCommand, ""}},
        {{" list"}, {Reason::unknownCommand, " list"}},
        {{"--safe", "list"}, {Reason::unknownCommand, "--safe"}},
        {{"list", "-s"}, {Reason::unexpectedArgument, "-s"}},
        {{"list", "extra"}, {Reason::unexpectedArgument, "extra"}},
        {{"list", "--SAFE"}, {Reason::unexpectedArgument, "--SAFE"}},
        {{"list", ""}, {Reason::unexpectedArgument, ""}},
        {{"list", "--safe", "extra"}, {Reason::unexpectedArgument, "extra"}},
        {{"list", "extra", "--safe"}, {Reason::unexpectedArgument, "extra"}},
        {{"list", "--safe", "one", "two"}, {Reason::unexpectedArgument, "one"}},
        {{"list", "--safe", "--safe"}, {Reason::unexpectedArgument, "--safe"}},
        {{"list", "--safe", "--safe", "--safe"}, {Reason::unexpectedArgument, "--safe"}},
        {{"list", "--help"}, {Reason::unexpectedArgument, "--help"}},
        {{"clean", "now"}, {Reason::unexpectedArgument, "now"}},
        {{"clean", "--safe", "now"}, {Reason::unexpectedArgument, "--safe"}},
        {{"kill"}, {Reason::missingPID}},
        {{"kill", "12", "13"}, {Reason::unexpectedArgument, "13"}},
        {{"kill", "12", "13", "14"}, {Reason::unexpectedArgument, "13"}},
        {{"kill", "nonsense", "13"}, {Reason::unexpectedArgument, "13"}},
        {{"kill", "0"}, {Reason::invalidPID, "0"}},
        {{"kill", "-5"}, {Reason::invalidPID, "-5"}},
        {{"kill", "abc"}, {Reason::invalidPID, "abc"}},
        {{"kill", "99999999999"}, {Reason::invalidPID, "99999999999"}},
        {{"kill", "2147483648"}, {Reason::invalidPID, "2147483648"}},
        {{"kill", ""}, {Reason::invalidPID, ""}},
        {{"kill", "+"}, {Reason::invalidPID, "+"}},
        {{"kill", "-"}, {Reason::invalidPID, "-"}},
        {{"kill", "+-5"}, {Reason::invalidPID, "+-5"}},
        {{"kill", "++5"}, {Reason::invalidPID, "++5"}},
        {{"kill", " 42"}, {Reason::invalidPID, " 42"}},
        {{"kill", "42 "}, {Reason::invalidPID, "42 "}},
        {{"kill", "4 2"}, {Reason::invalidPID, "4 2"}},
        {{"kill", "42x"}, {Reason::invalidPID, "42x"}},
        {{"kill", "4.0"}, {Reason::invalidPID, "4.0"}},
        {{"kill", "0x2a"}, {Reason::invalidPID, "0x2a"}},
        {{"kill", "٤٢"}, {Reason::invalidPID, "٤٢"}},
        {{"kill", "--help"}, {Reason::invalidPID, "--help"}},
    };
    for (const auto& [words, error] : cases) {
        SCOPED_TRACE(typed(words));
        const auto parsed = parse(words);
        ASSERT_FALSE(parsed.has_value());
        EXPECT_EQ(parsed.error(), error);
    }
}

TEST(CLICoreTest, saysWhatIsWrong) {
    EXPECT_EQ(complaintAbout({"Kill", "42"}), "unknown command 'Kill'");
    EXPECT_EQ(complaintAbout({"list", "-s"}), "unexpected argument '-s'");
    EXPECT_EQ(complaintAbout({"list", "--safe", "--safe"}), "unexpected argument '--safe'");
    EXPECT_EQ(complaintAbout({"kill", "12", "13"}), "unexpected argument '13'");
    EXPECT_EQ(complaintAbout({"kill", "99999999999"}), "'99999999999' is not a valid PID");
    EXPECT_EQ(complaintAbout({"kill", ""}), "'' is not a valid PID");
    EXPECT_EQ(complaintAbout({"kill"}), "kill requires a <pid> argument");
    EXPECT_EQ(complaintAbout({"läden"}), "unknown command 'läden'");
    EXPECT_EQ(complaintAbout({"list"}), "");
}

TEST(CLICoreTest, explainsItsUsage) {
    EXPECT_EQ(usage, "usage: vintrel <command>\n"
                     "\n"
                     "  list [--safe]   Scan and print stray candidates (--safe: safe bucket only)\n"
                     "  clean           Kill what the app's \"Clean all\" would sweep\n"
                     "                  (safe bucket minus protected projects)\n"
                     "  kill <pid>      Kill one scanned candidate by PID (any bucket)\n"
                     "  help            Show this help\n"
                     "\n"
                     "Settings (threshold, ignores, custom rules, protected projects) are read\n"
                     "from the Vintrel app's preferences for full rule parity. Nothing is ever\n"
                     "killed without an explicit clean/kill invocation.");
}

TEST(CLICoreTest, writesAges) {
    struct Case {
        double seconds;
        std::string text;
    };

    const std::vector<Case> cases = {
        {0, "0s"},
        {0.999, "0s"},
        {42, "42s"},
        {59, "59s"},
        {59.9, "59s"},
        {60, "1m"},
        {119.99, "1m"},
        {300, "5m"},
        {3599, "59m"},
        {3599.999, "59m"},
        {3600, "1h 0m"},
        {3659, "1h 0m"},
        {3660, "1h 1m"},
        {2 * 3600 + 7 * 60 + 59, "2h 7m"},
        {86399, "23h 59m"},
        {86400, "1d 0h"},
        {86400 + 3599, "1d 0h"},
        {3 * 86400 + 4 * 3600, "3d 4h"},
        {100 * 86400 - 1, "99d 23h"},
        {4e9, "46296d 7h"},
        {-0.5, "0s"},
        {-5.9, "-5s"},
    };
    for (const auto& [seconds, text] : cases) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(formatElapsed(seconds), text);
    }
}

TEST(CLICoreTest, writesMemory) {
    struct Case {
        int64_t kb;
        std::string text;
    };

    const std::vector<Case> cases = {
        {0, "0 KB"},
        {1, "1 KB"},
        {812, "812 KB"},
        {1023, "1023 KB"},
        {1024, "1 MB"},
        {2047, "1 MB"}, // cut, not rounded
        {153 * 1024 + 900, "153 MB"},
        {1'048'575, "1023 MB"},
        {1'048'576, "1.0 GB"},
        {1'048'576 + 1'048'576 / 2, "1.5 GB"},
        {1'100'000, "1.0 GB"},
        {1'101'005, "1.1 GB"}, // rounded, not cut: 1.05 and a little
        {2'096'103, "2.0 GB"}, // 1.999
        {137'438'953'472, "131072.0 GB"},
    };
    for (const auto& [kb, text] : cases) {
        SCOPED_TRACE(kb);
        EXPECT_EQ(formatRSS(kb), text);
    }
}

TEST(CLICoreTest, cutsLongTexts) {
    struct Case {
        std::string text;
        size_t max;
        std::string cut;
    };

    const std::vector<Case> cases = {
        {"abcdef", 4, "abc…"}, {"abcdef", 5, "abcd…"},  {"abcdef", 6, "abcdef"},
        {"abcd", 4, "abcd"},   {"abc", 4, "abc"},       {"abcdef", 2, "a…"},
        {"ab", 2, "ab"},       {"abcdef", 1, "abcdef"}, {"abcdef", 0, "abcdef"},
        {"", 2, ""},           {"a bcdef", 3, "a …"},   {"abcdef", SIZE_MAX, "abcdef"},
    };
    for (const auto& [text, max, cut] : cases) {
        SCOPED_TRACE(text + " to " + std::to_string(max));
        EXPECT_EQ(truncate(text, max), cut);
    }
}

TEST(CLICoreTest, cutsBetweenWhatPeopleSeeAsCharacters) {
    const std::string family = "👨‍👩‍👧";
    const std::string accented = "e\u0301";
    EXPECT_EQ(truncate(family + "abc", 4), family + "abc");
    EXPECT_EQ(truncate(family + "abcd", 4), family + "ab…");
    EXPECT_EQ(truncate("ab" + family + family, 4), "ab" + family + family);
    EXPECT_EQ(truncate("ab" + family + family + "c", 4), "ab" + family + "…");
    EXPECT_EQ(truncate(family + family, 2), family + family);
    EXPECT_EQ(truncate(accented + accented + accented, 3), accented + accented + accented);
    EXPECT_EQ(truncate(accented + accented + accented, 2), accented + "…");
    EXPECT_EQ(truncate("日本語", 2), "日…");
    EXPECT_EQ(truncate("🇩🇪🇫🇷🇯🇵", 2), "🇩🇪…");
}

} // namespace VintrelCore::CLICore
