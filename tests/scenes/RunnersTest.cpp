// Real package runners that were left behind with what they run.
#include "tests/scenes/Scene.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"
#include "tests/system/RunnerProject.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace VintrelTests;

namespace fs = std::filesystem;

namespace {

/// The tests of a Python project, which wait.
constexpr std::string_view pytest = R"(
import os, time
with open("ready.tmp", "w") as file:
    file.write(str(os.getpid()))
os.rename("ready.tmp", "ready")
time.sleep(100)
)";

class LeftRunners : public Scene {
protected:
    using PIDs = std::vector<int32_t>;

    struct Tree {
        std::string project;
        Words argv;
        std::string kind;
        std::string shown; ///< of what runs
        size_t size;       ///< how many processes it is
    };

    void SetUp() override {
        ASSERT_TRUE(fs::exists(fs::path(VINTREL_TEST_PACKAGE_MANAGERS) / "pnpm"))
            << "pnpm and yarn are missing: ./test --all installs them";
    }

    /// Waits for the tool of a project, and returns the pids of the tree below `top`.
    static PIDs awaitTree(const fs::path& project, int32_t top) {
        const int32_t tool = awaitServer(project);
        auto tree = treeOf(top);
        EXPECT_TRUE(std::ranges::find(tree, tool) != tree.end()) << project;
        return tree;
    }

    /// Starts them all, waits for their tools, and returns the pids of each tree from the top.
    std::vector<PIDs> leaveAllBehind(const std::vector<Tree>& trees) {
        PIDs tops;
        for (const Tree& tree : trees) {
            tops.push_back(leaveBehind(tree.project, tree.argv));
        }
        std::vector<PIDs> left;
        for (size_t index = 0; index < trees.size(); ++index) {
            left.push_back(awaitTree(project(trees[index].project), tops[index]));
            EXPECT_EQ(left.back().size(), trees[index].size) << trees[index].project;
        }
        return left;
    }

    /// Each tree is a row of its kind in that bucket.
    void expectRows(const std::vector<Tree>& trees, const std::vector<PIDs>& left,
                    const std::string& bucket) {
        const auto rows = list();
        for (size_t index = 0; index < trees.size(); ++index) {
            const Tree& tree = trees[index];
            ASSERT_TRUE(rows.contains(left[index].front())) << tree.project;
            const TableRow& row = rows.at(left[index].front());
            EXPECT_EQ(row.bucket, bucket) << row.command;
            EXPECT_EQ(row.kind, tree.kind) << row.command;
            EXPECT_TRUE(row.command.contains(tree.shown)) << row.command;
        }
    }

    /// What "uv run pytest" needs: a stand-in for uv on the path, and an environment with pytest.
    void addPythonProject(const std::string& name) const {
        fs::create_symlink(VINTREL_TEST_UV, home().folder().makeFolder("bin") / "uv");
        const fs::path bin = home().folder().makeFolder(name + "/.venv/bin");
        fs::create_symlink("/usr/bin/python3", bin / "python");
        const fs::path script = home().folder().write(name + "/.venv/bin/pytest",
                                                      "#!" + (bin / "python").string() + std::string(pytest));
        fs::permissions(script, fs::perms::owner_all);
    }
};

} // namespace

TEST_F(LeftRunners, oneCleanEndsAllOfEachAndNothingElse) {
    const std::vector<Tree> trees{
        {"files",
         {"npm", "exec", "@modelcontextprotocol/server-filesystem", "/tmp"},
         "MCP server",
         ".bin/mcp-server-filesystem /tmp",
         3},
        {"browser", {"npx", "@playwright/mcp", "--headless"}, "playwright-mcp", ".bin/playwright-mcp", 3},
        {"workers", {"npm", "test", "--", "--pool=forks"}, "vitest", "node (vitest)", 4},
        {"jest", {"npm", "run", "jest"}, "Jest", ".bin/jest --watchAll", 3},
        {"end-to-end", {"npm", "exec", "playwright", "test"}, "Playwright test", ".bin/playwright test", 3},
        {"npx", {"npx", "vitest"}, "vitest", "node (vitest)", 3},
        {"uv", {"uv", "run", "pytest"}, "pytest", ".venv/bin/pytest", 2},
        {"pnpm", {"pnpm", "test"}, "vitest", "node (vitest)", 3},
        {"yarn", {"yarn", "test"}, "vitest", "node (vitest)", 3},
    };
    addPythonProject("uv");
    const auto left = leaveAllBehind(trees);
    const int32_t server = leaveBehind("server", {"npm", "run", "dev"});
    makeRunnerProject(home().folder(), "own");
    const Process own({.argv = {"npm", "test"},
                       .cwd = project("own"),
                       .environment = environmentOf("own"),
                       .newSession = true,
                       .output = project("own") / "output"});
    auto others = awaitTree(project("server"), server);
    std::ranges::copy(awaitTree(project("own"), own.pid()), std::back_inserter(others));
    endWithTest(others);
    letStraysAge();

    expectRows(trees, left, "safe");
    const auto outcome = home().run({"clean"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.contains("Cleaned 9 of 9, ~")) << outcome.output;
    for (const auto& tree : left) {
        EXPECT_TRUE(eventually([&] { return std::ranges::none_of(tree, isRunning); })) << outcome.output;
    }
    EXPECT_TRUE(std::ranges::all_of(others, isRunning)) << outcome.output;
}

TEST_F(LeftRunners, toolsThatRenameThemselvesEndWithTheirRow) {
    const std::vector<Tree> trees{{"pages", {"npm", "run", "serve"}, "Node", "webpack", 3},
                                  {"app", {"npm", "start"}, "Node", "ng serve", 3}};
    const auto left = leaveAllBehind(trees);
    letStraysAge();

    expectRows(trees, left, "review");
    EXPECT_EQ(list().size(), 2U);
    EXPECT_EQ(home().run({"clean"}).output, "No unprotected safe-to-clean processes.\n");
    for (const auto& tree : left) {
        EXPECT_TRUE(std::ranges::all_of(tree, isRunning));
        const auto outcome = home().run({"kill", std::to_string(tree.front())});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_TRUE(std::ranges::none_of(tree, isRunning)) << outcome.output;
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(LeftRunners, aShellAndItsToolAreOneRowAndEndTogether) {
    const int32_t shell = leaveBehind("shell", {"sh", "-c", "vitest --watch"});
    const auto tree = awaitTree(project("shell"), shell);
    ASSERT_EQ(tree.size(), 2U) << "the shell waits for the tool";
    letStraysAge();

    const auto rows = list();
    ASSERT_EQ(rows.size(), 1U);
    ASSERT_TRUE(rows.contains(tree[1]));
    EXPECT_EQ(rows.at(tree[1]).bucket, "safe");
    EXPECT_EQ(rows.at(tree[1]).kind, "vitest");
    const auto outcome = home().run({"clean"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.contains("Cleaned 1 of 1, ~")) << outcome.output;
    EXPECT_TRUE(std::ranges::none_of(tree, isRunning)) << outcome.output;
}

TEST_F(LeftRunners, aBusyWorkerThatOutlivesItsToolIsGoneAfterTheNextClean) {
    const int32_t runner = leaveBehind("busy", {"npm", "test", "--", "--pool=vmForks"});
    const auto tree = awaitTree(project("busy"), runner);
    ASSERT_EQ(tree.size(), 4U);
    endWithTest({tree.back()});
    letStraysAge();

    EXPECT_EQ(home().run({"clean"}).status, 0);
    EXPECT_FALSE(isRunning(runner));
    if (isRunning(tree.back())) {
        const auto rows = list();
        ASSERT_TRUE(rows.contains(tree.back()));
        EXPECT_EQ(rows.at(tree.back()).bucket, "safe");
        EXPECT_EQ(home().run({"clean"}).status, 0);
    }
    EXPECT_TRUE(std::ranges::none_of(tree, isRunning));
}
