#include "VintrelCore/model/ProcessItem.h"

#include "VintrelCore/model/Bucket.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/RiskTier.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>

#include <gtest/gtest.h>

using namespace VintrelCore;

namespace {

ProcessItem itemRunning(std::string command) {
    ProcessItem item;
    item.pid = 4711;
    item.ppid = 300;
    item.command = std::move(command);
    item.elapsed = 90;
    item.tty = "pts/0";
    item.kind = ProcessKind::node;
    item.riskTier = RiskTier::high;
    return item;
}

} // namespace

TEST(ProcessItem, takesItsFieldsInOrder) {
    const ProcessItem item{4711,
                           300,
                           "pytest -q",
                           90.5,
                           "ttys003",
                           ProcessKind::custom,
                           RiskTier::moderate,
                           12.5,
                           204'800,
                           ProcStartTime{1'700'000'000, 42},
                           "Unit tests"};
    EXPECT_EQ(item.pid, 4711);
    EXPECT_EQ(item.ppid, 300);
    EXPECT_EQ(item.command, "pytest -q");
    EXPECT_EQ(item.elapsed, 90.5);
    EXPECT_EQ(item.tty, "ttys003");
    EXPECT_EQ(item.kind, ProcessKind::custom);
    EXPECT_EQ(item.riskTier, RiskTier::moderate);
    EXPECT_EQ(item.cpuPercent, 12.5);
    EXPECT_EQ(item.rssKB, 204'800);
    EXPECT_EQ(item.startTime, (ProcStartTime{1'700'000'000, 42}));
    EXPECT_EQ(item.customLabel, "Unit tests");
}

TEST(ProcessItem, hasNoCustomLabelUnlessGivenOne) {
    const ProcessItem item{4711,           300, "node", 90,          "??", ProcessKind::node,
                           RiskTier::high, 0,   0,      std::nullopt};
    EXPECT_EQ(item.customLabel, std::nullopt);
    EXPECT_EQ(item.startTime, std::nullopt);
}

TEST(ProcessItem, measuresIn32BitPidsAnd64BitKilobytes) {
    static_assert(std::is_same_v<decltype(ProcessItem::pid), int32_t>);
    static_assert(std::is_same_v<decltype(ProcessItem::ppid), int32_t>);
    static_assert(std::is_same_v<decltype(ProcessItem::elapsed), double>);
    static_assert(std::is_same_v<decltype(ProcessItem::cpuPercent), double>);
    static_assert(std::is_same_v<decltype(ProcessItem::rssKB), int64_t>);
    ProcessItem item = itemRunning("node");
    item.rssKB = int64_t{1} << 40;
    EXPECT_EQ(item.rssKB, 1'099'511'627'776);
}

TEST(ProcessItem, isAValue) {
    const ProcessItem original = itemRunning("node server.js");
    ProcessItem copy = original;
    EXPECT_EQ(copy, original);
    copy.command += " --inspect";
    EXPECT_NE(copy, original);
    EXPECT_EQ(original.command, "node server.js");
}

TEST(ProcessItem, isIdentifiedByItsPid) {
    ProcessItem item = itemRunning("node");
    for (const int32_t pid : {1, 4711, std::numeric_limits<int32_t>::max()}) {
        item.pid = pid;
        EXPECT_EQ(item.id(), pid);
    }
}

TEST(ProcessItem, isAnOrphanExactlyWhenItsParentIsPidOne) {
    ProcessItem item = itemRunning("node");
    item.ppid = 1;
    EXPECT_TRUE(item.isOrphan());
    for (const int32_t ppid : {0, 2, 10, 300, -1}) {
        item.ppid = ppid;
        EXPECT_FALSE(item.isOrphan()) << ppid;
    }
}

TEST(ProcessItem, isSafeOnlyWhenItIsEasy) {
    ProcessItem item = itemRunning("pytest");
    item.riskTier = RiskTier::easy;
    EXPECT_EQ(item.bucket(), Bucket::safe);
    item.riskTier = RiskTier::moderate;
    EXPECT_EQ(item.bucket(), Bucket::needsReview);
    item.riskTier = RiskTier::high;
    EXPECT_EQ(item.bucket(), Bucket::needsReview);
}

TEST(ProcessItem, hasATerminalWhenItsColumnNamesOne) {
    ProcessItem item = itemRunning("node");
    item.tty = "ttys001";
    EXPECT_TRUE(item.hasTTY());
    item.tty = "??";
    EXPECT_FALSE(item.hasTTY());
    item.tty = "";
    EXPECT_FALSE(item.hasTTY());
}

TEST(ProcessItem, isCalledByTheLabelOfItsKind) {
    ProcessItem item = itemRunning("next dev");
    item.kind = ProcessKind::nextjs;
    EXPECT_EQ(item.displayLabel(), "Next.js");
    item.kind = ProcessKind::custom;
    EXPECT_EQ(item.displayLabel(), "Custom rules");
}

TEST(ProcessItem, isCalledByTheLabelOfTheUsersRuleWhenOneMatched) {
    ProcessItem item = itemRunning("gunicorn app");
    item.kind = ProcessKind::custom;
    item.customLabel = "Web backend";
    EXPECT_EQ(item.displayLabel(), "Web backend");
}

TEST(ProcessItem, displaysAShortFormOfItsExecutable) {
    struct Case {
        std::string command;
        std::string_view displayed;
    };

    for (const auto& [command, displayed] : {
             Case{"node server.js", "node"},
             Case{"node", "node"},
             Case{"./node_modules/.bin/vite --port 5173", "./node_modules/.bin/vite"},
             Case{"~/bin/tool /usr/bin/node", "~/bin/tool"},
             Case{"/usr/local/bin/node", "bin/node"},
             Case{"/usr/bin/python3 -m pytest", "bin/python3"},
             Case{"/bin/sh -c /usr/bin/node", "bin/sh"},
             Case{"/node", "node"},
             Case{"/node /srv/app/server.js", "node"},
             // Only spaces divide, and leading ones make no piece.
             Case{"  /usr/bin/python3   -m pytest", "bin/python3"},
             Case{"/usr/bin/node\t--watch x", "bin/node\t--watch"},
             Case{"node\tserver.js", "node\tserver.js"},
             Case{"/opt/Some App/bin/app", "opt/Some"},
             Case{"", ""},
             Case{"   ", ""},
         }) {
        EXPECT_EQ(itemRunning(command).displayPath(), displayed) << '"' << command << '"';
    }
}

TEST(ProcessItem, seesNoTerminalBehindAMarkerForNone) {
    for (const std::string_view tty : {"", " ", "   ", "\t", "??", "?", "-", " ?? ", "\t?", "- ", "??  "}) {
        EXPECT_FALSE(ProcessItem::isTTYAttached(tty)) << '"' << tty << '"';
    }
}

TEST(ProcessItem, seesATerminalBehindAnythingElse) {
    for (const std::string_view tty :
         {"ttys001", "pts/0", "tty1", "console", " pts/3 ", "???", "--", "?-", "? ?", "0"}) {
        EXPECT_TRUE(ProcessItem::isTTYAttached(tty)) << '"' << tty << '"';
    }
}

TEST(RiskTier, growsFromEasyToHigh) {
    EXPECT_EQ(static_cast<int>(RiskTier::easy), 0);
    EXPECT_EQ(static_cast<int>(RiskTier::moderate), 1);
    EXPECT_EQ(static_cast<int>(RiskTier::high), 2);
    EXPECT_LT(RiskTier::easy, RiskTier::moderate);
    EXPECT_LT(RiskTier::moderate, RiskTier::high);
}

TEST(RiskTier, worksAsAKey) {
    const std::unordered_set<RiskTier> tiers{RiskTier::easy, RiskTier::high, RiskTier::easy};
    EXPECT_EQ(tiers.size(), 2U);
    EXPECT_FALSE(tiers.contains(RiskTier::moderate));
}

TEST(Bucket, putsSafeBeforeNeedsReview) {
    EXPECT_EQ(static_cast<int>(Bucket::safe), 0);
    EXPECT_EQ(static_cast<int>(Bucket::needsReview), 1);
}

TEST(Bucket, worksAsAKey) {
    const std::unordered_set<Bucket> buckets{Bucket::safe, Bucket::safe};
    EXPECT_EQ(buckets.size(), 1U);
    EXPECT_FALSE(buckets.contains(Bucket::needsReview));
}

TEST(ProcessItem, showsItsOwnProcessUnlessAnotherIsFoldedIntoItForThat) {
    ProcessItem item = itemRunning("npm run dev");
    EXPECT_EQ(item.shownPID(), 4711);
    item.folded = {{.pid = 1, .as = FoldedAs::starter}, {.pid = 2}};
    EXPECT_EQ(item.shownPID(), 4711);
    item.folded.push_back({.pid = 3, .as = FoldedAs::shown});
    EXPECT_EQ(item.shownPID(), 3);
}
