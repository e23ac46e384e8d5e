#include "VintrelCore/model/Bucket.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/RiskTier.h"
#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/KindName.h"

#include <array>
#include <cstdint>
#include <limits>
#include <locale>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using ScanCore::makeItem;
using ScanCore::riskTier;
using VintrelTests::kindName;

namespace {

/// One process as ps prints it. Unless told otherwise it is abandoned: no terminal, an orphan, and old.
struct Process {
    std::string pid = "500";
    std::string ppid = "1";
    std::string etime = "31:00";
    std::string tty = "??";
    std::string pcpu = "0.0";
    std::string rss = "1024";
    std::string args = "vitest run";
};

std::string line(const Process& process) {
    std::string text = "  " + process.pid;
    for (const std::string& field :
         {process.ppid, process.etime, process.tty, process.pcpu, process.rss, process.args}) {
        text += "  " + field;
    }
    return text;
}

std::string tierName(RiskTier tier) {
    return std::array{"easy", "moderate", "high"}.at(static_cast<size_t>(tier));
}

/// The tier of the item that a process makes.
std::string tierOf(const Process& process, const ScanCore::ItemOptions& options = {}) {
    const auto item = makeItem(line(process), options);
    return item ? tierName(item->riskTier) : "no item";
}

/// Makes a comma the decimal separator until the end of the scope.
class CommaLocale {
public:
    CommaLocale() : m_before(std::locale::global(std::locale(std::locale::classic(), new Comma))) {}

    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    ~CommaLocale() { std::locale::global(m_before); }

private:
    struct Comma : std::numpunct<char> {
        [[nodiscard]] char do_decimal_point() const override { return ','; }
    };

    std::locale m_before;
};

} // namespace

TEST(RiskTierRule, ratesEveryKindInEveryState) {
    struct Row {
        std::vector<ProcessKind> kinds;
        std::string_view stray;
        std::string_view otherwise;
    };

    using enum ProcessKind;
    const std::array<Row, 4> table{{
        {{docker, uvicorn, node, llmServer}, "high", "high"},
        {{npm, vite, bun, nextjs, astro, cargo, goRun, electron}, "moderate", "high"},
        {{pytest, vitest, jest, playwrightTest, playwrightMCP, chromeHelper, mcpServer}, "easy", "moderate"},
        {{custom}, "moderate", "moderate"},
    }};
    for (const Row& row : table) {
        for (const ProcessKind kind : row.kinds) {
            SCOPED_TRACE(kindName(kind));
            EXPECT_EQ(tierName(riskTier(kind, false, true, true)), row.stray);
            EXPECT_EQ(tierName(riskTier(kind, true, true, true)), row.otherwise) << "has a terminal";
            EXPECT_EQ(tierName(riskTier(kind, false, false, true)), row.otherwise) << "has a parent";
            EXPECT_EQ(tierName(riskTier(kind, false, true, false)), row.otherwise) << "is young";
            EXPECT_EQ(tierName(riskTier(kind, true, false, true)), row.otherwise);
            EXPECT_EQ(tierName(riskTier(kind, true, true, false)), row.otherwise);
            EXPECT_EQ(tierName(riskTier(kind, false, false, false)), row.otherwise);
            EXPECT_EQ(tierName(riskTier(kind, true, false, false)), row.otherwise);
        }
    }
}

TEST(MakeItem, fillsInEveryField) {
    ScanCore::ItemOptions options;
    options.startTimeProvider = [](int32_t) { return ProcStartTime{1'700'000'000, 42}; };
    const auto item =
        makeItem("  21604 21603 2-03:04:05 pts/0 104.5 84336 node  /x/.bin/vite  --port 1 ", options);
    ASSERT_TRUE(item);
    EXPECT_EQ(item->pid, 21'604);
    EXPECT_EQ(item->ppid, 21'603);
    EXPECT_EQ(item->command, "node  /x/.bin/vite  --port 1");
    EXPECT_EQ(item->elapsed, 183'845);
    EXPECT_EQ(item->tty, "pts/0");
    EXPECT_EQ(item->kind, ProcessKind::vite);
    EXPECT_EQ(item->customLabel, std::nullopt);
    EXPECT_EQ(item->riskTier, RiskTier::high);
    EXPECT_EQ(item->cpuPercent, 104.5);
    EXPECT_EQ(item->rssKB, 84'336);
    EXPECT_EQ(item->startTime, (ProcStartTime{1'700'000'000, 42}));
}

TEST(MakeItem, keepsTheTerminalAsPrinted) {
    for (const std::string tty : {"??", "?", "-", "ttys003"}) {
        EXPECT_EQ(makeItem(line({.tty = tty}), {})->tty, tty);
    }
}

TEST(MakeItem, makesNothingOfALineThatDoesNotParse) {
    EXPECT_EQ(makeItem("", {}), std::nullopt);
    EXPECT_EQ(makeItem("500 1 31:00 ?? 0.0 vitest", {}), std::nullopt);
    EXPECT_EQ(makeItem("PID PPID ELAPSED TTY %CPU RSS node", {}), std::nullopt);
    // Not even when a rule would match it.
    EXPECT_EQ(makeItem("x 1 31:00 ?? 0.0 1024 vitest", {.customRules = {{"vitest", "Tests"}}}), std::nullopt);
}

TEST(MakeItem, makesNothingOfOtherPrograms) {
    EXPECT_EQ(makeItem(line({.args = "/usr/sbin/cron -f"}), {}), std::nullopt);
    EXPECT_EQ(makeItem(line({.args = "gunicorn app"}), {.customRules = {{"flask", "Flask"}}}), std::nullopt);
}

TEST(MakeItem, looksOnlyAtTheCommandForTheKind) {
    EXPECT_EQ(makeItem(line({.tty = "node", .args = "sleep 9"}), {}), std::nullopt);
    EXPECT_EQ(makeItem(line({.tty = "pts/7", .args = "sleep 9"}), {.customRules = {{"pts/7", "Seven"}}}),
              std::nullopt);
}

TEST(MakeItem, prefersTheUsersRulesToTheBuiltInKinds) {
    const auto item = makeItem(line({.args = "pytest -q"}), {.customRules = {{"pytest", "Unit tests"}}});
    ASSERT_TRUE(item);
    EXPECT_EQ(kindName(item->kind), "custom");
    EXPECT_EQ(item->customLabel, "Unit tests");
    EXPECT_EQ(item->displayLabel(), "Unit tests");
    EXPECT_EQ(tierName(item->riskTier), "moderate");
    EXPECT_EQ(item->bucket(), Bucket::needsReview);
}

TEST(MakeItem, makesCandidatesOfWhateverTheUsersRulesName) {
    const std::vector<CustomRule> rules{{"GUNICORN", "Backend"}, {"gunicorn app", "App"}};
    const auto item =
        makeItem(line({.ppid = "77", .tty = "pts/0", .args = "gunicorn app"}), {.customRules = rules});
    ASSERT_TRUE(item);
    EXPECT_EQ(kindName(item->kind), "custom");
    EXPECT_EQ(item->customLabel, "Backend");
    EXPECT_EQ(tierName(item->riskTier), "moderate");
}

TEST(MakeItem, fallsBackToTheBuiltInKindsWhenNoRuleMatches) {
    const auto item = makeItem(line({.args = "pytest -q"}), {.customRules = {{"gunicorn", "Backend"}}});
    ASSERT_TRUE(item);
    EXPECT_EQ(kindName(item->kind), "pytest");
    EXPECT_EQ(item->customLabel, std::nullopt);
    EXPECT_EQ(tierName(item->riskTier), "easy");
}

TEST(MakeItem, readsTheCPUShareAsADecimalNumber) {
    const CommaLocale comma;
    for (const auto& [pcpu, share] :
         {std::pair{"12.5", 12.5}, {"0.0", 0}, {"100", 100}, {"1234.75", 1234.75}}) {
        EXPECT_EQ(makeItem(line({.pcpu = pcpu}), {})->cpuPercent, share) << pcpu;
    }
    for (const std::string pcpu : {"12,5", "-", "x", "12.5x", "1.2.3", "12%", "0x10"}) {
        EXPECT_EQ(makeItem(line({.pcpu = pcpu}), {})->cpuPercent, 0) << pcpu;
    }
}

TEST(MakeItem, readsTheMemoryAsASignedDecimalInteger) {
    for (const auto& [rss, kilobytes] : {std::pair<std::string, int64_t>{"84336", 84'336},
                                         {"0", 0},
                                         {"+512", 512},
                                         {"-512", -512},
                                         {"5000000000", 5'000'000'000},
                                         {"9223372036854775807", std::numeric_limits<int64_t>::max()}}) {
        EXPECT_EQ(makeItem(line({.rss = rss}), {})->rssKB, kilobytes) << rss;
    }
    for (const std::string rss :
         {"x", "-", "+", "+-5", "-+5", "12.5", "12k", "1,024", "0x10", "9223372036854775808"}) {
        EXPECT_EQ(makeItem(line({.rss = rss}), {})->rssKB, 0) << rss;
    }
}

TEST(MakeItem, takesAnUnreadableElapsedTimeForNone) {
    const auto item = makeItem(line({.etime = "long"}), {});
    ASSERT_TRUE(item);
    EXPECT_EQ(item->elapsed, 0);
    EXPECT_EQ(tierName(item->riskTier), "moderate");
}

TEST(MakeItem, callsAProcessOldFromTheThresholdOn) {
    EXPECT_EQ(ScanCore::defaultElapsedThreshold, 1800);
    EXPECT_EQ(tierOf({.etime = "29:59"}), "moderate");
    EXPECT_EQ(tierOf({.etime = "30:00"}), "easy");
    EXPECT_EQ(tierOf({.etime = "30:01"}), "easy");
    EXPECT_EQ(tierOf({.etime = "00:59"}, {.elapsedThreshold = 60}), "moderate");
    EXPECT_EQ(tierOf({.etime = "01:00"}, {.elapsedThreshold = 60}), "easy");
    EXPECT_EQ(tierOf({.etime = "00:00"}, {.elapsedThreshold = 0}), "easy");
    EXPECT_EQ(tierOf({.etime = "01:00"}, {.elapsedThreshold = 60.5}), "moderate");
}

TEST(MakeItem, ratesAnAbandonedTestRunnerEasy) {
    const auto item = makeItem(line({.args = "vitest run"}), {});
    ASSERT_TRUE(item);
    EXPECT_EQ(tierName(item->riskTier), "easy");
    EXPECT_EQ(item->bucket(), Bucket::safe);
    EXPECT_EQ(tierOf({.tty = "pts/0"}), "moderate");
    EXPECT_EQ(tierOf({.ppid = "77"}), "moderate");
    EXPECT_EQ(tierOf({.ppid = "0"}), "moderate");
    EXPECT_EQ(tierOf({.etime = "05:00"}), "moderate");
}

TEST(MakeItem, ratesServersByWhatTheyAreAndWhetherTheyAreStray) {
    EXPECT_EQ(tierOf({.args = "vite --port 5173"}), "moderate");
    EXPECT_EQ(tierOf({.tty = "pts/0", .args = "vite --port 5173"}), "high");
    EXPECT_EQ(tierOf({.ppid = "77", .args = "vite --port 5173"}), "high");
    EXPECT_EQ(tierOf({.args = "node server.js"}), "high");
    EXPECT_EQ(tierOf({.tty = "pts/0", .args = "node server.js"}), "high");
}

TEST(MakeItem, neverRatesAnOwnerOfARegisteredPortEasy) {
    const ScanCore::ItemOptions registered{.registeredPIDs = {499, 500}};
    const auto item = makeItem(line({.args = "vitest run"}), registered);
    ASSERT_TRUE(item);
    EXPECT_EQ(tierName(item->riskTier), "moderate");
    EXPECT_EQ(item->bucket(), Bucket::needsReview);
    // Other tiers stay.
    EXPECT_EQ(tierOf({.tty = "pts/0", .args = "vitest run"}, registered), "moderate");
    EXPECT_EQ(tierOf({.args = "vite"}, registered), "moderate");
    EXPECT_EQ(tierOf({.args = "node server.js"}, registered), "high");
    // And so do other processes, children of an owner included.
    EXPECT_EQ(tierOf({.pid = "501", .args = "vitest run"}, registered), "easy");
    EXPECT_EQ(tierOf({.pid = "501", .args = "vitest run"}, {.registeredPIDs = {1}}), "easy");
}

TEST(MakeItem, stampsTheItemWithTheStartOfItsProcess) {
    std::vector<int32_t> asked;
    ScanCore::ItemOptions options;
    options.startTimeProvider = [&asked](int32_t pid) -> std::optional<ProcStartTime> {
        asked.push_back(pid);
        return pid == 500 ? std::optional(ProcStartTime{100, 5}) : std::nullopt;
    };
    EXPECT_EQ(makeItem(line({.pid = "500"}), options)->startTime, (ProcStartTime{100, 5}));
    EXPECT_EQ(asked, std::vector<int32_t>{500});
}

TEST(MakeItem, leavesTheStampOutWhenNobodyKnowsIt) {
    EXPECT_EQ(makeItem(line({}), {})->startTime, std::nullopt);
    const auto item = makeItem(line({}), {.startTimeProvider = [](int32_t) { return std::nullopt; }});
    ASSERT_TRUE(item);
    EXPECT_EQ(item->startTime, std::nullopt);
    EXPECT_EQ(tierName(item->riskTier), "easy");
}

TEST(MakeItem, asksForTheStampOfCandidatesOnly) {
    int asked = 0;
    ScanCore::ItemOptions options;
    options.startTimeProvider = [&asked](int32_t) -> std::optional<ProcStartTime> {
        ++asked;
        return std::nullopt;
    };
    EXPECT_EQ(makeItem("no process", options), std::nullopt);
    EXPECT_EQ(makeItem(line({.args = "/usr/sbin/cron -f"}), options), std::nullopt);
    EXPECT_EQ(asked, 0);
}
