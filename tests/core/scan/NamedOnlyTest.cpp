// What a snapshot's candidates are told to be, and what they are: with prepared records and prepared facts.
#include "VintrelCore/scan/NamedOnly.h"

#include "VintrelCore/scan/RecordPipeline.h"
#include "tests/core/scan/PipelineItems.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using ScanCore::PIDSet;
using VintrelTests::find;
using VintrelTests::pidsOf;

namespace {

using Arguments = std::vector<std::string>;

SnapshotRecord strayRecord(int32_t pid, std::string command) {
    return {.pid = pid,
            .ppid = 1,
            .elapsed = "02:00:00",
            .tty = "?",
            .cpuPercent = "0.0",
            .rss = "1000",
            .command = std::move(command)};
}

class NamedOnlyTest : public ::testing::Test {
protected:
    NamedOnlyTest() {
        m_lookup.argumentsOf = [this](int32_t pid) -> std::optional<Arguments> {
            ++asked;
            const auto found = arguments.find(pid);
            return found != arguments.end() ? std::optional(found->second) : std::nullopt;
        };
        m_lookup.executableOf = [this](int32_t pid) -> std::optional<std::string> {
            ++asked;
            const auto found = executables.find(pid);
            return found != executables.end() ? std::optional(found->second) : std::nullopt;
        };
        m_lookup.wasInSnapshot = [this](int32_t pid) { return !successors.contains(pid); };
    }

    std::vector<ProcessItem> candidates(ScanCore::EnumerateOptions options = {}) {
        if (!options.registeredPIDs) {
            options.registeredPIDs.emplace();
        }
        return ScanCore::candidatesIn(records, options, m_lookup);
    }

    /// Of the one stray with that line, and with these arguments unless there are none.
    RiskTier tierOf(const std::string& line, const Arguments& exact = {}) {
        records = {strayRecord(7, line)};
        arguments.clear();
        if (!exact.empty()) {
            arguments.emplace(7, exact);
        }
        const auto found = candidates();
        EXPECT_EQ(found.size(), 1U) << line;
        if (found.empty()) {
            return RiskTier::high;
        }
        EXPECT_EQ(found.front().reviewReason == ReviewReason::namedOnly,
                  found.front().riskTier != RiskTier::easy)
            << line;
        return found.front().riskTier;
    }

    /// Of the one stray with that title, which runs `executable`; absent when it is no candidate.
    std::optional<ProcessKind> kindOf(const std::string& title, const std::string& executable) {
        records = {strayRecord(7, title)};
        executables = {{7, executable}};
        const auto items = candidates();
        return items.empty() ? std::nullopt : std::optional(items.front().kind);
    }

    std::vector<SnapshotRecord> records;
    std::map<int32_t, Arguments> arguments;
    std::map<int32_t, std::string> executables;
    PIDSet successors; // whose number is another process's by now
    int asked = 0;     // how often anything was looked up

private:
    ProcessLookup m_lookup;
};

} // namespace

TEST_F(NamedOnlyTest, whatIsNamedOnlyInArgumentsIsForReview) {
    EXPECT_EQ(tierOf("firefox-esr https://x/vitest", {"firefox-esr", "https://x/vitest"}),
              RiskTier::moderate);
    EXPECT_EQ(tierOf("thunar /home/dev/src/vitest", {"thunar", "/home/dev/src/vitest"}), RiskTier::moderate);
    EXPECT_EQ(tierOf("node (vitest)", {"node (vitest)"}), RiskTier::easy);
    EXPECT_EQ(tierOf("node /x/.bin/jest", {"node", "/x/.bin/jest"}), RiskTier::easy);
}

TEST_F(NamedOnlyTest, theExactArgumentsDecide) {
    EXPECT_EQ(tierOf("/home/my dir/.bin/vitest", {"/home/my dir/.bin/vitest"}), RiskTier::easy);
    EXPECT_EQ(tierOf("env -S node /x/.bin/vitest", {"env", "-S node /x/.bin/vitest"}), RiskTier::easy);
    EXPECT_EQ(tierOf("sh -c read line vitest", {"sh", "-c", "read line", "vitest"}), RiskTier::moderate);
    EXPECT_EQ(tierOf("node my vitest", {"node", "my vitest"}), RiskTier::moderate);
}

TEST_F(NamedOnlyTest, theLineDecidesWhereTheArgumentsCannotBeHad) {
    EXPECT_EQ(tierOf("firefox-esr https://x/vitest"), RiskTier::moderate);
    EXPECT_EQ(tierOf("timeout 600 npx vitest"), RiskTier::easy);
}

TEST_F(NamedOnlyTest, theArgumentsOfAnotherProcessSayNothing) {
    successors = {7};
    EXPECT_EQ(tierOf("firefox-esr https://x/vitest", {"vitest"}), RiskTier::moderate);
    EXPECT_EQ(tierOf("vitest run", {"firefox-esr", "https://x/vitest"}), RiskTier::easy);
}

TEST_F(NamedOnlyTest, aLineThatMayHaveBeenCutProvesNothing) {
    const std::string text = "sh -c vitest run";
    EXPECT_EQ(tierOf(text), RiskTier::easy);
    EXPECT_EQ(tierOf(text + std::string(size_t{70} << 10, 'x')), RiskTier::moderate);
}

TEST_F(NamedOnlyTest, otherTiersStayAndAreNotLookedAt) {
    auto onTerminal = strayRecord(1, "firefox-esr https://x/vitest");
    onTerminal.tty = "pts/1";
    auto young = strayRecord(2, "firefox-esr https://x/vitest");
    young.elapsed = "00:05";
    records = {onTerminal, young, strayRecord(3, "firefox-esr https://x/vite"),
               strayRecord(4, "gvim /x/node"), strayRecord(5, "firefox-esr https://x/vitest")};
    const auto found = candidates({.registeredPIDs = PIDSet{5}});
    const auto tier = [&found](int32_t pid) { return find(found, pid)->riskTier; };
    EXPECT_EQ(tier(1), RiskTier::moderate);
    EXPECT_EQ(tier(2), RiskTier::moderate);
    EXPECT_EQ(tier(3), RiskTier::moderate);
    EXPECT_EQ(tier(4), RiskTier::high);
    EXPECT_EQ(tier(5), RiskTier::moderate);
    EXPECT_EQ(std::ranges::count_if(found, [](auto& item) { return item.reviewReason.has_value(); }), 0);
    EXPECT_EQ(asked, 0);
}

TEST_F(NamedOnlyTest, recordsOfACallersOwnAreJudgedByTheirLines) {
    const std::vector<SnapshotRecord> own{strayRecord(1, "gvim /x/playwright/login.test.ts"),
                                          strayRecord(2, "npx playwright test")};
    const auto items = ScanCore::enumerate({.records = own, .registeredPIDs = PIDSet{}});
    ASSERT_EQ(pidsOf(items), (std::vector{1, 2}));
    EXPECT_EQ(items[0].riskTier, RiskTier::moderate);
    EXPECT_EQ(items[0].kind, ProcessKind::playwrightTest);
    EXPECT_EQ(items[1].riskTier, RiskTier::easy);
}

TEST_F(NamedOnlyTest, preparedLinesAreTakenAsTheyStand) {
    const auto items = ScanCore::enumerate(
        {.psOutput = "7 1 02:00:00 ? 0.0 10 firefox-esr https://x/vitest\n", .registeredPIDs = PIDSet{}});
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
}

TEST_F(NamedOnlyTest, aTitleIsToldByWhatRuns) {
    EXPECT_EQ(kindOf("webpack", "/usr/bin/node"), ProcessKind::node);
    EXPECT_EQ(kindOf("ng serve", "/home/dev/.nvm/versions/node/v22.1.0/bin/node"), ProcessKind::node);
    EXPECT_EQ(kindOf("ng mcp", "/usr/bin/nodejs (deleted)"), ProcessKind::node);
    EXPECT_EQ(kindOf("my server", "/home/dev/.bun/bin/bun"), ProcessKind::bun);
    EXPECT_EQ(kindOf("webpack", "/usr/bin/webpack"), std::nullopt);
    EXPECT_EQ(kindOf("webpack", "/opt/node/webpack"), std::nullopt);
    EXPECT_EQ(kindOf("gunicorn: master", "/usr/bin/python3.11"), std::nullopt) << "no kind of its own";
    const auto items = candidates();
    records = {strayRecord(7, "ng serve")};
    executables = {{7, "/usr/bin/node"}};
    const auto shown = candidates().front();
    EXPECT_EQ(shown.command, "ng serve") << "shown as ps printed it";
    EXPECT_EQ(shown.riskTier, RiskTier::high);
}

TEST_F(NamedOnlyTest, whatRunsIsLookedUpForWhatCanBeATitleAlone) {
    for (const char* command : {"/usr/sbin/cron -f", "[kworker/0:1]", "python3 manage.py", "python3.11 x.py",
                                "deno run x.ts", "vite", "node server.js", "-zsh", "bash", "zsh -il"}) {
        kindOf(command, "/usr/bin/node");
        EXPECT_EQ(asked, 0) << command;
    }
    kindOf("webpack", "/usr/bin/node");
    EXPECT_EQ(asked, 1);
}

TEST_F(NamedOnlyTest, whatASuccessorRunsSaysNothing) {
    successors = {7};
    EXPECT_EQ(kindOf("webpack", "/usr/bin/node"), std::nullopt);
}

TEST_F(NamedOnlyTest, aTitleBehindARunnersShellIsWhatTheShellWasTold) {
    auto record = strayRecord(7, "my server");
    record.onlyChildOf = 6;
    arguments = {{6, {"sh", "-c", "next dev"}}};
    records = {record};
    executables = {{7, "/usr/bin/node"}};
    ASSERT_EQ(candidates().size(), 1U);
    EXPECT_EQ(candidates().front().kind, ProcessKind::nextjs);
}

TEST_F(NamedOnlyTest, aToolThatOnlyItsShellNamesIsWhatAnInterpreterRuns) {
    const auto tierBehind = [this](const Arguments& shell, const std::string& line,
                                   const std::string& executable) {
        auto record = strayRecord(7, line);
        record.onlyChildOf = 6;
        records = {record};
        arguments = {{6, shell}};
        executables = {{7, executable}};
        const auto items = candidates();
        return items.size() == 1 ? std::optional(items.front().riskTier) : std::nullopt;
    };
    const std::string node = "/usr/bin/node";
    EXPECT_EQ(tierBehind({"sh", "-c", "vitest --watch"}, "node cli.js", node), RiskTier::easy);
    EXPECT_EQ(tierBehind({"bash", "-lc", "vitest --watch"}, "node cli.js", node), RiskTier::easy);
    // ps prints all of these as one line of words.
    for (const char* text : {"vitest\nnode cli.js", "vitest; node cli.js", "vitest & node cli.js",
                             "vitest $(node cli.js)", "vitest `node cli.js`", "vitest <(node cli.js)"}) {
        EXPECT_EQ(tierBehind({"sh", "-c", text}, "node cli.js", node), RiskTier::high) << text;
    }
    EXPECT_EQ(tierBehind({"sh", "-c", "tar c vitest"}, "node cli.js", node), RiskTier::moderate);
    EXPECT_EQ(tierBehind({"sh", "-c", "vitest"}, "node cli.js", "/opt/editor/editor"), RiskTier::moderate);
    EXPECT_EQ(tierBehind({"sh", "-c", "vitest"}, "vim vitest", "/usr/bin/vim"), RiskTier::moderate);
    EXPECT_EQ(tierBehind({"sh", "-c", "vitest"}, "python3 train.py", "/usr/bin/python3.11"), std::nullopt);
    EXPECT_EQ(tierBehind({}, "node cli.js", node), RiskTier::high) << "it has ended";
    successors = {6};
    EXPECT_EQ(tierBehind({"sh", "-c", "vitest"}, "node cli.js", node), RiskTier::high);
}

TEST_F(NamedOnlyTest, aMergedRowIsJudgedByTheProcessThatItShows) {
    const auto tierOfRow = [](const std::string& runner, const std::string& shown) {
        const std::vector<SnapshotRecord> snapshot{strayRecord(10, runner), strayRecord(12, shown)};
        std::vector<ProcessItem> items{{.pid = 10,
                                        .command = shown,
                                        .kind = ProcessKind::vitest,
                                        .riskTier = RiskTier::easy,
                                        .folded = {{.pid = 11}, {.pid = 12, .as = FoldedAs::shown}}}};
        NamedOnly::raise(items, snapshot, {});
        EXPECT_EQ(items.front().reviewReason == ReviewReason::namedOnly,
                  items.front().riskTier == RiskTier::moderate);
        return items.front().riskTier;
    };
    EXPECT_EQ(tierOfRow("npm run test", "node (vitest)"), RiskTier::easy);
    EXPECT_EQ(tierOfRow("npx vitest", "firefox-esr https://x/vitest"), RiskTier::moderate);
}

TEST_F(NamedOnlyTest, aBrowserWithAProfileAmongPlaywrightsIsItsHelper) {
    const std::string profile = "--user-data-dir=/home/dev/.cache/ms-playwright/mcp-chrome-1a2b";
    EXPECT_EQ(tierOf("/opt/chrome/chrome --test-type " + profile), RiskTier::easy);
    EXPECT_EQ(candidates().front().kind, ProcessKind::chromeHelper);
    EXPECT_EQ(tierOf("/opt/my chrome/chrome " + profile, {"/opt/my chrome/chrome", profile}), RiskTier::easy);
    EXPECT_EQ(candidates().front().kind, ProcessKind::chromeHelper);

    records = {strayRecord(7, "ls " + profile)};
    arguments.clear();
    EXPECT_TRUE(candidates().empty());
    records = {strayRecord(7, "/opt/chrome/chrome " + profile)};
    EXPECT_EQ(candidates({.customRules = {{.substring = "chrome", .label = "mine"}}}).front().kind,
              ProcessKind::custom);
}
