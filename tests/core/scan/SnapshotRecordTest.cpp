#include "VintrelCore/scan/SnapshotRecord.h"

#include "tests/support/Snapshots.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::FakeKernel;

TEST(SnapshotRecords, keepWhatPSPrintedAndItsOrder) {
    const auto records = snapshotRecords("  20  10  02:03 pts/1  0.5  1234 node  two  spaces\n"
                                         "garbage\n\n"
                                         "  10   0  1-00:00:00 ?  12.0  99 /sbin/init\n",
                                         FakeKernel().view());
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].pid, 20);
    EXPECT_EQ(records[0].ppid, 10);
    EXPECT_EQ(records[0].elapsed, "02:03");
    EXPECT_EQ(records[0].tty, "pts/1");
    EXPECT_EQ(records[0].cpuPercent, "0.5");
    EXPECT_EQ(records[0].rss, "1234");
    EXPECT_EQ(records[0].command, "node  two  spaces");
    EXPECT_EQ(records[1].pid, 10);
}

TEST(SnapshotRecords, leaveZombiesOutThatLookLikeTools) {
    FakeKernel kernel;
    kernel[30] = {.userID = 1000, .state = 'Z'};
    EXPECT_TRUE(snapshotRecords("30 10 02:03 ? 0.0 0 [npm run jest] <defunct>\n", kernel.view()).empty());
    EXPECT_TRUE(snapshotRecords("31 10 02:03 ? 0.0 0 [node] <defunct>\n", kernel.view()).empty())
        << "gone by now";
}

TEST(SnapshotRecords, leaveOutTheClientThatThisProgramRuns) {
    Platform::KernelView kernel = FakeKernel().view();
    kernel.ownPID = 77;
    const std::string client(Platform::dockerCandidates().front());
    const auto records = snapshotRecords("30 77 00:00 ? 0.0 0 " + client + " ps -q\n" +        // its own
                                             "31 77 00:00 ? 0.0 0 " + client + "d --debug\n" + // no client
                                             "32 77 00:00 ? 0.0 0 node " + client + "\n" +
                                             "33 78 00:00 ? 0.0 0 " + client + " ps -q\n", // somebody's
                                         kernel);
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].pid, 31);
    EXPECT_EQ(records[1].pid, 32);
    EXPECT_EQ(records[2].pid, 33);
}

TEST(SnapshotRecords, leaveOutTheClientThatTheOtherFrontEndRuns) {
    const FakeKernel world;
    Platform::KernelView kernel = world.view();
    kernel.ownPID = 77;
    const std::string client(Platform::dockerCandidates().front());
    const auto records = snapshotRecords(
        "30 40 00:00 ? 0.0 0 " + client + " ps -q\n" + // before its parent
            "31 41 00:00 ? 0.0 0 " + client + " ps -q\n" + "32 42 00:00 ? 0.0 0 " + client + " ps -q\n" +
            "33 43 00:00 ? 0.0 0 " + client + " ps -q\n" + "34 40 00:00 ? 0.0 0 node " + client +
            "\n"
            "40 1 00:00 ? 0.0 0 /usr/bin/vintrel-app --background\n"
            "41 9 00:00 ? 0.0 0 vintrel list\n"
            "42 9 00:00 ? 0.0 0 sh vintrel list\n"
            "43 9 00:00 ? 0.0 0 /usr/bin/vintrel-apple\n",
        kernel);
    std::vector<int32_t> pids;
    std::ranges::transform(records, std::back_inserter(pids), &SnapshotRecord::pid);
    EXPECT_EQ(pids, (std::vector<int32_t>{32, 33, 34, 40, 41, 42, 43}));
}

TEST(SnapshotRecords, keepALivingProcessThatCallsItselfDefunct) {
    FakeKernel kernel;
    kernel[30] = {.userID = 1000, .state = 'S'};
    EXPECT_EQ(snapshotRecords("30 10 02:03 ? 0.0 0 [node] <defunct>\n", kernel.view()).size(), 1U);
}

TEST(SnapshotRecords, doNotBelieveAnAgeBeyondTheSystemsOwn) {
    // What procps 4.0.2 prints now and then for a process that has just started.
    auto view = FakeKernel().view();
    view.secondsSinceBoot = 2 * 86'400;
    const auto records = snapshotRecords("30 10 441077234-00:18:40 ? 0.0 1 vitest\n"
                                         "31 10 2-00:00:00 ? 0.0 1 vitest\n32 10 2-00:00:01 ? 0.0 1 vitest\n",
                                         view);
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].elapsed, "0");
    EXPECT_EQ(records[1].elapsed, "2-00:00:00");
    EXPECT_EQ(records[2].elapsed, "0");
}

TEST(SnapshotRecords, askTheKernelOnlyAboutChildrenOfAdopters) {
    std::vector<int32_t> asked;
    Platform::KernelView view = FakeKernel().view();
    view.factsOf = [&asked](int32_t pid) -> std::optional<Platform::KernelFacts> {
        asked.push_back(pid);
        return std::nullopt;
    };
    const auto records = snapshotRecords("1 0 02:03 ? 0.0 1 init\n2 0 02:03 ? 0.0 1 [kthreadd]\n"
                                         "30 1 02:03 ? 0.0 1 node\n31 30 02:03 ? 0.0 1 vite\n",
                                         view);
    EXPECT_EQ(records.size(), 4U);
    EXPECT_EQ(asked, (std::vector<int32_t>{30}));
}
