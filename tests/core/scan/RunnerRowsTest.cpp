// Package runners and what they started as one row, in snapshots that the program took itself.
#include "tests/core/scan/PipelineItems.h"
#include "tests/core/scan/SnapshotRows.h"

#include <algorithm>
#include <optional>
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

constexpr const char* processOne = "1 0 2-00:00:00 ? 0.0 12000 /sbin/init\n";

/// A runner below process 1, its shell, and what the shell started; all of them old.
std::string orphanedTree(const std::string& runner, const std::string& script, const std::string& child) {
    return processOne + ("10 1 02:00:00 ? 1.0 1000 " + runner + "\n") + "11 10 02:00:00 ? 0.0 10 sh -c " +
           script + "\n12 11 02:00:00 ? 2.0 2000 " + child + "\n";
}

FakeKernel withOrphan(int32_t pid) {
    FakeKernel kernel;
    kernel.addOrphan(pid);
    return kernel;
}

} // namespace

TEST(RunnerRows, everyPackageRunnerIsOneRowWithWhatItStarted) {
    for (const char* runner :
         {"npm run dev", "npm exec vite", "node ./node_modules/.bin/pnpm run dev", "pn dev", "pnx vite",
          "pnpx vite", "node .yarn/releases/yarn-1.22.22.cjs dev",
          "node --require /x/hook.js /x/bin/yarn dev", "node /opt/pnpm/bin/pnpm.mjs dev", "bun run dev",
          "bunx vite", "uv run serve", "uvx serve", "poetry run serve", "pipenv run serve"}) {
        const auto items = rowsOf(orphanedTree(runner, "vite", "node /x/node_modules/.bin/vite"));
        ASSERT_EQ(pidsOf(items), (PIDs{10})) << runner;
        EXPECT_EQ(items[0].kind, ProcessKind::vite) << runner;
        EXPECT_EQ(items[0].command, "node /x/node_modules/.bin/vite") << runner;
        EXPECT_EQ(foldedPIDs(items[0]), (PIDs{11, 12})) << runner;
        EXPECT_EQ(items[0].rssKB, 3000) << runner;
        EXPECT_EQ(items[0].cpuPercent, 3.0) << runner;
        EXPECT_EQ(items[0].shownPID(), 12) << runner;
    }
}

TEST(RunnerRows, withoutAShellInBetweenTheyAreOneRowToo) {
    const auto items = rowsOf("10 5 00:07 ? 1 100 uv run tests\n"
                              "12 10 00:06 ? 1 200 /x/.venv/bin/python /x/.venv/bin/pytest -q\n");
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].kind, ProcessKind::pytest);
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{12}));
}

TEST(RunnerRows, aRunnerOfNoKindWithoutACandidateIsNotListed) {
    EXPECT_TRUE(rowsOf("10 5 00:07 ? 1 100 uv run serve\n12 10 00:06 ? 1 200 /x/.venv/bin/python /x/serve\n")
                    .empty());
}

TEST(RunnerRows, anInterpreterThatStartsAToolIsNoRunner) {
    const auto items =
        rowsOf("10 5 00:07 ? 1 100 bun run server.ts\n12 10 00:06 ? 1 200 node /x/.bin/vite\n");
    EXPECT_EQ(pidsOf(items), (PIDs{10, 12}));
}

TEST(RunnerRows, aServerOfNoKnownKindBelongsToItsRunner) {
    for (const char* server :
         {"php -S localhost:8000", "/usr/bin/python3 manage.py runserver", "webpack", "ng serve"}) {
        const auto items = rowsOf(orphanedTree("npm run serve", server, server), withOrphan(10));
        ASSERT_EQ(pidsOf(items), (PIDs{10})) << server;
        EXPECT_EQ(items[0].kind, ProcessKind::npm) << server;
        EXPECT_EQ(items[0].command, "npm run serve") << server;
        EXPECT_EQ(foldedPIDs(items[0]), (PIDs{11, 12})) << server;
        EXPECT_EQ(items[0].rssKB, 3000) << server;
        EXPECT_EQ(items[0].shownPID(), 10) << server;
        EXPECT_EQ(items[0].riskTier, RiskTier::moderate) << server;
    }
}

TEST(RunnerRows, withoutAShellTheOnlyChildBelongsToItsRunnerWhateverItIs) {
    const auto items =
        rowsOf("10 5 00:07 ? 1 100 npm run serve\n12 10 00:06 ? 1 200 php -S localhost:8000\n");
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{12}));
}

TEST(RunnerRows, oneOfSeveralChildrenBelongsToItsRunnerOnlyWhenItIsACandidate) {
    const auto direct = rowsOf("10 5 00:07 ? 1 100 npm run serve\n"
                               "12 10 00:06 ? 1 200 sleep 200\n13 10 00:06 ? 1 200 php -S localhost:8000\n");
    ASSERT_EQ(pidsOf(direct), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(direct[0]), PIDs());

    const auto beside = rowsOf("10 5 00:07 ? 1 100 npm run serve\n11 10 00:06 ? 1 10 sh -c php\n"
                               "12 10 00:06 ? 1 200 sleep 200\n13 11 00:06 ? 1 200 php\n");
    ASSERT_EQ(pidsOf(beside), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(beside[0]), (PIDs{11, 13})) << "what is beside the shell stays alone";

    const auto inShell = rowsOf("10 5 00:07 ? 1 100 npm run all\n11 10 00:06 ? 1 10 sh -c php & vite\n"
                                "12 11 00:06 ? 1 200 php\n13 11 00:06 ? 1 200 node /x/.bin/vite\n");
    ASSERT_EQ(pidsOf(inShell), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(inShell[0]), (PIDs{11, 13}));

    const auto two = rowsOf("10 5 00:07 ? 1 100 npm run all\n11 10 00:06 ? 1 10 sh -c jest & vite\n"
                            "12 11 00:06 ? 1 200 jest\n13 11 00:06 ? 1 200 node /x/.bin/vite\n");
    EXPECT_EQ(pidsOf(two), (PIDs{10, 12, 13}));
}

TEST(RunnerRows, runnersThatRunRunnersAreOneRow) {
    const auto items = rowsOf("10 5 00:07 ? 1 100 npm test\n11 10 00:06 ? 1 10 sh -c npx vitest\n"
                              "12 11 00:06 ? 1 100 npm exec vitest\n13 12 00:06 ? 1 10 sh -c 'vitest'\n"
                              "14 13 00:06 ? 1 300 node (vitest)\n15 14 00:06 ? 1 100 node (vitest 1)\n");
    ASSERT_EQ(pidsOf(items), (PIDs{10, 15}));
    EXPECT_EQ(items[0].command, "node (vitest)");
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{11, 12, 13, 14}));
    EXPECT_EQ(items[0].rssKB, 500);
    EXPECT_EQ(items[0].shownPID(), 14);
}

TEST(RunnerRows, aRunnerOfNoKindWithinARunnerGoesWithWhatItStarted) {
    const auto items =
        rowsOf("10 5 00:07 ? 1 100 npm run api\n11 10 00:06 ? 1 10 sh -c uv run serve\n"
               "12 11 00:06 ? 1 100 uv run serve\n13 12 00:06 ? 1 300 /x/.venv/bin/python x\n");
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].command, "npm run api");
    EXPECT_EQ(foldedPIDs(items[0]), (PIDs{11, 12, 13}));
}

TEST(RunnerRows, anIgnoredOrDismissedServerIsNotFolded) {
    const std::string table = "10 5 00:07 ? 1 100 npm run dev\n11 10 00:06 ? 1 10 sh -c vite\n"
                              "12 11 00:06 ? 1 200 node /x/.bin/vite\n";
    const auto ignored = rowsOf(table, {}, {.ignoredNames = {".bin/vite"}});
    ASSERT_EQ(pidsOf(ignored), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(ignored[0]), (PIDs{11}));
    const auto dismissed = rowsOf(table, {}, {.dismissedPIDs = {12}});
    ASSERT_EQ(pidsOf(dismissed), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(dismissed[0]), (PIDs{11}));
    const auto runner = rowsOf(table, {}, {.ignoredNames = {"npm run"}});
    EXPECT_EQ(pidsOf(runner), (PIDs{12})) << "a server whose runner is ignored stands for itself";
}

TEST(RunnerRows, keepTheLabelOfTheRuleThatTheChildMatched) {
    const std::vector<CustomRule> rules = {{"npm run", "Runner"}, {"manage.py", "Shop"}};
    const auto items = rowsOf(orphanedTree("npm run serve", "python3 manage.py", "python3 manage.py"),
                              withOrphan(10), {.customRules = rules});
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].kind, ProcessKind::custom);
    EXPECT_EQ(items[0].customLabel, "Shop");
    EXPECT_EQ(items[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, aRuleThatTheRunnerMatchesGoesOnProtecting) {
    const std::vector<CustomRule> rules = {{"npm test", "Nightly"}};
    const auto items =
        rowsOf(orphanedTree("npm test", "vitest", "node (vitest)"), withOrphan(10), {.customRules = rules});
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].kind, ProcessKind::custom);
    EXPECT_EQ(items[0].customLabel, "Nightly");
    EXPECT_EQ(items[0].command, "node (vitest)");
    EXPECT_EQ(items[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, anotherChildOfARunnerKeepsTheRowFromBeingSafe) {
    const std::string tree = orphanedTree("npm test", "vitest", "node (vitest)");
    ASSERT_EQ(rowsOf(tree, withOrphan(10))[0].riskTier, RiskTier::easy);
    for (const char* parent : {"10", "11"}) { // the runner's own, or its shell's
        const auto rows =
            rowsOf(tree + "13 " + parent + " 02:00:00 ? 0 10 python3 backup.py\n", withOrphan(10));
        ASSERT_EQ(pidsOf(rows), (PIDs{10})) << parent;
        EXPECT_EQ(rows[0].riskTier, RiskTier::moderate) << parent;
    }
    const auto hidden =
        rowsOf(tree + "13 11 02:00:00 ? 0 10 node /x/.bin/vite\n", withOrphan(10), {.dismissedPIDs = {13}});
    ASSERT_EQ(pidsOf(hidden), (PIDs{10}));
    EXPECT_EQ(hidden[0].riskTier, RiskTier::moderate);
    const auto itself = rowsOf(tree, withOrphan(10), {.ignoredNames = {"(vitest)"}});
    EXPECT_TRUE(std::ranges::none_of(itself, [](auto& row) { return row.riskTier == RiskTier::easy; }));
    const auto worker = rowsOf(tree + "13 12 02:00:00 ? 0 10 python3 helper.py\n", withOrphan(10));
    EXPECT_EQ(worker[0].riskTier, RiskTier::easy) << "what the tool itself started";
}

TEST(RunnerRows, aShellThatWillRunSomethingElseKeepsTheRowFromBeingSafe) {
    for (const char* script :
         {"vitest; node upload.js", "vitest && ./deploy", "while :; do vitest; ./sync; done",
          "eval \"vitest; ./deploy\"", "trap ./deploy EXIT; vitest",
          "for t in vitest deploy; do npx $t; done", "while read c; do sh -c \"$c\"; done"}) {
        const auto rows = rowsOf(orphanedTree("npm test", script, "node (vitest)"), withOrphan(10));
        ASSERT_EQ(pidsOf(rows), (PIDs{10})) << script;
        EXPECT_EQ(rows[0].riskTier, RiskTier::moderate) << script;
    }
    for (const char* script : {"vitest; exit $?", "cd app && vitest", "while :; do vitest; done"}) {
        EXPECT_EQ(rowsOf(orphanedTree("npm test", script, "node (vitest)"), withOrphan(10))[0].riskTier,
                  RiskTier::easy)
            << script;
    }
    const VintrelTests::Found found{.arguments = {{11, {"sh", "-c", "vitest\nnode upload.js"}}}};
    EXPECT_EQ(rowsOf(orphanedTree("npm test", "vitest node upload.js", "node (vitest)"), withOrphan(10), {},
                     found)[0]
                  .riskTier,
              RiskTier::moderate);
    const VintrelTests::Found unknown{.arguments = {{11, {}}}};
    EXPECT_EQ(
        rowsOf(orphanedTree("npm test", "vitest", "node (vitest)"), withOrphan(10), {}, unknown)[0].riskTier,
        RiskTier::moderate);
}

TEST(RunnerRows, aSecondShellOfARunnerKeepsTheRowFromBeingSafe) {
    const std::string tree = orphanedTree("pnpm -r run watch", "vitest", "node (vitest)");
    ASSERT_EQ(rowsOf(tree, withOrphan(10))[0].riskTier, RiskTier::easy);
    const std::string second = tree + "13 10 02:00:00 ? 0 10 sh -c python3 export.py\n";
    EXPECT_EQ(rowsOf(second, withOrphan(10))[0].riskTier, RiskTier::moderate) << "about to start it";
    const auto rows = rowsOf(second + "14 13 02:00:00 ? 0 10 python3 export.py\n", withOrphan(10));
    ASSERT_EQ(pidsOf(rows), (PIDs{10}));
    EXPECT_EQ(rows[0].riskTier, RiskTier::moderate);
    const auto within = rowsOf(tree + "13 11 02:00:00 ? 0 10 sh -c python3 export.py\n"
                                      "14 13 02:00:00 ? 0 10 python3 export.py\n",
                               withOrphan(10));
    ASSERT_EQ(pidsOf(within), (PIDs{10}));
    EXPECT_EQ(within[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, whatAProcessOfNoKindStartedKeepsTheRowFromBeingSafe) {
    const std::string tree = orphanedTree("npm run test:playwright", "./e2e.sh", "bash ./e2e.sh") +
                             "13 12 02:00:00 ? 0 10 php -S x:80\n";
    const auto rows = rowsOf(tree, withOrphan(10));
    ASSERT_EQ(pidsOf(rows), (PIDs{10}));
    EXPECT_EQ(rows[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, aScriptBeforeTheOneThatWasToldKeepsTheRowFromBeingSafe) {
    const auto tierOf = [](const std::string& runner, const std::string& script) {
        const VintrelTests::Found found{.scripts = {{12, script}}};
        const auto rows =
            rowsOf(orphanedTree(runner, "vitest run", "node (vitest)"), withOrphan(10), {}, found);
        return rows.size() == 1 ? rows[0].riskTier : RiskTier::high;
    };
    EXPECT_EQ(tierOf("npm run deploy", "predeploy"), RiskTier::moderate);
    EXPECT_EQ(tierOf("npm publish", "prepublishOnly"), RiskTier::moderate);
    EXPECT_EQ(tierOf("pnpm -r publish", "prepublishOnly"), RiskTier::moderate);
    EXPECT_EQ(tierOf("npm test", "pretest"), RiskTier::moderate);
    EXPECT_EQ(tierOf("npm test", "test"), RiskTier::easy);
    EXPECT_EQ(tierOf("npm t", "test"), RiskTier::easy);
    EXPECT_EQ(tierOf("npm run test:unit", "test:unit"), RiskTier::easy);
    EXPECT_EQ(tierOf("npm exec vitest", "npx"), RiskTier::easy);
    EXPECT_EQ(tierOf("uv run vitest", ""), RiskTier::easy);
}

TEST(RunnerRows, aProcessOfNoKindIsNotSafeByTheNameOfItsScript) {
    for (const char* runner : {"npm run jest", "npm run vitest"}) {
        const auto rows = rowsOf(orphanedTree(runner, "mydb serve", "/usr/bin/mydb serve"), withOrphan(10));
        ASSERT_EQ(pidsOf(rows), (PIDs{10})) << runner;
        EXPECT_EQ(rows[0].riskTier, RiskTier::moderate) << runner;
    }
}

TEST(RunnerRows, runnersThatNeedNoShellMayHaveMoreToRun) {
    const auto tierOf = [](const std::string& runner) {
        return rowsOf(processOne + ("10 1 02:00:00 ? 1.0 1000 " + runner + "\n") +
                          "12 10 02:00:00 ? 2.0 2000 node (vitest)\n",
                      withOrphan(10))[0]
            .riskTier;
    };
    EXPECT_EQ(tierOf("node .yarn/releases/yarn-4.5.3.cjs test"), RiskTier::moderate);
    EXPECT_EQ(tierOf("node .yarn/releases/yarn-4.0.0-rc.53.cjs test"), RiskTier::moderate);
    EXPECT_EQ(tierOf("node .yarn/releases/yarn-berry.cjs test"), RiskTier::moderate);
    EXPECT_EQ(tierOf("corepack pnpm@10 test"), RiskTier::moderate);
    EXPECT_EQ(tierOf("pnpm test"), RiskTier::moderate);
    EXPECT_EQ(tierOf("pnpm exec vitest"), RiskTier::easy);
    EXPECT_EQ(tierOf("npm test"), RiskTier::easy) << "with bash, which lets the last command take its place";
}

TEST(RunnerRows, aShellThatIsIgnoredOrDismissedIsNotPartOfTheRow) {
    const std::string tree = orphanedTree("npm test", "cd nightly && vitest", "node (vitest)");
    for (const auto& options : {ScanCore::EnumerateOptions{.ignoredNames = {"nightly"}},
                                ScanCore::EnumerateOptions{.dismissedPIDs = {11}}}) {
        const auto rows = rowsOf(tree, withOrphan(10), options);
        ASSERT_EQ(pidsOf(rows), (PIDs{10}));
        EXPECT_EQ(foldedPIDs(rows[0]), (PIDs{12}));
        EXPECT_EQ(rows[0].riskTier, RiskTier::moderate);
    }
}

TEST(RunnerRows, anIgnoredProcessOfNoKindIsNotPartOfTheRow) {
    const auto server = rowsOf(orphanedTree("npm run serve", "php", "php -S localhost:8000"), withOrphan(10),
                               {.ignoredNames = {"php -S"}});
    ASSERT_EQ(pidsOf(server), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(server[0]), (PIDs{11}));
    const auto runner = rowsOf("10 5 00:07 ? 1 100 npm run api\n11 10 00:06 ? 1 10 sh -c uv run serve\n"
                               "12 11 00:06 ? 1 100 uv run serve\n13 12 00:06 ? 1 300 /x/python x\n",
                               {}, {.ignoredNames = {"uv run"}});
    ASSERT_EQ(pidsOf(runner), (PIDs{10}));
    EXPECT_TRUE(std::ranges::none_of(runner[0].folded, [](auto& process) { return process.pid == 12; }));
}

TEST(RunnerRows, aRuleThatItsShellMatchesProtectsTheRow) {
    const std::vector<CustomRule> rules = {{"cd /x/keep", "Keep"}};
    const auto rows = rowsOf(orphanedTree("npm test", "cd /x/keep && vitest", "node (vitest)"),
                             withOrphan(10), {.customRules = rules});
    ASSERT_EQ(pidsOf(rows), (PIDs{10}));
    EXPECT_EQ(rows[0].customLabel, "Keep");
    EXPECT_EQ(rows[0].kind, ProcessKind::custom);
    EXPECT_EQ(rows[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, aRuleForAFolderIsHeldAgainstEachOfItsProcesses) {
    const auto rows = rowsOf(orphanedTree("npm test", "vitest", "node (vitest)"), withOrphan(10));
    const CwdResolver::CwdMap folders{{10, {.fullPath = "/x"}}, {12, {.fullPath = "/x/keep"}}};
    const auto isIgnored = [&](const std::string& substring, const std::string& folder) {
        const std::vector<IgnoreRule> rules{{.substring = substring, .pathPrefix = folder}};
        return ScanCore::applyScopedIgnores(rows, folders, rules).empty();
    };
    EXPECT_TRUE(isIgnored("vitest", "/x/keep"));
    EXPECT_TRUE(isIgnored("npm test", "/x"));
    EXPECT_TRUE(isIgnored("sh -c", "/x"));
    EXPECT_FALSE(isIgnored("vitest", "/y"));
    EXPECT_FALSE(isIgnored("jest", "/x"));
}

TEST(RunnerRows, aRunnerThatIsProcessOneTakesInNobody) {
    const auto rows =
        rowsOf("1 0 02:00:00 ? 1 100 npm run dev\n4 1 02:00:00 ? 1 100 node (vitest)\n", withOrphan(4));
    const auto* const stray = VintrelTests::find(rows, 4);
    ASSERT_NE(stray, nullptr);
    EXPECT_TRUE(stray->folded.empty());
}

TEST(RunnerRows, itsShellsAreFoldedFromTheOutsideWhateverTheirNumbers) {
    const auto rows =
        rowsOf("10 5 00:07 ? 1 100 npm run dev\n11 32760 00:06 ? 1 10 sh -c vite\n"
               "12 11 00:06 ? 1 200 node /x/.bin/vite\n32760 10 00:06 ? 1 10 sh -c sh -c vite\n");
    ASSERT_EQ(pidsOf(rows), (PIDs{10}));
    EXPECT_EQ(foldedPIDs(rows[0]), (PIDs{32760, 11, 12}));
}

TEST(RunnerRows, anotherChildOfARunnerWithinTheRowCountsToo) {
    const auto items = rowsOf(std::string(processOne) + "10 1 02:00:00 ? 1 100 npm test\n"
                                                        "11 10 02:00:00 ? 1 10 sh -c npx vitest\n"
                                                        "12 11 02:00:00 ? 1 100 npm exec vitest\n"
                                                        "13 12 02:00:00 ? 1 300 node (vitest)\n"
                                                        "14 12 02:00:00 ? 1 300 python3 backup.py\n",
                              withOrphan(10));
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, aHostOfATerminalKeepsTheRowFromBeingSafe) {
    const std::string tree = orphanedTree("npm test", "vitest", "node (vitest)");
    for (const int32_t host : {11, 12}) {
        FakeKernel kernel = withOrphan(10);
        kernel.letHoldTerminal(host);
        const auto rows = rowsOf(tree, kernel);
        ASSERT_EQ(pidsOf(rows), (PIDs{10})) << host;
        EXPECT_EQ(rows[0].riskTier, RiskTier::moderate) << host;
    }
    const auto rows = rowsOf(tree + "13 12 02:00:00 pts/4 0 10 bash\n", withOrphan(10));
    ASSERT_EQ(pidsOf(rows), (PIDs{10}));
    EXPECT_EQ(rows[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, sayWhyTheyAreForReviewThatWouldBeSafe) {
    using Reason = std::optional<ReviewReason>;
    const auto reasonOf = [](const std::string& tree, const FakeKernel& kernel = withOrphan(10),
                             const ScanCore::EnumerateOptions& options = {},
                             const VintrelTests::Found& found = {}) {
        const auto rows = rowsOf(tree, kernel, options, found);
        EXPECT_EQ(pidsOf(rows), (PIDs{10})) << tree;
        EXPECT_EQ(rows[0].riskTier, rows[0].reviewReason ? RiskTier::moderate : RiskTier::easy) << tree;
        return rows[0].reviewReason;
    };
    const std::string tree = orphanedTree("npm test", "vitest", "node (vitest)");
    EXPECT_EQ(reasonOf(tree), Reason());
    EXPECT_EQ(reasonOf(orphanedTree("npm test", "vitest; ./deploy", "node (vitest)")),
              Reason(ReviewReason::scriptMayDoMore));
    EXPECT_EQ(reasonOf(tree, withOrphan(10), {}, {.arguments = {{11, {}}}}),
              Reason(ReviewReason::scriptMayDoMore))
        << "it cannot be known";
    EXPECT_EQ(reasonOf(std::string(processOne) + "10 1 02:00:00 ? 1 10 pnpm test\n"
                                                 "12 10 02:00:00 ? 1 10 node (vitest)\n"),
              Reason(ReviewReason::scriptMayDoMore));
    EXPECT_EQ(reasonOf(tree, withOrphan(10), {}, {.scripts = {{12, "pretest"}}}),
              Reason(ReviewReason::anotherMayFollow));
    EXPECT_EQ(reasonOf(tree + "13 10 02:00:00 ? 0 10 python3 backup.py\n"),
              Reason(ReviewReason::startedOthers));
    EXPECT_EQ(reasonOf(tree + "13 10 02:00:00 ? 0 10 sh -c python3 export.py\n"),
              Reason(ReviewReason::startedOthers));
    EXPECT_EQ(reasonOf(tree, withOrphan(10), {.dismissedPIDs = {11}}), Reason(ReviewReason::partIsIgnored));
    EXPECT_EQ(reasonOf(tree + "13 12 02:00:00 pts/4 0 10 bash\n"), Reason(ReviewReason::hostsTerminal));
    EXPECT_EQ(reasonOf(orphanedTree("npm run jest", "mydb serve", "/usr/bin/mydb serve"), withOrphan(10)),
              Reason(ReviewReason::runsUnknownProgram));
    EXPECT_EQ(reasonOf(orphanedTree("npx vitest", "firefox x/vitest", "/usr/bin/firefox x/vitest")),
              Reason(ReviewReason::namedOnly));
}

TEST(RunnerRows, giveTheReasonOfARunnerWithinTheRow) {
    const auto rows = rowsOf(std::string(processOne) + "10 1 02:00:00 ? 1 100 npm test\n"
                                                       "11 10 02:00:00 ? 1 10 sh -c npx vitest\n"
                                                       "12 11 02:00:00 ? 1 100 npm exec vitest\n"
                                                       "13 12 02:00:00 ? 1 300 node (vitest)\n"
                                                       "14 12 02:00:00 ? 1 300 python3 backup.py\n",
                             withOrphan(10));
    ASSERT_EQ(pidsOf(rows), (PIDs{10}));
    EXPECT_EQ(rows[0].reviewReason, ReviewReason::startedOthers);
}

TEST(RunnerRows, giveNoReasonWhereKindPlaceAndAgeSayEnough) {
    const std::string tree = orphanedTree("npm test", "vitest; ./deploy", "node (vitest)");
    for (const auto& options : {ScanCore::EnumerateOptions{.elapsedThreshold = 7201},
                                ScanCore::EnumerateOptions{.registeredPIDs = ScanCore::PIDSet{12}},
                                ScanCore::EnumerateOptions{.customRules = {{"vitest", "Mine"}}}}) {
        const auto rows = rowsOf(tree, withOrphan(10), options);
        ASSERT_EQ(pidsOf(rows), (PIDs{10}));
        EXPECT_EQ(rows[0].riskTier, RiskTier::moderate);
        EXPECT_EQ(rows[0].reviewReason, std::nullopt);
    }
    const auto server =
        rowsOf(orphanedTree("npm run dev", "vite; ./deploy", "node /x/.bin/vite"), withOrphan(10));
    ASSERT_EQ(pidsOf(server), (PIDs{10}));
    EXPECT_EQ(server[0].reviewReason, std::nullopt);
}

TEST(RunnerRows, areRatedInTheRunnersPlace) {
    const std::string tree = orphanedTree("npm test", "vitest", "node (vitest)");
    const auto orphan = rowsOf(tree, withOrphan(10));
    ASSERT_EQ(pidsOf(orphan), (PIDs{10}));
    EXPECT_EQ(orphan[0].ppid, 1);
    EXPECT_EQ(orphan[0].riskTier, RiskTier::easy);

    FakeKernel service = withOrphan(10);
    service[10].controlGroup = "/system.slice/mydev.service";
    EXPECT_EQ(rowsOf(tree, service)[0].riskTier, RiskTier::moderate) << "the runner is no orphan";
    EXPECT_EQ(rowsOf(tree, withOrphan(10), {.elapsedThreshold = 7201})[0].riskTier, RiskTier::moderate);
    const auto server = rowsOf(orphanedTree("npm run dev", "vite", "node /x/.bin/vite"), withOrphan(10));
    EXPECT_EQ(server[0].riskTier, RiskTier::moderate) << "the child's kind counts";
}

TEST(RunnerRows, theAgeIsTheRunnersToo) {
    const std::string table = std::string(processOne) + "10 1 02:00:00 ? 1.0 1000 npm test\n"
                                                        "12 10 00:05 ? 2.0 2000 node (vitest)\n";
    const auto items = rowsOf(table, withOrphan(10));
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].elapsed, 7200);
    EXPECT_EQ(items[0].riskTier, RiskTier::easy);
}

TEST(RunnerRows, aTerminalOfEitherKeepsARowFromBeingSafe) {
    const std::string table = std::string(processOne) + "10 1 02:00:00 ? 1.0 1000 npm test\n"
                                                        "12 10 02:00:00 pts/3 2.0 2000 node (vitest)\n";
    const auto items = rowsOf(table, withOrphan(10));
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_TRUE(items[0].hasTTY());
    EXPECT_EQ(items[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, aRegisteredPortOfAnyOfItsProcessesKeepsARowFromBeingSafe) {
    const std::string tree = orphanedTree("npm test", "vitest", "node (vitest)");
    for (const int32_t listener : {10, 11, 12}) {
        const ScanCore::PIDSet listeners{listener};
        const auto known = rowsOf(tree, withOrphan(10), {.registeredPIDs = listeners});
        ASSERT_EQ(pidsOf(known), (PIDs{10}));
        EXPECT_EQ(known[0].riskTier, RiskTier::moderate) << listener;
        auto later = rowsOf(tree, withOrphan(10));
        ScanCore::applyRegisteredPorts(later, listeners);
        EXPECT_EQ(later, known) << listener;
    }
}

TEST(RunnerRows, aRunnersShellIsNeverTakenForTheOrphan) {
    // Only the editor is an orphan, not the runner that it started.
    const auto items = rowsOf(std::string(processOne) + "9 1 02:00:00 ? 0 10 /usr/bin/code\n"
                                                        "10 9 02:00:00 ? 0 10 npm test\n"
                                                        "11 10 02:00:00 ? 0 10 sh -c vitest\n"
                                                        "12 11 02:00:00 ? 0 10 node (vitest)\n",
                              withOrphan(9));
    ASSERT_EQ(pidsOf(items), (PIDs{10}));
    EXPECT_EQ(items[0].ppid, 9);
    EXPECT_EQ(items[0].riskTier, RiskTier::moderate);
}

TEST(RunnerRows, disabledKindsGoWithTheirRunner) {
    EXPECT_TRUE(rowsOf(orphanedTree("npm run dev", "vite", "node /x/.bin/vite"), {},
                       {.disabledKinds = {ProcessKind::vite}})
                    .empty());
}

TEST(RunnerRows, aRingOfRunnersDoesNotHang) {
    const auto items = rowsOf("10 12 00:07 ? 1 100 npm run a\n11 10 00:07 ? 1 100 npm run b\n"
                              "12 11 00:07 ? 1 100 npm run c\n13 13 00:07 ? 1 100 npm run d\n");
    EXPECT_EQ(pidsOf(items), (PIDs{10, 11, 12, 13}));
}
