// Who is an orphan, with real processes. Needs a session that no service manager's unit looks after: a login,
// a terminal, or a container.
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/Parentage.h"
#include "VintrelCore/scan/ScanCore.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <optional>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

std::optional<SnapshotRecord> recordOf(int32_t pid) {
    const auto records = snapshotRecords(ScanCore::runPS(), Platform::kernelView());
    const auto found = std::ranges::find(records, pid, &SnapshotRecord::pid);
    return found != records.end() ? std::optional(*found) : std::nullopt;
}

/// The candidate with this pid in a scan for which everything is old.
std::optional<ProcessItem> itemOf(int32_t pid) {
    const auto items = ScanCore::enumerate({.elapsedThreshold = 0,
                                            .registeredPIDs = ScanCore::PIDSet(),
                                            .startTimeProvider = Platform::startTime});
    const auto found = std::ranges::find(items, pid, &ProcessItem::pid);
    return found != items.end() ? std::optional(*found) : std::nullopt;
}

int32_t parentByTheKernel(int32_t pid) {
    const auto found = ScanCore::runPS();
    std::string_view rest = found;
    for (auto at = rest.find('\n'); !rest.empty(); at = rest.find('\n')) {
        const auto line = ScanCore::parsePSLine(rest.substr(0, at));
        if (line && line->pid == pid) {
            return line->ppid;
        }
        rest.remove_prefix(at == std::string_view::npos ? rest.size() : at + 1);
    }
    return -1;
}

} // namespace

TEST(OnThisMachine, anOrphanUnderProcessOneIsSafe) {
    const Stray stray({.argv = {"node", "/x/node_modules/.bin/vitest", "--watch"}});
    ASSERT_EQ(parentByTheKernel(stray.pid()), 1)
        << "something between this test and process 1 adopts orphans";
    const auto item = itemOf(stray.pid());
    ASSERT_TRUE(item);
    EXPECT_TRUE(item->isOrphan());
    EXPECT_FALSE(item->hasTTY());
    EXPECT_EQ(item->kind, ProcessKind::vitest);
    EXPECT_EQ(item->command, "node /x/node_modules/.bin/vitest --watch");
    EXPECT_EQ(item->bucket(), Bucket::safe);
    EXPECT_EQ(item->startTime, Platform::startTime(stray.pid()));
    EXPECT_TRUE(item->startTime);
}

TEST(OnThisMachine, anOrphanUnderTheUsersServiceManagerIsSafe) {
    const Stray stray({.argv = {"vitest", "--watch"}, .adopter = true});
    ASSERT_GT(parentByTheKernel(stray.pid()), 1);
    const auto item = itemOf(stray.pid());
    ASSERT_TRUE(item);
    EXPECT_TRUE(item->isOrphan());
    EXPECT_EQ(item->bucket(), Bucket::safe);
}

TEST(OnThisMachine, aDaemonByItsOwnChoiceIsNoOrphan) {
    const Stray stray({.argv = {"vitest", "--watch"}, .leader = true});
    ASSERT_EQ(parentByTheKernel(stray.pid()), 1);
    const auto item = itemOf(stray.pid());
    ASSERT_TRUE(item);
    EXPECT_EQ(item->ppid, 0);
    EXPECT_EQ(item->bucket(), Bucket::needsReview);
}

TEST(OnThisMachine, aTmuxServerStartedWithATestRunnersCommandIsNeverSafe) {
    const TemporaryFolder folder;
    const std::string socket = (folder.path() / "tmux").string();
    // The server forks away and keeps the command line it was started with.
    Process starter({.argv = {"tmux", "-f", "/dev/null", "-S", socket, "new-session", "-d",
                              "sleep 60 # vitest --watch "}});
    ASSERT_EQ(starter.wait(), 0);
    Process asking({.argv = {"tmux", "-S", socket, "display-message", "-p", "#{pid}"}});
    const Ended server(std::stoi(asking.readLine()));
    asking.wait();

    const auto record = recordOf(server.pid());
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->command.contains("vitest --watch"));
    EXPECT_EQ(parentByTheKernel(server.pid()), 1);
    EXPECT_EQ(record->ppid, 0);
    EXPECT_EQ(record->managedBy, "tmux");
    const auto item = itemOf(server.pid());
    ASSERT_TRUE(item) << "it does look like one";
    EXPECT_EQ(item->bucket(), Bucket::needsReview);
    Process({.argv = {"tmux", "-S", socket, "kill-server"}}).wait();
}

TEST(OnThisMachine, anOrphanWhoseTerminalWasClosedIsSafe) {
    const Stray stray({.argv = {"vitest", "--watch"}, .terminal = "closed"});
    const auto item = itemOf(stray.pid());
    ASSERT_TRUE(item);
    EXPECT_EQ(item->tty, "?");
    EXPECT_EQ(item->bucket(), Bucket::safe);
}

TEST(OnThisMachine, anOrphanWithAnOpenTerminalIsNot) {
    const Stray stray({.argv = {"vitest", "--watch"}, .terminal = "open"});
    const auto item = itemOf(stray.pid());
    ASSERT_TRUE(item);
    EXPECT_TRUE(item->hasTTY()) << item->tty;
    EXPECT_EQ(item->bucket(), Bucket::needsReview);
}

TEST(OnThisMachine, whatHostsATerminalIsNotSafe) {
    for (const bool adopter : {false, true}) {
        const Stray stray(
            {.argv = {"node", "/x/vitest", "--watch"}, .adopter = adopter, .hostsTerminal = true});
        const auto record = recordOf(stray.pid());
        ASSERT_TRUE(record);
        EXPECT_EQ(record->tty, "?");
        EXPECT_EQ(record->ppid, 0);
        EXPECT_EQ(record->managedBy, "node");
        const auto item = itemOf(stray.pid());
        ASSERT_TRUE(item);
        EXPECT_EQ(item->bucket(), Bucket::needsReview);
    }
}

TEST(OnThisMachine, aZombieIsNotListed) {
    const Stray stray({.argv = {"vitest", "--watch"}, .adopter = true, .zombie = true});
    ASSERT_TRUE(eventually([&] {
        const auto facts = Platform::kernelView().factsOf(stray.pid());
        return facts && facts->state == 'Z';
    }));
    EXPECT_GT(parentByTheKernel(stray.pid()), 1) << "ps shows it";
    EXPECT_FALSE(recordOf(stray.pid()));
}
