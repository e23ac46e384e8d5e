// Real npm and npx around small tools of a project that the test makes. Nothing comes from a network.
#include "VintrelCore/VintrelCore.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

constexpr std::string_view manifest = R"({
  "name": "shop", "version": "1.0.0", "private": true,
  "scripts": { "dev": "vite --port 5199", "test": "vitest --watch" }
})";

/// A server that says which process it is, and stays. It holds some memory, so that sums can be told apart.
constexpr std::string_view server = R"(#!/usr/bin/env node
const fs = require('fs');
TITLE
fs.writeFileSync('ready.tmp', String(process.pid));
fs.renameSync('ready.tmp', 'ready');
setInterval(() => {}, 1000);
setTimeout(() => process.exit(0), 100000);
)";

class PackageRunners : public ::testing::Test {
protected:
    PackageRunners() {
        m_folder.write("shop/package.json", manifest);
        addTool("vite", "");
        addTool("vitest", "process.title = 'node (vitest)';");
    }

    ~PackageRunners() override {
        for (const int32_t pid : m_started) {
            const Ended end(pid);
        }
    }

    void addTool(const std::string& name, const std::string& title) {
        std::string script(server);
        script.replace(script.find("TITLE"), 5, title);
        const auto path = m_folder.write("shop/node_modules/.bin/" + name, script);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    /// Starts a runner in the project, and waits for its server, whose pid is returned.
    int32_t start(const std::vector<std::string>& argv, const std::string& shell = "") {
        const auto home = m_folder.makeFolder("home");
        std::map<std::string, std::string> environment{
            {"HOME", home.string()}, {"npm_config_update_notifier", "false"}, {"npm_config_offline", "true"}};
        if (!shell.empty()) {
            environment["npm_config_script_shell"] = shell;
        }
        m_runner.emplace(ProcessOptions{.argv = argv,
                                        .cwd = m_folder.path() / "shop",
                                        .environment = environment,
                                        .newSession = true,
                                        .output = m_folder.path() / "output"});
        const auto ready = m_folder.path() / "shop/ready";
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(ready); }, std::chrono::seconds(30)));
        int32_t pid = 0;
        std::ifstream(ready) >> pid;
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
