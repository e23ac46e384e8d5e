// Real npm and npx around small tools of a project that the test makes. Nothing comes from a network.
#include "VintrelCore/VintrelCore.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/RunnerProject.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

class PackageRunners : public ::testing::Test {
protected:
    PackageRunners() { makeRunnerProject(m_folder, "shop"); }

    ~PackageRunners() override {
        for (const int32_t pid : m_started) {
            const Ended end(pid);
        }
    }

    /// Starts a runner in the project, and waits for its server, whose pid is returned.
    int32_t start(const std::vector<std::string>& argv, const std::string& shell = "") {
        const auto environment = runnerEnvironment(m_folder, shell);
        m_runner.emplace(ProcessOptions{.argv = argv,
                                        .cwd = m_folder.path() / "shop",
                                        .environment = environment,
                                        .newSession = true,
                                        .output = m_folder.path() / "output"});
        const int32_t pid = awaitServer(m_folder.path() / "shop");
        m_started.push_back(pid);
        return pid;
    }

    [[nodiscard]] std::vector<ProcessItem> rowsOf(const CLIScan::Result& result,
                                                  std::vector<int32_t> pids) const {
        std::vector<ProcessItem> rows;
        std::ranges::copy_if(result.items, std::back_inserter(rows), [&](const ProcessItem& item) {
            return std::ranges::find(pids, item.pid) != pids.end();
        });
        return rows;
    }

    /// The one row for runner and server, checked for what all such rows have in common.
    ProcessItem theRow(int32_t serverPID, size_t shells) {
        const auto result = CLIScan::scan({}, {.home = m_folder.path()});
        const auto rows = rowsOf(result, {m_runner->pid(), serverPID});
        EXPECT_EQ(rows.size(), 1U);
        if (rows.size() != 1) {
            return {};
        }
        const ProcessItem& row = rows.front();
        EXPECT_EQ(row.pid, m_runner->pid());
        EXPECT_EQ(row.startTime, Platform::startTime(m_runner->pid()));
        EXPECT_EQ(row.folded.size(), shells + 1);
        EXPECT_EQ(row.folded.back(),
                  (FoldedProcess{.pid = serverPID, .startTime = Platform::startTime(serverPID)}));
        for (const FoldedProcess& process : row.folded) {
            EXPECT_TRUE(process.startTime);
            m_started.push_back(process.pid);
        }
        const int64_t together = memoryOf(m_runner->pid()) + memoryOf(serverPID);
        EXPECT_NEAR(static_cast<double>(row.rssKB), static_cast<double>(together),
                    0.1 * static_cast<double>(together));
        EXPECT_EQ(result.cwds.at(row.pid).fullPath, "~/shop");
        EXPECT_EQ(result.cwds.at(serverPID).fullPath, "~/shop"); // what is folded in counts for what protects
        return row;
    }

    static int64_t memoryOf(int32_t pid) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        for (std::string word; status >> word;) {
            if (word == "VmRSS:") {
                int64_t kilobytes = 0;
                status >> kilobytes;
                return kilobytes;
            }
        }
        return 0;
    }

    static int32_t parentOf(int32_t pid) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        int32_t parent = 0;
        for (std::string word; parent == 0 && status >> word;) {
            if (word == "PPid:") {
                status >> parent;
            }
        }
        return parent;
    }

    TemporaryFolder m_folder;
    std::optional<Process> m_runner;
    std::vector<int32_t> m_started;
};

} // namespace

TEST_F(PackageRunners, npmRunIsOneRow) {
    const ProcessItem row = theRow(start({"npm", "run", "dev"}), 1);
    EXPECT_EQ(row.kind, ProcessKind::vite);
    EXPECT_TRUE(row.command.contains("node_modules/.bin/vite --port 5199")) << row.command;
}

TEST_F(PackageRunners, npxIsOneRow) {
    const ProcessItem row = theRow(start({"npx", "vite", "--port", "5196"}), 1);
    EXPECT_EQ(row.kind, ProcessKind::vite);
    EXPECT_TRUE(row.command.contains("node_modules/.bin/vite --port 5196")) << row.command;
}

TEST_F(PackageRunners, aToolThatRenamesItselfKeepsItsKind) {
    const ProcessItem row = theRow(start({"npm", "test"}), 1);
    EXPECT_EQ(row.kind, ProcessKind::vitest);
    EXPECT_EQ(row.command, "node (vitest)");
}

TEST_F(PackageRunners, withBashAsItsShellThereIsNoneInBetween) {
    const ProcessItem row = theRow(start({"npm", "run", "dev"}, "/bin/bash"), 0);
    EXPECT_EQ(row.kind, ProcessKind::vite);
}

TEST_F(PackageRunners, aServerThatNamesNoToolBelongsToTheRow) {
    EXPECT_EQ(theRow(start({"npm", "run", "serve"}), 1).pid, m_runner->pid());
}

TEST_F(PackageRunners, aServerThatNamesNoToolBelongsToTheRowWithoutAShellToo) {
    EXPECT_EQ(theRow(start({"npm", "run", "serve"}, "/bin/bash"), 0).pid, m_runner->pid());
}

TEST_F(PackageRunners, aShellThatItsRunnerLeftBehindEndsWithWhatItStarted) {
    const int32_t server = start({"npm", "test"});
    const int32_t shell = parentOf(server);
    ASSERT_NE(shell, m_runner->pid());
    m_started.push_back(shell);
    m_runner->signal(SIGKILL);
    m_runner->wait();

    const auto rows = rowsOf(CLIScan::scan({}, {.home = m_folder.path()}), {shell, server});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].pid, server);
    EXPECT_EQ(rows[0].kind, ProcessKind::vitest);
    EXPECT_TRUE(rows[0].isOrphan());
    EXPECT_EQ(rows[0].folded,
              (std::vector{FoldedProcess{.pid = shell, .startTime = Platform::startTime(shell)}}));
    EXPECT_EQ(KillCore::killAll(rows, {}).front(),
              (KillCore::KillResult{KillCore::KillOutcome::confirmed, KillCore::KillDetail::ended, {}}));
    EXPECT_FALSE(isRunning(shell));
    EXPECT_FALSE(isRunning(server));
}
