// "vintrel clean" and programs that are merely told the name of a tool: an address, a file, a folder. These
// tests see only the processes that they started.
#include "tests/cli/VintrelRun.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

class CleanWhatRuns : public ::testing::Test {
protected:
    CleanWhatRuns() { m_home.writeSettings("[General]\nelapsedThreshold=0.000001\n"); }

    struct Case {
        std::string kind;
        std::vector<std::string> argv;
    };

    void start(const std::vector<Case>& cases, const std::filesystem::path& program = {}) {
        for (const Case& each : cases) {
            m_strays.emplace_back(StrayOptions{.argv = each.argv, .program = program});
            m_kinds.push_back(each.kind);
        }
        letStraysAge();
    }

    /// Each of the strays is listed as such, with its kind and the arguments that it has.
    void expectAllListedAs(const std::string& bucket) {
        const auto table = parseTable(m_home.run({"list"}).output);
        auto kind = m_kinds.begin();
        for (const Stray& stray : m_strays) {
            ASSERT_TRUE(table.contains(stray.pid())) << *kind;
            const TableRow& row = table.at(stray.pid());
            EXPECT_EQ(row.bucket, bucket) << row.command;
            EXPECT_EQ(row.kind, *kind++) << row.command;
        }
    }

    [[nodiscard]] long countRunning() const {
        return std::ranges::count_if(m_strays, [](const Stray& stray) { return isRunning(stray.pid()); });
    }

    VintrelHome m_home;
    std::list<Stray> m_strays;
    std::list<std::string> m_kinds;
};

} // namespace

TEST_F(CleanWhatRuns, whatIsNamedOnlyInArgumentsIsListedForReviewAndSurvives) {
    start({{"vitest", {"firefox-esr", "https://github.com/vitest-dev/vitest"}},
           {"Playwright test", {"gvim", "/home/dev/src/shop/e2e/playwright/login.test.ts"}},
           {"vitest", {"xterm", "-e", "/home/dev/bin/vitest", "--watch"}},
           {"vitest", {"rsync", "-a", "src/vitest", "backup/"}},
           {"vitest", {"xfce4-terminal", "--working-directory", "/home/dev/src/vitest"}},
           {"Jest", {"less", "a file of jest"}},                 // one argument with blanks is no command
           {"Playwright test", {"python3", "tests/playwright"}}, // runs what is in that folder
           {"vitest", {"sh", "-c", ". ./start-all.sh; read name; vitest --watch"}},
           {"pytest", {"sh", "-c", "read name; make", "pytest"}}});
    expectAllListedAs("review");

    const auto outcome = m_home.run({"clean"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "No unprotected safe-to-clean processes.\n");
    EXPECT_EQ(countRunning(), std::ssize(m_strays));
}

TEST_F(CleanWhatRuns, whatRunsIsStillSafe) {
    start({{"vitest", {"node (vitest)"}}, // in one piece, as a title is
           {"vitest", {"node (vitest 2)", "", "", ""}},
           {"Jest", {"node", "/home/dev/shop/node_modules/.bin/jest"}},
           {"pytest", {"python3", "-m", "pytest"}},
           {"playwright-mcp", {"npx", "@playwright/mcp"}},
           {"MCP server", {"uvx", "mcp-server-git"}},
           {"vitest", {"env", "CI=1", "vitest"}},
           {"vitest", {"timeout", "600", "npx", "vitest"}},
           {"vitest", {"/home/dev/my project/node_modules/.bin/vitest", "--watch"}},
           {"Chrome (playwright-mcp)",
            {"/opt/chrome/chrome", "--user-data-dir=/home/dev/.cache/ms-playwright/mcp-chrome-1a2b"}},
           {"Chrome (playwright-mcp)",
            {"/opt/chrome/chrome", "--user-data-dir=/home/dev/.cache/ms-playwright-mcp/mcp-chrome"}}});
    expectAllListedAs("safe");

    const auto outcome = m_home.run({"clean"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.contains("Cleaned 11 of 11, ~")) << outcome.output;
    EXPECT_EQ(countRunning(), 0);
}

TEST_F(CleanWhatRuns, aToolThatCallsItselfByAnotherNameIsListedForItsInterpreter) {
    const auto node = m_home.path() / "bin/node";
    m_home.folder().makeFolder("bin");
    start({{"Node", {"webpack"}}, {"Node", {"ng serve"}}, {"Node", {"ng", "mcp"}}}, node);
    expectAllListedAs("review");

    EXPECT_EQ(m_home.run({"clean"}).status, 0);
    EXPECT_EQ(countRunning(), 3);
    const auto outcome = m_home.run({"kill", std::to_string(m_strays.front().pid())});
    EXPECT_TRUE(outcome.output.starts_with("Node ")) << outcome.output;
    EXPECT_EQ(countRunning(), 2);
}
