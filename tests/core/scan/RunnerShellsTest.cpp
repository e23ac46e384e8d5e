// Package runners and the shells between them and what they run, in trees captured from real ones.
#include "VintrelCore/scan/RunnerShells.h"

#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/SnapshotRows.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::FakeKernel;
using VintrelTests::foldedPIDs;
using VintrelTests::rowsOf;

namespace {

std::vector<SnapshotRecord> records(const std::string& psOutput) {
    return snapshotRecords(psOutput, FakeKernel().view());
}

using PIDs = std::vector<int32_t>;

} // namespace

TEST(RunnerShells, npmRunIsOneRowWithTheServersCommandAndBothMemories) {
    const auto items =
        rowsOf("21564 21562 00:06 ? 2.5 59232 npm run dev\n"
               "21603 21564 00:05 ? 0.0  1740 sh -c vite --port 5199\n"
               "21604 21603 00:05 ? 4.0 84336 node /home/dev/app/node_modules/.bin/vite --port 5199\n"
               "21617 21604 00:05 ? 0.1 10256 /home/dev/esbuild/bin/esbuild --service=0.21.5 --ping\n");
    ASSERT_EQ(items.size(), 1U);
    const ProcessItem& row = items.front();
    EXPECT_EQ(row.pid, 21564);
    EXPECT_EQ(row.ppid, 21562);
    EXPECT_EQ(row.startTime, (ProcStartTime{.sec = 21564, .usec = 0}));
    EXPECT_EQ(row.kind, ProcessKind::vite);
    EXPECT_EQ(row.command, "node /home/dev/app/node_modules/.bin/vite --port 5199");
    EXPECT_EQ(row.rssKB, 59232 + 84336);
    EXPECT_DOUBLE_EQ(row.cpuPercent, 6.5);
    EXPECT_EQ(foldedPIDs(row), (PIDs{21603, 21604}));
}

TEST(RunnerShells, npxIsOneRow) {
    const auto items =
        rowsOf("863 505 00:06 ? 5.1 77828 npm exec vite --port 5196\n"
               "874 863 00:05 ? 0.0  1640 sh -c 'vite' --port 5196\n"
               "875 874 00:05 ? 3.8 83636 node /home/dev/app/node_modules/.bin/vite --port 5196\n");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().pid, 863);
    EXPECT_EQ(items.front().kind, ProcessKind::vite);
    EXPECT_EQ(foldedPIDs(items.front()), (PIDs{874, 875}));
}

TEST(RunnerShells, withoutAShellInBetweenNothingElseIsFolded) {
    const auto items = rowsOf("672 671 00:05 ? 2.0 59000 npm run dev\n"
                              "683 672 00:04 ? 4.0 85000 node /home/dev/app/node_modules/.bin/vite\n");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(foldedPIDs(items.front()), (PIDs{683}));
}

TEST(RunnerShells, aRenamedNodeToolIsClassifiedByItsNameAndShownAsPSPrintedIt) {
    const auto items = rowsOf("913 505 00:08 ? 1.6 59292 npm test\n"
                              "959 913 00:07 ? 0.0  1652 sh -c vitest --watch\n"
                              "960 959 00:07 ? 4.7 101000 node (vitest)\n"
                              "115 960 00:07 ? 1.2 53684 node (vitest 1)\n");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].pid, 913);
    EXPECT_EQ(items[0].kind, ProcessKind::vitest);
    EXPECT_EQ(items[0].command, "node (vitest)");
    EXPECT_EQ(items[1].kind, ProcessKind::vitest);
    EXPECT_EQ(items[1].command, "node (vitest 1)");
}

TEST(RunnerShells, theScriptNamesWhatABareNodeProcessIs) {
    const auto items = rowsOf("913 505 00:08 ? 1.6 59292 npm test\n"
                              "959 913 00:07 ? 0.0  1652 sh -c vitest --watch\n"
                              "960 959 00:07 ? 4.7 101000 node /x/main.mjs --watch\n",
                              {}, {}, {.arguments = {{959, {"sh", "-c", "vitest --watch"}}}});
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.front().kind, ProcessKind::vitest);
    EXPECT_EQ(items.front().riskTier, RiskTier::moderate); // as a test runner's that somebody started
}

TEST(RunnerShells, theScriptDoesNotOverrideAMoreSpecificKind) {
    const auto items = rowsOf("913 505 00:08 ? 1.6 59292 npm test\n"
                              "959 913 00:07 ? 0.0  1652 sh -c jest-wrapper jest\n"
                              "960 959 00:07 ? 4.7 101000 node /x/.bin/vite\n",
                              {}, {}, {.arguments = {{959, {"sh", "-c", "jest-wrapper jest"}}}});
    EXPECT_EQ(items.front().kind, ProcessKind::vite);
}

TEST(RunnerShells, aScriptWithSeveralProgramsNamesNone) {
    for (const char* script : {"vitest run && node server.js", "vitest & node server.js",
                               "vitest; node server.js", "vitest | node server.js"}) {
        const auto items = rowsOf("913 505 00:08 ? 1.6 59292 npm test\n"
                                  "959 913 00:07 ? 0.0  1652 sh -c " +
                                      std::string(script) + "\n960 959 00:07 ? 4.7 101000 node server.js\n",
                                  {}, {}, {.arguments = {{959, {"sh", "-c", script}}}});
        EXPECT_EQ(items.front().kind, ProcessKind::node) << script;
    }
    const auto two = rowsOf("913 505 00:08 ? 1.6 59292 npm test\n"
                            "959 913 00:07 ? 0.0  1652 sh -c vitest --watch\n"
                            "960 959 00:07 ? 4.7 101000 node server.js\n"
                            "961 959 00:07 ? 4.7 101000 node other.js\n",
                            {}, {}, {.arguments = {{959, {"sh", "-c", "vitest --watch"}}}});
    ASSERT_EQ(two.size(), 3U); // nothing to merge, and no guess
    EXPECT_EQ(two[0].kind, ProcessKind::npm);
    EXPECT_EQ(foldedPIDs(two[0]), (PIDs{959}));
    EXPECT_EQ(two[1].kind, ProcessKind::node);
    EXPECT_EQ(two[1].ppid, 913);
}

TEST(RunnerShells, aShellInsideTheShellIsPartOfTheRunnerToo) {
    const auto items = rowsOf("10 5 00:07 ? 1 100 npm run dev\n"
                              "11 10 00:06 ? 1 10 sh -c sh -c 'vite'\n"
                              "12 11 00:06 ? 1 10 sh -c vite\n"
                              "13 12 00:06 ? 1 200 node /x/.bin/vite\n");
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(foldedPIDs(items.front()), (PIDs{11, 12, 13}));
}

TEST(RunnerShells, onlyAShellOfARunnerIsFolded) {
    // What a person typed, a shell of something else, and a shell that runs no script.
    const auto kept = records("10 5 00:07 pts/0 1 100 bash -c npm run dev; exit $?\n"
                              "11 10 00:06 pts/0 1 10 npm run dev\n"
                              "12 11 00:06 pts/0 1 10 bash\n"
                              "13 12 00:06 pts/0 1 10 node x.js\n"
                              "14 13 00:06 pts/0 1 10 sh -c vite\n"
                              "15 11 00:06 pts/0 1 10 zsh -c vite\n");
    EXPECT_EQ(kept.size(), 6U);
}

TEST(RunnerShells, whatARunnerAsProcessOneRunsIsNoOrphan) {
    FakeKernel kernel;
    kernel.addOrphan(11).addOrphan(12).addOrphan(13);
    for (const bool correctsParents : {true, false}) {
        auto view = kernel.view();
        view.correctsParents = correctsParents;
        const auto kept = snapshotRecords("1 0 01:00:00 ? 1 100 npm test\n"
                                          "11 1 01:00:00 ? 1 10 sh -c vitest & jest\n"
                                          "12 11 01:00:00 ? 1 10 node (vitest)\n",
                                          view);
        EXPECT_EQ(std::ranges::count(kept, 1, &SnapshotRecord::ppid), 0) << correctsParents;
    }
    for (const char* first :
         {"npm test", "node /x/.bin/vitest --watch", "bash -c vitest", "python3 -m pytest"}) {
        const auto direct = snapshotRecords("1 0 01:00:00 ? 1 100 " + std::string(first) +
                                                "\n13 1 01:00:00 ? 1 10 node (vitest 1)\n",
                                            kernel.view());
        EXPECT_EQ(direct[1].ppid, 0) << first;
        EXPECT_FALSE(direct[1].managedBy.empty()) << first;
    }
}

TEST(RunnerShells, aRingOfParentsDoesNotHang) {
    const auto kept = records("10 11 00:07 ? 1 100 sh -c vite\n11 10 00:07 ? 1 100 sh -c vite\n"
                              "12 12 00:07 ? 1 100 sh -c vite\n");
    EXPECT_EQ(kept.size(), 3U);
}

TEST(IsPackageRunner, knowsRunnersByNameAndByScript) {
    for (const char* command :
         {"npm run dev", "npm", "/usr/bin/npm start", "npx vite", "pnpm dev", "yarn dev", "yarnpkg x",
          "node /usr/lib/node_modules/npm/bin/npm-cli.js run dev", "node --no-warnings /x/npx-cli.js vite",
          "/usr/bin/node ./node_modules/.bin/pnpm run dev", "nodejs /x/pnpm.cjs dev",
          "node /x/yarn.js dev"}) {
        EXPECT_TRUE(RunnerShells::isPackageRunner(command)) << command;
    }
    for (const char* command :
         {"node server.js npm", "vim npm", "node", "", "npm-check", "node /x/npm/index.js",
          "sh -c npm run dev", "sh -c npm", "node (npm)", "node -e npm", "/x/yarn/server dev"}) {
        EXPECT_FALSE(RunnerShells::isPackageRunner(command)) << command;
    }
}

TEST(IsPackageRunner, knowsTheFilesOfVersionsAndTheNewerNames) {
    for (const char* command :
         {"node .yarn/releases/yarn-1.22.22.cjs dev", "node /home/dev/.yarn/releases/yarn-4.5.3.cjs run dev",
          "node /opt/pnpm/bin/pnpm.mjs dev", "node /opt/pnpm/bin/pnpm.cjs dev", "/opt/pnpm/pn dev",
          "node .yarn/releases/yarn-4.0.0-rc.53.cjs dev", "node .yarn/releases/yarn-berry.cjs dev",
          "node /x/yarn-1.23.0-20220130.1630.js dev", "node /x/yarn-3.2.0-rc.cjs dev", "pnx vite",
          "pnpx vite", "node /opt/pnpm/bin/pnx.mjs vite", "/bin/sh /usr/local/bin/yarn dev",
          "node /usr/lib/node_modules/corepack/dist/corepack.js pnpm dev"}) {
        EXPECT_TRUE(RunnerShells::isPackageRunner(command)) << command;
    }
}

TEST(IsPackageRunner, isNoOtherFileWhoseNameBeginsLikeARunners) {
    for (const char* command :
         {"node yarn-lint.js", "node /x/npm-run-all.js build", "node yarn-4.0.0-lint.js",
          "node yarn-rc.53.cjs dev", "node yarn4-rc.1.cjs dev", "node yarn-4.0.0-rc.x.cjs dev",
          "node yarn-4.0.0-rc.53-fix.cjs dev", "node yarn-4.0.0-.cjs dev", "node my-yarn-4.0.0-rc.1.cjs dev",
          "node yarn.js-rc.1.cjs dev", "yarn-4.0.0-rc.53 dev", "node node-20.0.0-rc.1.js"}) {
        EXPECT_FALSE(RunnerShells::isPackageRunner(command)) << command;
    }
}

TEST(IsPackageRunner, anOptionsValueIsNotTheScript) {
    EXPECT_TRUE(RunnerShells::isPackageRunner("node --require /x/hook.js /x/bin/yarn dev"));
    EXPECT_TRUE(RunnerShells::isPackageRunner("node -r dotenv/config --inspect /x/bin/pnpm.cjs dev"));
    EXPECT_FALSE(RunnerShells::isPackageRunner("node --require /x/bin/yarn server.js"));
    EXPECT_FALSE(RunnerShells::isPackageRunner("node --title npm server.js"));
}

TEST(IsPackageRunner, severalToolsRunPackagesOnlyWhenTheyAreToldTo) {
    for (const char* command :
         {"bun run dev", "bun --bun run test:unit", "bun x vite", "bun x @playwright/mcp", "bunx vite",
          "uv run pytest", "uv --directory /x run pytest", "uv tool run ruff", "uvx pytest",
          "poetry run pytest", "python3 /usr/bin/pipenv run pytest", "python3 -m poetry run pytest"}) {
        EXPECT_TRUE(RunnerShells::isPackageRunner(command)) << command;
    }
    for (const char* command :
         {"bun", "bun server.ts", "bun run server.ts", "bun run ./serve", "bun --hot index.tsx", "bun test",
          "bun -e 1", "uv", "uv sync", "uv pip install x", "poetry install", "pipenv shell",
          "python3 -m pytest", "deno run main.ts"}) {
        EXPECT_FALSE(RunnerShells::isPackageRunner(command)) << command;
    }
}
