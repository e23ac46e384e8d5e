#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ScanCore.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace std::string_literals;
using ScanCore::parseElapsed;
using ScanCore::parsePSLine;

namespace {

/// The fields, divided by bars.
std::string shown(const std::optional<ScanCore::PSLine>& line) {
    if (!line) {
        return "nothing";
    }
    std::string text = std::to_string(line->pid) + "|" + std::to_string(line->ppid);
    for (const std::string_view field : {line->etime, line->tty, line->pcpu, line->rss, line->args}) {
        text.append("|").append(field);
    }
    return text;
}

/// A shell that waits for input, with `argument` in its command line, until the end of the scope.
class WaitingShell {
public:
    explicit WaitingShell(std::string argument) {
        EXPECT_EQ(pipe(m_input.data()), 0);
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, m_input[0], STDIN_FILENO);
        posix_spawn_file_actions_addclose(&actions, m_input[1]);
        std::array words{"/bin/sh"s, "-c"s, "read line"s, "sh"s, std::move(argument)};
        const std::array<char*, 6> argv{words[0].data(), words[1].data(), words[2].data(),
                                        words[3].data(), words[4].data(), nullptr};
        EXPECT_EQ(posix_spawn(&m_pid, "/bin/sh", &actions, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(m_input[0]);
    }

    WaitingShell(const WaitingShell&) = delete;
    WaitingShell& operator=(const WaitingShell&) = delete;

    ~WaitingShell() {
        close(m_input[1]); // the end of its input is the end of its wait
        waitpid(m_pid, nullptr, 0);
    }

    [[nodiscard]] pid_t pid() const { return m_pid; }

private:
    std::array<int, 2> m_input{};
    pid_t m_pid = -1;
};

/// The line of `pid` in a raw process table.
std::optional<ScanCore::PSLine> lineOf(pid_t pid, std::string_view table) {
    while (const auto line = Text::takeLine(table)) {
        if (const auto fields = parsePSLine(*line); fields && fields->pid == pid) {
            return fields;
        }
    }
    return std::nullopt;
}

} // namespace

TEST(ParsePSLine, takesTheSevenFieldsApart) {
    EXPECT_EQ(shown(parsePSLine("  123     1       01:00 ??       0.0   1024 node  server.js --name  x")),
              "123|1|01:00|??|0.0|1024|node  server.js --name  x");
    EXPECT_EQ(shown(parsePSLine("21604 21603 2-03:04:05 pts/0 104.5 84336 node")),
              "21604|21603|2-03:04:05|pts/0|104.5|84336|node");
}

TEST(ParsePSLine, trimsBothEnds) {
    EXPECT_EQ(shown(parsePSLine(" \t 7 1 00:01 ? 0.0 10 node a.js \t ")), "7|1|00:01|?|0.0|10|node a.js");
}

TEST(ParsePSLine, takesRunsOfSpacesAndTabsAsOneSeparator) {
    EXPECT_EQ(shown(parsePSLine("7\t1 \t 00:01\t\t?  0.0 \t10\t \tnode a.js")),
              "7|1|00:01|?|0.0|10|node a.js");
}

TEST(ParsePSLine, keepsTheSpacingInsideTheCommand) {
    EXPECT_EQ(shown(parsePSLine("7 1 00:01 ? 0.0 10   sh -c  a\tb \t c")),
              "7|1|00:01|?|0.0|10|sh -c  a\tb \t c");
}

TEST(ParsePSLine, leavesTheTextFieldsAsTheyAre) {
    EXPECT_EQ(shown(parsePSLine("7 1 later - much +lots ;")), "7|1|later|-|much|+lots|;");
}

TEST(ParsePSLine, wantsAllSevenFields) {
    EXPECT_EQ(shown(parsePSLine("")), "nothing");
    EXPECT_EQ(shown(parsePSLine("  \t ")), "nothing");
    EXPECT_EQ(shown(parsePSLine("123")), "nothing");
    EXPECT_EQ(shown(parsePSLine("123 1 01:00 ?? 0.0 1024")), "nothing");
    EXPECT_EQ(shown(parsePSLine("  123 1 01:00 ?? 0.0 1024 \t ")), "nothing");
}

TEST(ParsePSLine, wantsDecimalPids) {
    for (const char* const pid : {"PID", "12x", "x12", "0x1F", "1e3", "12.5", "1,000", "-", "--1"}) {
        EXPECT_EQ(shown(parsePSLine(pid + " 1 01:00 ?? 0.0 1024 node"s)), "nothing") << pid;
        EXPECT_EQ(shown(parsePSLine("1 "s + pid + " 01:00 ?? 0.0 1024 node")), "nothing") << pid;
    }
}

TEST(ParsePSLine, takesPidsOf32SignedBits) {
    EXPECT_EQ(shown(parsePSLine("2147483647 -2147483648 01:00 ?? 0.0 1024 node")),
              "2147483647|-2147483648|01:00|??|0.0|1024|node");
    EXPECT_EQ(shown(parsePSLine("2147483648 1 01:00 ?? 0.0 1024 node")), "nothing");
    EXPECT_EQ(shown(parsePSLine("1 -2147483649 01:00 ?? 0.0 1024 node")), "nothing");
    EXPECT_EQ(shown(parsePSLine("4294967297 1 01:00 ?? 0.0 1024 node")), "nothing");
}

TEST(ParseElapsed, addsUpDaysHoursMinutesAndSeconds) {
    EXPECT_EQ(parseElapsed("42"), 42);
    EXPECT_EQ(parseElapsed("05:07"), 307);
    EXPECT_EQ(parseElapsed("01:02:03"), 3723);
    EXPECT_EQ(parseElapsed("2-03:04:05"), 183'845);
    EXPECT_EQ(parseElapsed("1-00:00:00"), 86'400);
    EXPECT_EQ(parseElapsed("00:00"), 0);
}

TEST(ParseElapsed, readsTheClockBehindDaysInItsShorterFormsToo) {
    EXPECT_EQ(parseElapsed("3-42"), 259'242);
    EXPECT_EQ(parseElapsed("3-01:42"), 259'302);
}

TEST(ParseElapsed, trimsBothEnds) {
    EXPECT_EQ(parseElapsed("  10:00 "), 600);
    EXPECT_EQ(parseElapsed("\t10:00\t "), 600);
}

TEST(ParseElapsed, checksNoRanges) {
    EXPECT_EQ(parseElapsed("75:00"), 4500);
    EXPECT_EQ(parseElapsed("00:90"), 90);
    EXPECT_EQ(parseElapsed("30:00:00"), 108'000);
    EXPECT_EQ(parseElapsed("99999"), 99'999);
}

TEST(ParseElapsed, countsPiecesThatAreNoNumbersAsZero) {
    EXPECT_EQ(parseElapsed(""), 0);
    EXPECT_EQ(parseElapsed("   "), 0);
    EXPECT_EQ(parseElapsed("long"), 0);
    EXPECT_EQ(parseElapsed("x:07"), 7);
    EXPECT_EQ(parseElapsed("05:x"), 300);
    EXPECT_EQ(parseElapsed("01:x:03"), 3603);
    EXPECT_EQ(parseElapsed("5.5:07"), 7);
    EXPECT_EQ(parseElapsed("05: 07"), 300);
    EXPECT_EQ(parseElapsed("0x10"), 0);
}

TEST(ParseElapsed, keepsThePlaceOfEmptyPieces) {
    EXPECT_EQ(parseElapsed(":05"), 5);
    EXPECT_EQ(parseElapsed("05:"), 300);
    EXPECT_EQ(parseElapsed("1::2"), 3602);
    EXPECT_EQ(parseElapsed("1::"), 3600);
    EXPECT_EQ(parseElapsed(":"), 0);
}

TEST(ParseElapsed, ignoresAClockOfMoreThanThreePieces) {
    EXPECT_EQ(parseElapsed("1:2:3:4"), 0);
    EXPECT_EQ(parseElapsed("3-1:2:3:4"), 259'200);
    EXPECT_EQ(parseElapsed("1:2:3:"), 0);
    EXPECT_EQ(parseElapsed(":::"), 0);
}

TEST(ParseElapsed, dividesDaysFromClockAtTheFirstHyphen) {
    EXPECT_EQ(parseElapsed("x-01:00"), 60);
    EXPECT_EQ(parseElapsed("-01:00"), 60);
    EXPECT_EQ(parseElapsed("3-"), 259'200);
    EXPECT_EQ(parseElapsed("2-x"), 172'800);
    EXPECT_EQ(parseElapsed("2-1-3"), 172'800);
    EXPECT_EQ(parseElapsed("-"), 0);
}

// The sum is one of doubles: no integer width bounds it.
TEST(ParseElapsed, holdsVeryLongTimes) {
    EXPECT_DOUBLE_EQ(parseElapsed("100000-00:00:01"), 8'640'000'001.0);
    EXPECT_DOUBLE_EQ(parseElapsed("9000000000000000-00:00:00"), 7.776e20);
    EXPECT_DOUBLE_EQ(parseElapsed("3000000000000000:00:00"), 1.08e19);
}

TEST(RunPS, asksForEveryProcessInSevenColumnsWithoutAHeader) {
    const Shell::Command command = ScanCore::psCommand();
    EXPECT_EQ(command.deadline, std::chrono::seconds(5));
    EXPECT_EQ(command.executable, "/bin/ps");
    EXPECT_EQ(command.arguments, (std::vector{"-axww"s, "-o"s, "pid=,ppid=,etime=,tty=,pcpu=,rss=,args="s}));
}

// Some versions of ps print an absurd age for a process in its first hundredth of a second, which this test's
// process may otherwise still be in.
TEST(RunPS, listsThisProcessWithItsFields) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::string table = ScanCore::runPS();
    ASSERT_FALSE(table.empty());
    const auto self = lineOf(getpid(), table);
    ASSERT_TRUE(self);
    EXPECT_EQ(self->ppid, getppid());
    EXPECT_GE(parseElapsed(self->etime), 0);
    EXPECT_LT(parseElapsed(self->etime), 3600);
    EXPECT_FALSE(self->tty.empty());
    EXPECT_GE(Text::parseDecimal(self->pcpu).value_or(-1), 0) << self->pcpu;
    EXPECT_GT(Text::parseInteger<int64_t>(self->rss).value_or(0), 0) << self->rss;
    EXPECT_TRUE(self->args.contains("scan_tests")) << self->args;
}

TEST(RunPS, startsWithAProcessInsteadOfAHeader) {
    const std::string table = ScanCore::runPS();
    std::string_view rest = table;
    const auto first = Text::takeLine(rest);
    ASSERT_TRUE(first);
    EXPECT_TRUE(parsePSLine(*first)) << *first;
}

TEST(RunPS, listsItsOwnChildrenAndThoseOfOthers) {
    const WaitingShell child("x");
    const std::string table = ScanCore::runPS();
    EXPECT_TRUE(lineOf(1, table)) << "the first process is no child of a test";
    const auto fields = lineOf(child.pid(), table);
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->ppid, getpid());
}

TEST(RunPS, neverCutsALongCommandLine) {
    const std::string argument = "begin-" + std::string(20'000, 'x') + "-end";
    const WaitingShell child(argument);
    const std::string table = ScanCore::runPS();
    const auto fields = lineOf(child.pid(), table);
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->args, "/bin/sh -c read line sh " + argument);
}
