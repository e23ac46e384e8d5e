// "sh -c TOOL" whose parent is gone. dash does not replace itself by what it runs, so that this is what npm,
// an editor or an agent leaves behind.
#include "tests/core/scan/PipelineItems.h"
#include "tests/core/scan/SnapshotRows.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::FakeKernel;
using VintrelTests::foldedPIDs;
using VintrelTests::pidsOf;
using VintrelTests::rowsOf;

namespace {

using PIDs = std::vector<int32_t>;

std::string line(int32_t pid, int32_t ppid, const std::string& command, const std::string& tty = "?") {
    return std::to_string(pid) + " " + std::to_string(ppid) + " 02:00:00 " + tty + " 1.0 100 " + command +
           "\n";
}

const std::string processOne = line(1, 0, "/sbin/init");

const std::string leftBehind =
    processOne + line(20, 1, "sh -c vitest --watch") + line(21, 20, "node (vitest)");

/// Processes in no unit and no container, which are orphans once their parents are gone.
FakeKernel orphans(const PIDs& pids) {
    FakeKernel kernel;
    for (const int32_t pid : pids) {
        kernel.addOrphan(pid);
    }
    return kernel;
}

} // namespace

TEST(OrphanedShells, whatTheShellStartedTakesItsPlace) {
    const auto items = rowsOf(leftBehind, orphans({20, 21}));
    ASSERT_EQ(pidsOf(items), (PIDs{21}));
    EXPECT_EQ(items[0].command, "node (vitest)");
    EXPECT_EQ(items[0].kind, ProcessKind::vitest);
    EXPECT_EQ(items[0].ppid, 1);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{20}));
    EXPECT_EQ(items[0].folded[0].as, FoldedAs::starter);
    EXPECT_EQ(items[0].shownPID(), 21);
}

TEST(OrphanedShells, dashAndBashAndTheUsersServiceManagerAreNoDifferent) {
    for (const char* shell : {"/bin/dash", "/usr/bin/bash", "sh"}) {
        const auto items = rowsOf(line(5, 1, "/lib/systemd/systemd --user") +
                                      line(20, 5, std::string(shell) + " -c vitest") + line(21, 20, "vitest"),
                                  orphans({5, 20, 21}));
        ASSERT_EQ(pidsOf(items), (PIDs{21})) << shell;
        EXPECT_EQ(items[0].riskTier, RiskTier::easy) << shell;
    }
}

TEST(OrphanedShells, shellsWithinShellsAreFoldedFromTheOutside) {
    const auto items = rowsOf(processOne + line(20, 1, "sh -c sh -c 'vitest'") +
                                  line(21, 20, "sh -c vitest") + line(22, 21, "node (vitest)"),
                              orphans({20, 21, 22}));
    ASSERT_EQ(pidsOf(items), (PIDs{22}));
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{20, 21}));
}

TEST(OrphanedShells, aRunnerThatTheShellStartedIsOneRowWithBoth) {
    const auto items =
        rowsOf(processOne + line(20, 1, "bash -c npm test; exit $?") + line(21, 20, "npm test") +
                   line(22, 21, "sh -c vitest") + line(23, 22, "node (vitest)"),
               orphans({20, 21}));
    ASSERT_EQ(pidsOf(items), (PIDs{21}));
    EXPECT_EQ(items[0].kind, ProcessKind::vitest);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{20, 22, 23}));
    EXPECT_EQ(items[0].folded[0].as, FoldedAs::starter);
    EXPECT_EQ(items[0].folded[1].as, FoldedAs::part);
    EXPECT_EQ(items[0].shownPID(), 23);
}

TEST(OrphanedShells, whatItWasToldNamesABareNodeProcess) {
    const VintrelTests::Found found{.arguments = {{20, {"sh", "-c", "vitest"}}},
                                    .executables = {{21, "/usr/bin/node"}}};
    const auto items = rowsOf(processOne + line(20, 1, "sh -c vitest") + line(21, 20, "node /x/main.mjs"),
                              orphans({20, 21}), {}, found);
    ASSERT_EQ(pidsOf(items), (PIDs{21}));
    EXPECT_EQ(items[0].kind, ProcessKind::vitest);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
}

TEST(OrphanedShells, whatRunsAfterALineBreakIsNotWhatTheFirstLineNames) {
    // To ps a line break is a blank.
    const VintrelTests::Found found{.arguments = {{20, {"sh", "-c", "npx vitest\npython3 train.py"}}},
                                    .executables = {{21, "/usr/bin/python3.11"}}};
    const auto items = rowsOf(processOne + line(20, 1, "sh -c npx vitest python3 train.py") +
                                  line(21, 20, "python3 train.py"),
                              orphans({20, 21}), {}, found);
    EXPECT_TRUE(items.empty());
}

TEST(OrphanedShells, optionsOfTheShellDoNotMatter) {
    for (const char* shell : {"bash -lc", "sh -ec", "bash -o pipefail -c"}) {
        const auto items =
            rowsOf(processOne + line(20, 1, std::string(shell) + " vitest") + line(21, 20, "node (vitest)"),
                   orphans({20, 21}));
        ASSERT_EQ(pidsOf(items), (PIDs{21})) << shell;
        EXPECT_EQ(foldedPIDs(items[0]), (PIDs{20})) << shell;
    }
}

TEST(OrphanedShells, withSeveralChildrenOrNoneStayAsTheyAre) {
    const auto two = rowsOf(leftBehind + line(22, 20, "sleep 100"), orphans({20, 21, 22}));
    EXPECT_EQ(pidsOf(two), (PIDs{20, 21}));
    EXPECT_EQ(two[1].ppid, 20);
    EXPECT_EQ(two[1].riskTier, RiskTier::moderate);
    EXPECT_EQ(pidsOf(rowsOf(processOne + line(20, 1, "sh -c vitest"), orphans({20}))), (PIDs{20}));
}

TEST(OrphanedShells, aShellThatIsLookedAfterIsNotFolded) {
    FakeKernel service = orphans({20, 21});
    service[20].controlGroup = service[21].controlGroup = "/system.slice/mydev.service";
    FakeKernel daemon = orphans({20, 21});
    daemon[20].sessionID = 20; // it chose to lead its session; its child is in that session
    daemon[21].sessionID = 20;
    FakeKernel otherUser = orphans({20, 21});
    otherUser[20].userID = 0;
    for (const FakeKernel& kernel : {service, daemon, otherUser}) {
        const auto items = rowsOf(leftBehind, kernel);
        ASSERT_EQ(pidsOf(items), (PIDs{20, 21}));
        EXPECT_EQ(items[0].ppid, 0);
        EXPECT_EQ(items[1].ppid, 20);
        EXPECT_EQ(items[1].riskTier, RiskTier::moderate);
    }
}

TEST(OrphanedShells, aChildThatWouldBeNoOrphanIsNotTaken) {
    FakeKernel daemon = orphans({20, 21});
    daemon[21].sessionID = 21;
    FakeKernel otherUser = orphans({20, 21});
    otherUser[21].userID = 0;
    FakeKernel container = orphans({20, 21});
    container[21].controlGroup = "/docker/0123456789abcdef";
    for (const FakeKernel& kernel : {daemon, otherUser, container, orphans({20})}) {
        const auto records = snapshotRecords(leftBehind, kernel.view());
        ASSERT_EQ(records.size(), 3U);
        EXPECT_EQ(records[1].ppid, 1);
        EXPECT_EQ(records[2].ppid, 20);
        EXPECT_EQ(records[2].managedBy, "");
        EXPECT_TRUE(records[2].shellsAbove.empty());
    }
}

TEST(OrphanedShells, aTerminalOfEitherKeepsThemApart) {
    const auto child =
        rowsOf(processOne + line(20, 1, "sh -c vitest") + line(21, 20, "vitest", "pts/1"), orphans({20, 21}));
    EXPECT_EQ(pidsOf(child), (PIDs{20, 21}));
    const auto shell =
        rowsOf(processOne + line(20, 1, "sh -c vitest", "pts/1") + line(21, 20, "vitest"), orphans({20, 21}));
    EXPECT_EQ(pidsOf(shell), (PIDs{20, 21}));
    EXPECT_EQ(shell[1].riskTier, RiskTier::moderate);
}

TEST(OrphanedShells, aShellOfALivingParentIsNotFolded) {
    const auto items = rowsOf(processOne + line(19, 1, "/usr/bin/code") + line(20, 19, "sh -c vitest") +
                                  line(21, 20, "vitest"),
                              orphans({19, 20, 21}));
    EXPECT_EQ(pidsOf(items), (PIDs{20, 21}));
    EXPECT_EQ(items[1].ppid, 20);
}

TEST(OrphanedShells, theWorkOfAContainersFirstProcessIsNotFolded) {
    for (const char* first : {"npm test", "sh -c vitest & wait"}) {
        const auto items = rowsOf(line(1, 0, first) + line(20, 1, "sh -c vitest") + line(21, 20, "vitest"),
                                  orphans({20, 21}));
        EXPECT_TRUE(std::ranges::none_of(items, &ProcessItem::isOrphan)) << first;
    }
}

TEST(OrphanedShells, processOneThatIsItsOwnParentIsLeftAlone) {
    EXPECT_EQ(snapshotRecords(line(1, 1, "sh -c vite"), FakeKernel().view()).size(), 1U);
}
