// One scan of prepared facts.
#include "VintrelCore/VintrelCore.h"
#include "tests/core/scan/PreparedFacts.h"

#include <algorithm>
#include <iterator>

#include <gtest/gtest.h>

using namespace VintrelCore;

namespace {

using PIDs = std::vector<int32_t>;
using Tiers = std::vector<RiskTier>;

class ScanOfFacts : public ::testing::Test {
protected:
    Scan::Result scan(const ScanRules& rules = {}) {
        return Scan::run({.rules = rules, .dismissedPIDs = dismissed, .home = "/home/me"}, facts);
    }

    static PIDs pidsOf(const Scan::Result& result) {
        PIDs pids;
        std::ranges::transform(result.items, std::back_inserter(pids), &ProcessItem::pid);
        return pids;
    }

    VintrelTests::PreparedFacts facts;
    ScanCore::PIDSet dismissed;
};

} // namespace

TEST_F(ScanOfFacts, listsCandidatesWithWhatTheFactsTellOfThem) {
    facts.addStray(4711);
    facts.table.push_back(
        {.pid = 7, .ppid = 1, .elapsed = "10:00", .tty = "?", .command = "cat", .name = "cat"});
    const auto result = scan();
    ASSERT_EQ(pidsOf(result), PIDs{4711});
    EXPECT_EQ(result.items.front().kind, ProcessKind::vitest);
    EXPECT_EQ(result.items.front().startTime, (ProcStartTime{.sec = 5'711, .usec = 0}));
    EXPECT_EQ(result.items.front().rssKB, 2'048);
    EXPECT_EQ(result.items.front().elapsed, 3'600);
    EXPECT_EQ(result.items.front().riskTier, RiskTier::easy);
    EXPECT_FALSE(result.interrupted);
}

TEST_F(ScanOfFacts, knowsTheAncestorsOutOfTheSameTable) {
    facts.addStray(4711);
    facts.table.push_back(
        {.pid = 1, .ppid = 0, .elapsed = "10:00", .tty = "?", .command = "/sbin/init", .name = "init"});
    const auto result = scan();
    EXPECT_EQ(AncestryResolver::ancestorChain(4711, result.processTable),
              (std::vector<std::string>{"vitest", "init"}));
}

TEST_F(ScanOfFacts, aProcessThatHasEndedSinceTheTableIsLeftOut) {
    facts.addStray(4711);
    facts.starts.clear();
    EXPECT_TRUE(scan().items.empty());
}

TEST_F(ScanOfFacts, whoListensOnARegisteredPortIsNotSafe) {
    facts.addStray(1001);
    facts.addStray(1002);
    facts.listening.byPID = {{1002, {5'173}}, {9, {3'000}}};
    const auto result = scan();
    EXPECT_EQ(facts.listenersAskedFor, (PIDs{1001, 1002}));
    EXPECT_EQ(result.items.at(0).riskTier, RiskTier::easy);
    EXPECT_EQ(result.items.at(1).riskTier, RiskTier::moderate);
    EXPECT_EQ(result.listeningPorts, facts.listening.byPID);
}

TEST_F(ScanOfFacts, followsTheRules) {
    facts.addStray(1001);
    facts.addStray(1002, "/usr/bin/jest");
    facts.addStray(1003, "/usr/bin/my-agent");
    EXPECT_EQ(pidsOf(scan({.ignoredNames = {"  JEST "}})), PIDs{1001});
    EXPECT_EQ(pidsOf(scan({.disabledKinds = {ProcessKind::vitest}})), PIDs{1002});
    EXPECT_EQ(pidsOf(scan({.customRules = {{"my-agent", "Agent"}}})), (PIDs{1001, 1002, 1003}));
    EXPECT_EQ(scan({.elapsedThreshold = 3'601}).items.front().riskTier, RiskTier::moderate);
    dismissed = {1001};
    EXPECT_EQ(pidsOf(scan()), PIDs{1002});
}

TEST_F(ScanOfFacts, ignoreRulesWithAPathHideOnlyWhatWorksThere) {
    for (const int32_t pid : {1001, 1002, 1003, 1004}) {
        facts.addStray(pid);
    }
    facts.directories.byPID = {
        {1001, "/home/me/work/shop/web"}, {1002, "/home/me/work/shopping"}, {1003, "/home/me/work/shop"}};
    const ScanRules rules{.ignoredNames = {"VITEST @ ~/work/shop", "jest @ ~/work/shopping"}};
    EXPECT_EQ(pidsOf(scan(rules)), (PIDs{1002, 1004}));
}

TEST_F(ScanOfFacts, foldersAreAskedForInTheOrderOfTheItemsAndOfAllThatIsFoldedIntoThem) {
    facts.addStray(1001);
    facts.addStray(1002, "npm run dev");
    facts.table.push_back({.pid = 1003,
                           .ppid = 1002,
                           .elapsed = "01:00:00",
                           .tty = "?",
                           .cpuPercent = "0.0",
                           .rss = "0",
                           .command = "node /x/node_modules/.bin/vite"});
    facts.starts[1003] = {.sec = 2'003, .usec = 0};
    const auto result = scan();
    ASSERT_EQ(pidsOf(result), (PIDs{1001, 1002}));
    EXPECT_EQ(facts.foldersAskedFor, (PIDs{1001, 1002, 1003}));
}

TEST_F(ScanOfFacts, foldersAreWrittenFromTheHomeFolder) {
    facts.addStray(1001);
    facts.directories.byPID = {{1001, "/home/me/work"}};
    EXPECT_EQ(scan().cwds.at(1001), (ProcessCwd{.label = "work", .fullPath = "~/work"}));
}

TEST_F(ScanOfFacts, withoutATableNothingIsKnown) {
    facts.addStray(1001);
    facts.tableShortfall = {.fault = Shell::Fault::notLaunched, .source = "/proc"};
    const auto result = scan();
    EXPECT_TRUE(result.items.empty());
    EXPECT_EQ(complaintAboutTable(result.faults), "/proc could not be read: no processes are known");
    EXPECT_EQ(reasonNotToClean(result.faults, {}, std::nullopt),
              "without /proc, no processes are known; nothing was ended");
}

TEST_F(ScanOfFacts, withoutListenersTheCandidatesStand) {
    facts.addStray(1001);
    facts.listening.shortfall = {.fault = Shell::Fault::notLaunched, .source = "/proc/net"};
    const auto result = scan();
    EXPECT_EQ(pidsOf(result), PIDs{1001});
    EXPECT_EQ(complaintAboutDetails(result.faults),
              "/proc/net could not be read: projects and ports are unknown");
    EXPECT_EQ(reasonNotToClean(result.faults, {}, std::nullopt),
              "without /proc/net, what is protected is unknown; nothing was ended");
}

TEST_F(ScanOfFacts, theFirstSourceOfDetailsThatFailedIsNamed) {
    facts.addStray(1001);
    facts.directories.shortfall = {.fault = Shell::Fault::tooSlow, .source = "lsof", .metDeadMount = true};
    facts.listening.shortfall = {.fault = Shell::Fault::broken, .source = "/proc/net"};
    const auto result = scan();
    EXPECT_EQ(complaintAboutDetails(result.faults),
              "lsof did not answer in time: projects and ports are unknown");
    EXPECT_TRUE(result.faults.metDeadMount);
}

TEST_F(ScanOfFacts, anInterruptIsNoted) {
    facts.addStray(1001);
    facts.listening.shortfall.interrupted = true;
    EXPECT_TRUE(scan().interrupted);
    facts.tableShortfall.interrupted = true;
    EXPECT_TRUE(scan().items.empty());
}

TEST_F(ScanOfFacts, foldersAreUnknownWhenThatOfNoLivingCandidateIsKnown) {
    facts.addStray(1001);
    EXPECT_FALSE(scan().faults.foldersUnknown) << "there is no such process any more";
    EXPECT_EQ(scan().ended, ScanCore::PIDSet{1001});
    facts.starts[1] = Platform::startTime(1).value_or(ProcStartTime());
    facts.addStray(1);
    facts.starts[1] = Platform::startTime(1).value_or(ProcStartTime());
    EXPECT_TRUE(scan().faults.foldersUnknown);
    facts.kernelFacts[1].userID = 7;
    facts.kernel.userID = 8;
    EXPECT_FALSE(scan().faults.foldersUnknown) << "another account's";
    facts.directories.byPID = {{1, "/home/me"}};
    facts.kernelFacts.clear();
    EXPECT_FALSE(scan().faults.foldersUnknown);
}

TEST_F(ScanOfFacts, mayHoldContainersOnlyWhereAProcessLivesInAnotherNamespaceOrControlGroup) {
    facts.addStray(1001);
    facts.kernelFacts[1001] = {};
    EXPECT_FALSE(scan().mayHoldContainers);
    facts.kernelFacts[1001].isInInnerNamespace = true;
    EXPECT_TRUE(scan().mayHoldContainers);
    facts.kernelFacts[1001] = {.controlGroup = "/system.slice/docker-0123456789ab.scope"};
    EXPECT_TRUE(scan().mayHoldContainers) << "a container may share this system's processes";
    facts.kernelFacts.clear();
    facts.kernel.knowsContainers = false;
    EXPECT_TRUE(scan().mayHoldContainers) << "it cannot be told";
    facts.table.clear();
    EXPECT_FALSE(scan().mayHoldContainers) << "nothing is listed";
}
