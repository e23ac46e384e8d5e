// Ends the rows of real npm and npx: all of each row goes, and nothing beside it.
#include "VintrelCore/VintrelCore.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/RunnerProject.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

constexpr int runs = 20;

/// A package runner with a sibling in its process group, and with a child that has nothing to do with what it
/// runs.
struct Tree {
    Process shell;
    std::filesystem::path project;
    int32_t server = 0;
    int32_t runner = 0;
    std::vector<int32_t> bystanders{};
    std::vector<int32_t> row{};       // all that is to end
    std::vector<Ended> atTheLatest{}; // with the test
};

class EndingRunners : public ::testing::Test {
protected:
    void start(const std::string& command, const std::string& shell) {
        for (int run = 0; run < runs; ++run) {
            const std::string name = "shop-" + std::to_string(run);
            makeRunnerProject(m_folder, name);
            const std::string script = "sleep 200 & echo $! >sibling; "
                                       "sh -c 'sleep 200 & echo $! >child; echo $$ >runner; exec " +
                                       command + "'";
            m_trees.push_back({.shell = Process({.argv = {"/bin/sh", "-c", script},
                                                 .cwd = m_folder.path() / name,
                                                 .environment = runnerEnvironment(m_folder, shell),
                                                 .newSession = true,
                                                 .output = m_folder.path() / (name + "-output")}),
                               .project = m_folder.path() / name});
        }
        for (Tree& tree : m_trees) {
            tree.server = awaitServer(tree.project);
            tree.runner = numberIn(tree.project / "runner");
            tree.bystanders = {numberIn(tree.project / "sibling"), numberIn(tree.project / "child")};
            tree.row = {tree.runner, tree.server};
            for (const int32_t pid : {tree.runner, tree.server, tree.bystanders[0], tree.bystanders[1]}) {
                tree.atTheLatest.emplace_back(pid);
            }
        }
    }

    static int32_t numberIn(const std::filesystem::path& file) {
        int32_t number = 0;
        std::ifstream(file) >> number;
        return number;
    }

    /// The trees' rows; each has to be one row.
    std::vector<ProcessItem> rows() {
        const auto scan = CLIScan::scan({}, {.home = m_folder.path()});
        std::vector<ProcessItem> rows;
        for (Tree& tree : m_trees) {
            const auto row = std::ranges::find(scan.items, tree.runner, &ProcessItem::pid);
            const bool isListed = row != scan.items.end();
            EXPECT_TRUE(isListed) << tree.runner;
            if (isListed) {
                rows.push_back(*row);
                std::ranges::transform(row->folded, std::back_inserter(tree.row), &FoldedProcess::pid);
                EXPECT_EQ(row->folded.back().pid, tree.server);
            }
        }
        return rows;
    }

    void endAllAndCount(const std::string& command, const std::string& shell = "") {
        start(command, shell);
        const auto results = KillCore::killAll(rows(), {});
        const auto isEnded = [](const KillCore::KillResult& result) {
            return result ==
                   KillCore::KillResult{KillCore::KillOutcome::confirmed, KillCore::KillDetail::ended, {}};
        };
        EXPECT_EQ(std::ranges::count_if(results, isEnded), runs);
        const auto gone = std::ranges::count_if(
            m_trees, [](const Tree& tree) { return std::ranges::none_of(tree.row, isRunning); });
        const auto spared = std::ranges::count_if(
            m_trees, [](const Tree& tree) { return std::ranges::all_of(tree.bystanders, isRunning); });
        std::printf("%s: nothing of the row left in %d of %d, sibling and other child alive in %d of %d\n",
                    command.c_str(), static_cast<int>(gone), runs, static_cast<int>(spared), runs);
        EXPECT_EQ(gone, runs);
        EXPECT_EQ(spared, runs);
    }

    TemporaryFolder m_folder;
    std::list<Tree> m_trees;
};

} // namespace

TEST_F(EndingRunners, npmRunTakesItsShellAndServerAlong) {
    endAllAndCount("npm run dev");
}

TEST_F(EndingRunners, npxTakesItsShellAndServerAlong) {
    endAllAndCount("npx vite");
}

TEST_F(EndingRunners, npmTakesAServerOfNoKnownKindAlong) {
    endAllAndCount("npm run serve");
}

TEST_F(EndingRunners, npmWithBashTakesItsServerAlong) {
    endAllAndCount("npm run dev", "/bin/bash");
}
