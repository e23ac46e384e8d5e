#include "VintrelCore/context/AncestryResolver.h"

#include "VintrelCore/platform/Platform.h"
#include "tests/core/context/Printing.h"
#include "tests/core/context/ReplacedTool.h"
#include "tests/core/context/SleepingChild.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <unistd.h>

namespace VintrelCore::AncestryResolver {

using VintrelTests::exitWithVerdict;
using VintrelTests::haveMountsOfOnesOwn;
using VintrelTests::replaceTool;
using VintrelTests::SleepingChild;
using VintrelTests::TemporaryFolder;

namespace {

using Labels = std::vector<std::string>;

/// What the kernel says about a process and its parents: an account of its own, to hold the table against.
Labels chainByTheKernel(int32_t pid) {
    Labels labels;
    while (pid > 0) {
        const std::string folder = "/proc/" + std::to_string(pid);
        std::string name;
        std::getline(std::ifstream(folder + "/comm"), name);
        labels.push_back(std::filesystem::path(name).filename());
        pid = 0;
        std::ifstream status(folder + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("PPid:")) {
                pid = std::stoi(line.substr(5));
            }
        }
    }
    return labels;
}

} // namespace

TEST(AncestryResolverTest, readsALineOfThreeColumns) {
    struct Case {
        std::string line;
        int32_t pid;
        int32_t ppid;
        std::string label;
    };

    const std::vector<Case> cases = {
        {"  501     1 /usr/sbin/sshd", 501, 1, "sshd"},
        {"77 76 node worker (dev)", 77, 76, "node worker (dev)"},
        {"1 0 systemd", 1, 0, "systemd"},
        {"\t10\t5\tnode", 10, 5, "node"},
        {" \t 10 \t\t 5  \t node", 10, 5, "node"},
        {"10 5 node \t ", 10, 5, "node"},
        {"10 5 node\r", 10, 5, "node"},
        {"10 5 two  blanks", 10, 5, "two  blanks"},
        {"10 5 a\ttab", 10, 5, "a\ttab"},
        {"10 5 /Applications/My App.app/Contents/MacOS/My App", 10, 5, "My App"},
        {"10 5 7", 10, 5, "7"},
        {"10 5 -zsh", 10, 5, "-zsh"},
        {"10 5 店", 10, 5, "店"},
        {"2147483647 -2147483648 node", 2147483647, -2147483648, "node"},
        {"007 010 node", 7, 10, "node"},
    };
    for (const auto& [line, pid, ppid, label] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(parseLine(line), (Entry{pid, {ppid, label}}));
    }
}

TEST(AncestryResolverTest, aMalformedLineGivesNothing) {
    for (const std::string line : {"",
                                   " ",
                                   " \t ",
                                   "10",
                                   "10 5",
                                   "10 5 ",
                                   "10 5 \t ",
                                   "PID PPID COMMAND",
                                   "ten 5 node",
                                   "10 five node",
                                   "10x 5 node",
                                   "10 5x node",
                                   "0x10 5 node",
                                   "10.0 5 node",
                                   "2147483648 5 node",
                                   "10 2147483648 node",
                                   "10 -2147483649 node",
                                   "10,5,node",
                                   "node 10 5",
                                   "99999999999999999999 5 node"}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(parseLine(line), std::nullopt);
    }
}

TEST(AncestryResolverTest, onlyBlanksAndTabsSeparateColumns) {
    EXPECT_EQ(parseLine("10\u00a05 1 node"), std::nullopt);
    EXPECT_EQ(parseLine("10\r5 1 node"), std::nullopt);
}

TEST(AncestryResolverTest, aLabelIsTheLastComponentOfAPath) {
    EXPECT_EQ(compactLabel("/Applications/Foo.app/Contents/MacOS/Foo"), "Foo");
    EXPECT_EQ(compactLabel("/usr/bin/node"), "node");
    EXPECT_EQ(compactLabel("bin/node"), "node");
    EXPECT_EQ(compactLabel("/node"), "node");
    EXPECT_EQ(compactLabel("/opt/My Tools/a b"), "a b");
    EXPECT_EQ(compactLabel("node"), "node");
    EXPECT_EQ(compactLabel("node worker (dev)"), "node worker (dev)");
}

TEST(AncestryResolverTest, withoutALastComponentTheTextStays) {
    EXPECT_EQ(compactLabel("/"), "/");
    EXPECT_EQ(compactLabel(""), "");
}

TEST(AncestryResolverTest, collectsAllProcessesByPid) {
    EXPECT_EQ(processTable("    1     0 systemd\n  501     1 /usr/sbin/sshd\n77 501 node worker (dev)\n"),
              (ProcessTable{{1, {0, "systemd"}}, {501, {1, "sshd"}}, {77, {501, "node worker (dev)"}}}));
    EXPECT_EQ(processTable("1 0 systemd"), (ProcessTable{{1, {0, "systemd"}}})) << "no line feed at the end";
    EXPECT_EQ(processTable("\n\n1 0 systemd\n\n\n2 1 sh\n\n"),
              (ProcessTable{{1, {0, "systemd"}}, {2, {1, "sh"}}}));
    EXPECT_EQ(processTable(""), ProcessTable{}) << "prepared output, though empty: ps is not asked";
}

TEST(AncestryResolverTest, aMalformedLineDoesNotHideTheOthers) {
    EXPECT_EQ(processTable("PID PPID COMMAND\n1 0 systemd\n2 1\nthree 1 sh\n4 1 sh\n"),
              (ProcessTable{{1, {0, "systemd"}}, {4, {1, "sh"}}}));
}

TEST(AncestryResolverTest, theLastOfTwoLinesForAPidCounts) {
    EXPECT_EQ(processTable("5 1 before\n6 5 sh\n5 2 after\n"),
              (ProcessTable{{5, {2, "after"}}, {6, {5, "sh"}}}));
}

TEST(AncestryResolverTest, followsTheParentsNearestFirst) {
    const ProcessTable table{{10, {5, "node"}}, {5, {1, "zsh"}}, {1, {0, "launchd"}}, {11, {10, "esbuild"}}};
    EXPECT_EQ(ancestorChain(10, table), (Labels{"node", "zsh", "launchd"}));
    EXPECT_EQ(ancestorChain(5, table), (Labels{"zsh", "launchd"}));
    EXPECT_EQ(ancestorChain(1, table), (Labels{"launchd"}));
}

TEST(AncestryResolverTest, nobodyHasNoAncestors) {
    const ProcessTable table{{0, {0, "kernel"}}, {-1, {1, "odd"}}, {1, {0, "launchd"}}};
    EXPECT_EQ(ancestorChain(0, table), Labels{});
    EXPECT_EQ(ancestorChain(-1, table), Labels{});
    EXPECT_EQ(ancestorChain(1, table), (Labels{"launchd"})) << "the kernel's own number ends the walk";
}

TEST(AncestryResolverTest, aParentThatIsNotInTheTableEndsTheChain) {
    EXPECT_EQ(ancestorChain(10, {{10, {5, "node"}}}), (Labels{"node"}));
    EXPECT_EQ(ancestorChain(99, {{10, {5, "node"}}}), Labels{});
    EXPECT_EQ(ancestorChain(10, {}), Labels{});
    EXPECT_EQ(ancestorChain(10, {{10, {-1, "node"}}, {-1, {1, "odd"}}}), (Labels{"node"}));
}

TEST(AncestryResolverTest, aCycleEndsWhereItBegan) {
    EXPECT_EQ(ancestorChain(5, {{5, {6, "a"}}, {6, {5, "b"}}}), (Labels{"a", "b"}));
    EXPECT_EQ(ancestorChain(5, {{5, {5, "a"}}}), (Labels{"a"}));
    EXPECT_EQ(ancestorChain(4, {{4, {5, "way in"}}, {5, {6, "a"}}, {6, {5, "b"}}}),
              (Labels{"way in", "a", "b"}));
}

TEST(AncestryResolverTest, differentProcessesMayHaveTheSameLabel) {
    EXPECT_EQ(ancestorChain(7, {{7, {6, "zsh"}}, {6, {5, "zsh"}}, {5, {0, "zsh"}}}),
              (Labels{"zsh", "zsh", "zsh"}));
}

TEST(AncestryResolverTest, aLongChainIsFollowedToItsEnd) {
    constexpr int32_t generations = 100'000;
    ProcessTable table;
    for (int32_t pid = 1; pid <= generations; ++pid) {
        table[pid] = {pid - 1, std::to_string(pid)};
    }
    const Labels chain = ancestorChain(generations, table);
    ASSERT_EQ(chain.size(), size_t{generations});
    EXPECT_EQ(chain.front(), std::to_string(generations));
    EXPECT_EQ(chain.back(), "1");
}

TEST(LivePSTest, theTableHoldsThisProcessAndItsChild) {
    const SleepingChild child("/");
    const ProcessTable table = processTable();
    ASSERT_TRUE(table.contains(::getpid()));
    EXPECT_EQ(table.at(::getpid()), (ProcessNode{::getppid(), chainByTheKernel(::getpid()).front()}));
    ASSERT_TRUE(table.contains(child.pid()));
    EXPECT_EQ(table.at(child.pid()), (ProcessNode{::getpid(), "sleep"}));
    EXPECT_TRUE(table.contains(1));
}

TEST(LivePSTest, theChainOfThisProcessIsTheKernels) {
    const Labels chain = ancestorChain(::getpid(), processTable());
    EXPECT_GE(chain.size(), 2U);
    EXPECT_EQ(chain, chainByTheKernel(::getpid()));
}

TEST(LivePSDeathTest, processesOfOtherAccountsAreInTheTable) {
    VINTREL_NEEDS_ROOT();
    const auto askAsNobody = [] {
        if (::setuid(65'534) != 0) {
            std::_Exit(2);
        }
        EXPECT_TRUE(processTable().contains(1));
        exitWithVerdict();
    };
    EXPECT_EXIT(askAsNobody(), ::testing::ExitedWithCode(0), "");
}

TEST(LivePSDeathTest, psIsAskedForThreeColumnsOfAllProcesses) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const auto script = folder.write("ps", "#!/bin/sh\necho \"7 1 $# words: $*\"\n");
    const auto ask = [&script] {
        haveMountsOfOnesOwn();
        replaceTool(Platform::psPath(), script);
        EXPECT_EQ(processTable(), (ProcessTable{{7, {1, "2 words: -axo pid=,ppid=,comm="}}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(ask(), ::testing::ExitedWithCode(0), "");
}

TEST(LivePSDeathTest, whenPSFailsTheTableIsEmpty) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const auto script = folder.write("ps", "#!/bin/sh\necho '7 1 node'\nexit 1\n");
    const auto ask = [&script] {
        haveMountsOfOnesOwn();
        replaceTool(Platform::psPath(), script);
        EXPECT_EQ(processTable(), ProcessTable{});
        exitWithVerdict();
    };
    EXPECT_EXIT(ask(), ::testing::ExitedWithCode(0), "");
}

} // namespace VintrelCore::AncestryResolver
