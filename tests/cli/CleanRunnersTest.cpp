// "vintrel clean" on what package runners leave behind. The processes are idle; their places in the tree and
// their command lines are those of real ones.
#include "tests/cli/VintrelRun.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

constexpr const char* everybodyIsOld = "[General]\nelapsedThreshold=0.000001\n";

using Words = std::vector<std::string>;

const std::vector<Words> abandoned{
    {"npm exec @modelcontextprotocol/server-filesystem /tmp", "--below", "sh", "-c",
     "'mcp-server-filesystem' /tmp", "--below", "node",
     "/home/dev/.npm/_npx/a3241bba59c344f5/node_modules/.bin/mcp-server-filesystem", "/tmp"},
    {"npm exec @playwright/mcp@latest --headless", "--below", "sh", "-c", "'playwright-mcp' --headless",
     "--below", "node", "/home/dev/.npm/_npx/9833c18b2d85bc59/node_modules/.bin/playwright-mcp",
     "--headless"},
    {"npm test", "--below", "sh", "-c", "vitest --watch", "--below", "node (vitest)", "--worker",
     "node (vitest 1)"},
    {"npm run jest", "--below", "sh", "-c", "jest --watchAll", "--below", "node",
     "/home/dev/shop/node_modules/.bin/jest", "--watchAll"},
    {"npm exec playwright test", "--below", "sh", "-c", "'playwright' test", "--below", "node",
     "/home/dev/shop/node_modules/.bin/playwright", "test"},
    {"npm exec vitest", "--below", "sh", "-c", "'vitest'", "--below", "node (vitest)"},
    {"uv", "run", "pytest", "--below", "/home/dev/api/.venv/bin/python", "/home/dev/api/.venv/bin/pytest"},
    {"node", "/usr/local/bin/pnpm", "test", "--below", "sh", "-c", "vitest", "--below", "node (vitest)"},
    {"sh", "-c", "vitest --watch", "--below", "node (vitest)"},
};

const std::vector<Words> notSafe{
    {"npm run dev", "--below", "sh", "-c", "vite", "--below", "node",
     "/home/dev/shop/node_modules/.bin/vite"},
    {"npm run serve", "--below", "sh", "-c", "php -S localhost:8000", "--below", "php", "-S",
     "localhost:8000"},
    {"sh", "-c", "next dev", "--below", "node", "/home/dev/shop/node_modules/.bin/next", "dev"},
    {"node", "/home/dev/agent/server.js", "--below", "npm test", "--below", "sh", "-c", "vitest", "--below",
     "node (vitest)"},
};

void addStrays(std::list<Stray>& strays, const std::vector<Words>& trees) {
    for (const Words& tree : trees) {
        strays.emplace_back(StrayOptions{.argv = tree});
        const auto isDown = [](const std::string& word) { return word == "--below" || word == "--worker"; };
        EXPECT_EQ(strays.back().pids().size(), 1U + static_cast<size_t>(std::ranges::count_if(tree, isDown)));
    }
}

} // namespace

TEST(CleanRunners, endsAllOfEveryAbandonedTreeAtOnceAndNothingElse) {
    const VintrelHome home;
    home.writeSettings(everybodyIsOld);
    std::list<Stray> strays;
    std::list<Stray> others;
    addStrays(strays, abandoned);
    addStrays(others, notSafe);
    letStraysAge();

    const auto table = parseTable(home.run({"list"}).output);
    for (const Stray& stray : strays) {
        const bool isShell = stray.pid() == strays.back().pid();
        const int32_t row = stray.pids()[isShell ? 1 : 0];
        ASSERT_TRUE(table.contains(row)) << row;
        EXPECT_EQ(table.at(row).bucket, "safe") << table.at(row).command;
    }
    const auto outcome = home.run({"clean"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.contains("Cleaned 9 of 9, ~")) << outcome.output;
    for (const Stray& stray : strays) {
        EXPECT_TRUE(eventually([&] { return std::ranges::none_of(stray.pids(), isRunning); }))
            << stray.pid() << "\n"
            << outcome.output;
    }
    for (const Stray& other : others) {
        EXPECT_TRUE(std::ranges::all_of(other.pids(), isRunning)) << other.pid() << "\n" << outcome.output;
    }
}

TEST(CleanRunners, aKilledRunnersServerEndsWithItWhateverItIs) {
    const VintrelHome home;
    const Stray stray({.argv = notSafe[1]});
    letStraysAge();
    const std::string runner = std::to_string(stray.pid());
    EXPECT_EQ(home.run({"kill", std::to_string(stray.pids()[2])}).errors,
              "vintrel: " + std::to_string(stray.pids()[2]) + " is part of " + runner + ": vintrel kill " +
                  runner + "\n");
    const auto outcome = home.run({"kill", runner});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(std::ranges::none_of(stray.pids(), isRunning)) << outcome.output;
}
