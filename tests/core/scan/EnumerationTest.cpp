#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/context/ListeningSocket.h"
#include "tests/core/context/SleepingChild.h"
#include "tests/core/scan/PipelineItems.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <unistd.h>

namespace VintrelCore {

using ScanCore::enumerate;
using ScanCore::EnumerateOptions;
using ScanCore::PIDSet;
using VintrelTests::candidate;
using VintrelTests::find;
using VintrelTests::ListeningSocket;
using VintrelTests::pidsOf;
using VintrelTests::prepared;
using VintrelTests::ScopedEnvironment;
using VintrelTests::SleepingChild;
using VintrelTests::TemporaryFolder;
using VintrelTests::workday;

namespace {

/// One line of the table: a stray vitest.
std::string strayVitest(int32_t pid) {
    return std::to_string(pid) + " 1 02:00:00 ? 0.0 40000 node /home/dev/shop/node_modules/.bin/vitest run\n";
}

} // namespace

TEST(EnumerationTest, listsTheCandidatesInTheOrderOfPS) {
    EXPECT_EQ(pidsOf(enumerate(prepared(workday))), (std::vector{100, 300, 200}));
}

TEST(EnumerationTest, showsARunnerAndItsServerAsOneRow) {
    const auto items = enumerate(prepared(workday));
    const ProcessItem* const row = find(items, 100);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->ppid, 1);
    EXPECT_EQ(row->command, "node /home/dev/shop/node_modules/.bin/vite --port 5199");
    EXPECT_EQ(row->kind, ProcessKind::vite);
    EXPECT_EQ(row->elapsed, 7200);
    EXPECT_EQ(row->cpuPercent, 4.0);
    EXPECT_EQ(row->rssKB, 130'000);
    EXPECT_EQ(row->folded, std::vector{FoldedProcess{.pid = 101}});
}

TEST(EnumerationTest, anItemCarriesWhatItsLineSays) {
    const auto items = enumerate(prepared(workday));
    const ProcessItem* const row = find(items, 300);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(*row, (ProcessItem{.pid = 300,
                                 .ppid = 50,
                                 .command = "jest  --watch",
                                 .elapsed = 7200,
                                 .tty = "pts/0",
                                 .kind = ProcessKind::jest,
                                 .riskTier = RiskTier::moderate,
                                 .cpuPercent = 0.5,
                                 .rssKB = 30'000}));
}

TEST(EnumerationTest, takesPreparedParentsAsTheyStand) {
    // This very process is no orphan, and the kernel could say so; but prepared text is not corrected.
    const std::string table = strayVitest(::getpid());
    const auto items = enumerate(prepared(table));
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].ppid, 1);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
}

TEST(EnumerationTest, skipsLinesThatMakeNoItem) {
    EXPECT_EQ(pidsOf(enumerate(prepared("\n\n"
                                        "what ps never prints\n"
                                        "  x100 1 01:00 ? 0.0 10 npm run dev\n"
                                        "  101 1 01:00 ? 0.0 npm\n"
                                        "\n"
                                        "  102 1 01:00 ? 0.0 10 vitest"))),
              std::vector{102});
}

TEST(EnumerationTest, anEmptySnapshotHasNoCandidates) {
    EXPECT_TRUE(enumerate(prepared("")).empty());
    EXPECT_TRUE(enumerate(prepared("\n")).empty());
}

TEST(EnumerationTest, theThresholdSaysWhoIsOld) {
    struct Case {
        double threshold;
        RiskTier tier;
    };

    for (const auto& [threshold, tier] :
         std::vector<Case>{{7199, RiskTier::easy}, {7200, RiskTier::easy}, {7201, RiskTier::moderate}}) {
        SCOPED_TRACE(threshold);
        EnumerateOptions options = prepared(workday);
        options.elapsedThreshold = threshold;
        const auto items = enumerate(options);
        ASSERT_NE(find(items, 200), nullptr);
        EXPECT_EQ(find(items, 200)->riskTier, tier);
    }
}

TEST(EnumerationTest, halfAnHourIsOldUnlessTheUserSaysOtherwise) {
    const auto items = enumerate(prepared("7 1 30:00 ? 0.0 10 vitest\n"
                                          "8 1 29:59 ? 0.0 10 vitest\n"));
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
    EXPECT_EQ(items[1].riskTier, RiskTier::moderate);
}

TEST(EnumerationTest, aRegisteredProcessIsNeverSafe) {
    EnumerateOptions options = prepared(workday);
    options.registeredPIDs = PIDSet{200};
    const auto items = enumerate(options);
    ASSERT_NE(find(items, 200), nullptr);
    EXPECT_EQ(find(items, 200)->riskTier, RiskTier::moderate);
    EXPECT_EQ(find(items, 200)->bucket(), Bucket::needsReview);
}

TEST(EnumerationTest, findsOutWhoListensWhenItIsNotTold) {
    const TemporaryFolder data;
    const ScopedEnvironment dataHome("XDG_DATA_HOME", data.path().string());
    const ListeningSocket socket;
    data.write("Vintrel/ports.json", R"({"test": [)" + std::to_string(socket.port()) + "]}");
    const std::string table = strayVitest(::getpid());

    EnumerateOptions options{.psOutput = table};
    ASSERT_EQ(enumerate(options).size(), 1U);
    EXPECT_EQ(enumerate(options)[0].riskTier, RiskTier::moderate);

    options.registeredPIDs = PIDSet{};
    EXPECT_EQ(enumerate(options)[0].riskTier, RiskTier::easy) << "an empty set is an answer, too";
}

TEST(EnumerationTest, customRulesNameWhatDetectionDoesNotKnow) {
    EnumerateOptions options = prepared(workday);
    options.customRules = {{"SSH-Agent", "Keys"}, {"ssh", "second"}, {"vitest", "Unit tests"}};
    const auto items = enumerate(options);
    EXPECT_EQ(pidsOf(items), (std::vector{100, 300, 200, 400}));
    EXPECT_EQ(find(items, 400)->kind, ProcessKind::custom);
    EXPECT_EQ(find(items, 400)->customLabel, "Keys");
    EXPECT_EQ(find(items, 200)->kind, ProcessKind::custom) << "they come before built-in detection";
    EXPECT_EQ(find(items, 200)->customLabel, "Unit tests");
    EXPECT_EQ(find(items, 200)->riskTier, RiskTier::moderate);
}

TEST(EnumerationTest, stampsItemsWithTheirStart) {
    EnumerateOptions options = prepared(workday);
    options.startTimeProvider = [](int32_t pid) -> std::optional<ProcStartTime> {
        if (pid == 300) {
            return std::nullopt; // it ended in the meantime
        }
        return ProcStartTime{.sec = 1000 + pid, .usec = 5};
    };
    const auto items = enumerate(options);
    ASSERT_EQ(pidsOf(items), (std::vector{100, 300, 200}));
    EXPECT_EQ(items[0].startTime, (ProcStartTime{.sec = 1100, .usec = 5})) << "the runner's own";
    EXPECT_EQ(items[0].folded,
              (std::vector{FoldedProcess{.pid = 101, .startTime = ProcStartTime{.sec = 1101, .usec = 5}}}));
    EXPECT_EQ(items[1].startTime, std::nullopt);
    EXPECT_EQ(items[2].startTime, (ProcStartTime{.sec = 1200, .usec = 5}));
}

TEST(EnumerationTest, takesASnapshotOfItsOwnWhenItIsGivenNone) {
    const TemporaryFolder folder;
    const std::string name = "vintrel-test-stray-of-" + std::to_string(::getpid());
    const SleepingChild child(folder.path(), name);

    const auto items = enumerate({.registeredPIDs = PIDSet{}, .customRules = {{name, "Test child"}}});
    const ProcessItem* const row = find(items, child.pid());
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->command, name + " 600");
    EXPECT_EQ(row->customLabel, "Test child");
    EXPECT_EQ(row->ppid, ::getpid());
}

TEST(EnumerationTest, takesTheSnapshotOfItsCaller) {
    const std::vector<SnapshotRecord> records = {
        {.pid = 100,
         .ppid = 1,
         .elapsed = "02:00:00",
         .tty = "?",
         .cpuPercent = "1.5",
         .rss = "50000",
         .command = "npm run dev",
         .foldedShells = {{.pid = 70, .command = "sh -c vite"}}},
        {.pid = 101,
         .ppid = 100,
         .elapsed = "01:59:00",
         .tty = "?",
         .cpuPercent = "2.5",
         .rss = "80000",
         .command = "node /home/dev/shop/node_modules/.bin/vite"},
    };
    const auto items = enumerate({.records = records, .registeredPIDs = PIDSet{}});
    ASSERT_EQ(pidsOf(items), std::vector{100});
    EXPECT_EQ(items[0].kind, ProcessKind::vite);
    EXPECT_EQ(items[0].elapsed, 7200);
    EXPECT_EQ(items[0].cpuPercent, 4.0);
    EXPECT_EQ(items[0].rssKB, 130'000);
    EXPECT_EQ(items[0].folded, (std::vector<FoldedProcess>{{.pid = 70}, {.pid = 101}}));
}

TEST(ParentCommandTest, isTheShortNameOfTheParentAmongTheCandidates) {
    const std::vector items = {candidate(1, 0, "/sbin/init"), candidate(2, 1, "npm run dev"),
                               candidate(300, 2, "/usr/local/bin/node server.js"),
                               candidate(300, 2, "listed twice"), candidate(-7, 2, "nobody")};
    EXPECT_EQ(ScanCore::parentCommand(300, items), "bin/node") << "the first of the two";
    EXPECT_EQ(ScanCore::parentCommand(2, items), "npm");
    EXPECT_EQ(ScanCore::parentCommand(301, items), std::nullopt) << "not among the candidates";
    EXPECT_EQ(ScanCore::parentCommand(1, items), std::nullopt) << "no parent worth naming";
    EXPECT_EQ(ScanCore::parentCommand(0, items), std::nullopt);
    EXPECT_EQ(ScanCore::parentCommand(-7, items), std::nullopt);
    EXPECT_EQ(ScanCore::parentCommand(2, {}), std::nullopt);
}

} // namespace VintrelCore
