#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/PipelineItems.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore {

using ScanCore::collapseWrappers;
using VintrelTests::candidate;
using VintrelTests::pidsOf;

namespace {

ProcessItem npmRunner() {
    return {.pid = 100,
            .ppid = 1,
            .command = "npm run dev",
            .elapsed = 7200,
            .tty = "pts/3",
            .kind = ProcessKind::npm,
            .riskTier = RiskTier::high,
            .cpuPercent = 1.5,
            .rssKB = 50'000,
            .startTime = ProcStartTime{.sec = 1'700'000'000, .usec = 10}};
}

ProcessItem viteServer() {
    return {.pid = 101,
            .ppid = 100,
            .command = "node /home/dev/shop/node_modules/.bin/vite",
            .elapsed = 7100,
            .tty = "?",
            .kind = ProcessKind::vite,
            .riskTier = RiskTier::moderate,
            .cpuPercent = 2.25,
            .rssKB = 80'000,
            .startTime = ProcStartTime{.sec = 1'700'000'100, .usec = 20}};
}

/// The two as one row.
ProcessItem viteUnderNpm() {
    return {.pid = 100,
            .ppid = 1,
            .command = "node /home/dev/shop/node_modules/.bin/vite",
            .elapsed = 7200,
            .tty = "pts/3",
            .kind = ProcessKind::vite,
            .riskTier = RiskTier::moderate,
            .cpuPercent = 3.75,
            .rssKB = 130'000,
            .startTime = ProcStartTime{.sec = 1'700'000'000, .usec = 10},
            .folded = {{.pid = 101, .startTime = ProcStartTime{.sec = 1'700'000'100, .usec = 20}}},
            .runnerCommand = "npm run dev"};
}

std::vector<std::string> commandsOf(const std::vector<ProcessItem>& items) {
    std::vector<std::string> commands;
    for (const ProcessItem& item : items) {
        commands.push_back(item.command);
    }
    return commands;
}

} // namespace

TEST(WrapperCollapseTest, mergesARunnerWithItsOnlyChild) {
    EXPECT_EQ(collapseWrappers({npmRunner(), viteServer()}), std::vector{viteUnderNpm()});
}

TEST(WrapperCollapseTest, theMergedRowLosesTheLabelsOfCustomRules) {
    ProcessItem runner = npmRunner();
    runner.customLabel = "Runner";
    ProcessItem server = viteServer();
    server.kind = ProcessKind::custom;
    server.customLabel = "Shop";

    ProcessItem merged = viteUnderNpm();
    merged.kind = ProcessKind::custom;
    EXPECT_EQ(collapseWrappers({runner, server}), std::vector{merged});
}

TEST(WrapperCollapseTest, theMergedRowHasNoStartTimeWhenTheRunnerHasNone) {
    ProcessItem runner = npmRunner();
    runner.startTime.reset();

    ProcessItem merged = viteUnderNpm();
    merged.startTime.reset();
    EXPECT_EQ(collapseWrappers({runner, viteServer()}), std::vector{merged});
}

TEST(WrapperCollapseTest, foldsTheRunnersShellsThenTheChildThenWhatTheChildHadFolded) {
    ProcessItem runner = npmRunner();
    runner.folded = {{.pid = 71, .startTime = ProcStartTime{.sec = 1, .usec = 1}}, {.pid = 72}};
    ProcessItem server = viteServer();
    server.folded = {{.pid = 40}, {.pid = 39, .startTime = ProcStartTime{.sec = 2, .usec = 2}}};

    ProcessItem merged = viteUnderNpm();
    merged.folded = {{.pid = 71, .startTime = ProcStartTime{.sec = 1, .usec = 1}},
                     {.pid = 72},
                     {.pid = 101, .startTime = server.startTime},
                     {.pid = 40},
                     {.pid = 39, .startTime = ProcStartTime{.sec = 2, .usec = 2}}};
    EXPECT_EQ(collapseWrappers({runner, server}), std::vector{merged});
}

TEST(WrapperCollapseTest, aFoldedChildWithoutAStartTimeStaysWithoutOne) {
    ProcessItem server = viteServer();
    server.startTime.reset();

    ProcessItem merged = viteUnderNpm();
    merged.folded = {{.pid = 101}};
    EXPECT_EQ(collapseWrappers({npmRunner(), server}), std::vector{merged});
}

TEST(WrapperCollapseTest, knowsAPackageRunnerByItsCommand) {
    const std::vector<std::string> runners = {
        "npm",
        "npm run dev",
        "npx",
        "npx vite",
        "/usr/bin/npm",
        "/usr/bin/npm start",
        "/usr/bin/npx",
        "/usr/bin/npx vite --port 5199",
        "node /usr/bin/npm",
        "node /usr/bin/npm run dev",
        "node /usr/bin/npx vitest",
        "node /usr/lib/node_modules/npm/bin/npm-cli.js run dev",
        "node /usr/lib/node_modules/npm/bin/npx-cli.js",
        "NPM run dev",
        "C:/Tools/NPX vite",
        "Node /opt/NPM-CLI.JS",
    };
    for (const std::string& command : runners) {
        SCOPED_TRACE(command);
        const auto items = collapseWrappers({candidate(10, 1, command), candidate(11, 10, "vite")});
        EXPECT_EQ(commandsOf(items), std::vector<std::string>{"vite"});
        EXPECT_EQ(pidsOf(items), std::vector{10});
    }
}

TEST(WrapperCollapseTest, leavesEveryOtherParentAlone) {
    const std::vector<std::string> others = {
        "",
        "node server.js",
        "pnpm run dev",
        "/usr/bin/pnpm dev",
        "yarn dev",
        "npmx",
        "npm\trun dev",
        "npm.cmd run dev",
        "sh -c npm run dev",
        "node npm.js",
        "node /home/dev/npm/server.js",
        "/opt/npx-tools/serve",
        "npm_cli.js",
    };
    for (const std::string& command : others) {
        SCOPED_TRACE(command);
        const std::vector items = {candidate(10, 1, command), candidate(11, 10, "vite")};
        EXPECT_EQ(collapseWrappers(items), items);
    }
}

TEST(WrapperCollapseTest, aRunnerWithoutAChildStaysAsItIs) {
    EXPECT_EQ(collapseWrappers({npmRunner()}), std::vector{npmRunner()});
}

TEST(WrapperCollapseTest, aRunnerWithTwoChildrenStaysAndSoDoThey) {
    const std::vector items = {npmRunner(), viteServer(), candidate(102, 100, "jest --watch")};
    EXPECT_EQ(collapseWrappers(items), items);
}

TEST(WrapperCollapseTest, onlyCandidatesCountAsChildren) {
    // The runner's parent and its grandchild are in the list, a child of its own is not.
    const std::vector items = {candidate(50, 1, "node boss.js"), candidate(100, 50, "npm run dev"),
                               candidate(102, 101, "vite")};
    EXPECT_EQ(collapseWrappers(items), items);
}

TEST(WrapperCollapseTest, theMergedRowStandsWhereTheRunnerStood) {
    const auto items = collapseWrappers({candidate(1000, 1, "jest"), candidate(100, 1, "npm run dev"),
                                         candidate(2000, 1, "pytest"), candidate(101, 100, "vite"),
                                         candidate(3000, 1, "cargo run")});
    EXPECT_EQ(pidsOf(items), (std::vector{1000, 100, 2000, 3000}));
    EXPECT_EQ(commandsOf(items), (std::vector<std::string>{"jest", "vite", "pytest", "cargo run"}));
}

TEST(WrapperCollapseTest, findsAChildThatIsListedBeforeItsRunner) {
    const auto items = collapseWrappers(
        {candidate(101, 4000, "vite"), candidate(500, 1, "jest"), candidate(4000, 1, "npm run dev")});
    EXPECT_EQ(pidsOf(items), (std::vector{500, 4000}));
    EXPECT_EQ(commandsOf(items), (std::vector<std::string>{"jest", "vite"}));
}

TEST(WrapperCollapseTest, severalRunnersEachTakeTheirOwnChild) {
    const auto items = collapseWrappers({candidate(100, 1, "npm run web"), candidate(200, 1, "npx vitest"),
                                         candidate(101, 100, "vite"), candidate(201, 200, "vitest")});
    EXPECT_EQ(pidsOf(items), (std::vector{100, 200}));
    EXPECT_EQ(commandsOf(items), (std::vector<std::string>{"vite", "vitest"}));
}

TEST(WrapperCollapseTest, theOuterOfTwoNestedRunnersTakesTheInnerOne) {
    const auto items = collapseWrappers(
        {candidate(100, 1, "npm run dev"), candidate(101, 100, "npx vite"), candidate(102, 101, "vite")});
    EXPECT_EQ(pidsOf(items), (std::vector{100, 102}));
    EXPECT_EQ(commandsOf(items), (std::vector<std::string>{"npx vite", "vite"}));
}

TEST(WrapperCollapseTest, theInnerOfTwoNestedRunnersGoesFirstWhenItIsListedFirst) {
    const auto items = collapseWrappers(
        {candidate(101, 200, "npx vite"), candidate(102, 101, "vite"), candidate(200, 1, "npm run dev")});
    EXPECT_EQ(pidsOf(items), (std::vector{101, 200}));
    EXPECT_EQ(commandsOf(items), (std::vector<std::string>{"vite", "npm run dev"}));
}

TEST(WrapperCollapseTest, aChildThatAnotherRowTookNoLongerCounts) {
    // Of the two children of 300, the runner 200 has become a row of its own by the time 300 is looked at.
    const auto items = collapseWrappers({candidate(200, 300, "npx vite"), candidate(201, 200, "vite"),
                                         candidate(300, 1, "npm run all"), candidate(301, 300, "jest")});
    EXPECT_EQ(pidsOf(items), (std::vector{200, 300}));
    EXPECT_EQ(commandsOf(items), (std::vector<std::string>{"vite", "jest"}));
}

TEST(WrapperCollapseTest, nothingCollapsesToNothing) {
    EXPECT_TRUE(collapseWrappers({}).empty());
}

} // namespace VintrelCore
