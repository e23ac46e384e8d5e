// Real strays of many kinds in real repositories, and the table that the built program prints of them, row by
// row.
#include "tests/cli/VintrelRun.h"
#include "tests/support/Stray.h"

#include <fstream>
#include <list>
#include <sstream>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

class List : public ::testing::Test {
protected:
    List() {
        for (const char* repository : {"code/shop", "code/ledgra"}) {
            const auto folder = m_home.folder().makeFolder(repository);
            Process git(
                {.argv = {"git", "init", "-q", folder.string()}, .environment = m_home.environment()});
            EXPECT_EQ(git.wait(), 0);
        }
        // Everything is old at once.
        m_home.writeSettings("[General]\nelapsedThreshold=0.001\n"
                             "protectedProjects=~/code/ledgra\n"
                             "ignoredNames=storybook, jest @ ~/code/ledgra\n"
                             "customRules=my-indexer = Indexer\n"
                             "disabledKinds=astro\n");
    }

    int32_t start(std::vector<std::string> argv, const std::string& folder, int port = 0) {
        m_strays.emplace_back(
            StrayOptions{.argv = std::move(argv), .cwd = m_home.folder().makeFolder(folder), .port = port});
        return m_strays.back().pid();
    }

    VintrelHome m_home;
    std::list<Stray> m_strays;
};

void expectRow(const std::map<int32_t, TableRow>& rows, int32_t pid, const TableRow& expected) {
    ASSERT_TRUE(rows.contains(pid)) << expected.command;
    const TableRow& row = rows.at(pid);
    EXPECT_EQ(row.bucket, expected.bucket) << expected.command;
    EXPECT_EQ(row.kind, expected.kind) << expected.command;
    EXPECT_EQ(row.project, expected.project) << expected.command;
    EXPECT_EQ(row.command, expected.command);
    EXPECT_TRUE(row.age.ends_with('s')) << row.age;
    EXPECT_TRUE(row.ram.ends_with(" KB") || row.ram.ends_with(" MB")) << row.ram;
}

} // namespace

TEST_F(List, showsEveryStrayWithItsKindBucketAndProject) {
    const auto vitest = start({"node", "(vitest)"}, "code/shop/apps/web");
    const auto pytest = start({"/usr/bin/python3", "-m", "pytest", "-q"}, "code/shop");
    const auto jest = start({"node", "/x/.bin/jest"}, "code/shop");
    const auto protectedTest = start({"node", "/x/.bin/vitest"}, "code/ledgra/core");
    const auto mcp = start({"node", "/x/.bin/mcp-server-files"}, "notes");
    const auto playwright = start({"node", "/x/.bin/playwright-mcp", "--headless"}, "notes");
    const auto listening = start({"vitest", "--api"}, "code/shop", freeRegisteredPort());
    const auto vite = start({"node", "/x/.bin/vite", "--port", "5199"}, "code/shop/apps/admin");
    const auto next = start({"next-server", "(v14.2.35)"}, "code/shop");
    const auto uvicorn = start({"/usr/bin/python3", "-m", "uvicorn", "app:app"}, "code/shop/api");
    const auto node = start({"node", "server.js"}, "code/shop");
    const auto custom = start({"/opt/tools/My-Indexer", "--all"}, "code/shop");
    const auto unusual = start({"node", "/x/.bin/vite"}, "notes/Größe 漢字 👨‍👩‍👧");
    const auto ignored = start({"node", "StoryBook", "dev"}, "code/shop");
    const auto ignoredThere = start({"node", "/x/.bin/jest", "-w"}, "code/ledgra/core");
    const auto disabled = start({"node", "/x/.bin/astro", "dev"}, "code/shop");

    letStraysAge();
    const auto outcome = m_home.run({"list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    const auto rows = parseTable(outcome.output);
    expectRow(rows, vitest, {"safe", "vitest", "", "", "shop/apps/web", "node (vitest)"});
    expectRow(rows, pytest, {"safe", "pytest", "", "", "shop", "/usr/bin/python3 -m pytest -q"});
    expectRow(rows, jest, {"safe", "Jest", "", "", "shop", "node /x/.bin/jest"});
    expectRow(rows, protectedTest, {"safe 🔒", "vitest", "", "", "ledgra/core", "node /x/.bin/vitest"});
    expectRow(rows, mcp, {"safe", "MCP server", "", "", "notes", "node /x/.bin/mcp-server-files"});
    expectRow(rows, playwright,
              {"safe", "playwright-mcp", "", "", "notes", "node /x/.bin/playwright-mcp --headless"});
    expectRow(rows, listening, {"review", "vitest", "", "", "shop", "vitest --api"});
    expectRow(rows, vite, {"review", "Vite", "", "", "shop/apps/admin", "node /x/.bin/vite --port 5199"});
    expectRow(rows, next, {"review", "Next.js", "", "", "shop", "next-server (v14.2.35)"});
    expectRow(rows, uvicorn,
              {"review", "uvicorn", "", "", "shop/api", "/usr/bin/python3 -m uvicorn app:app"});
    expectRow(rows, node, {"review", "Node", "", "", "shop", "node server.js"});
    expectRow(rows, custom, {"review", "Indexer", "", "", "shop", "/opt/tools/My-Indexer --all"});
    expectRow(rows, unusual,
              {"review", "Vite", "", "", "Größe 漢字 👨‍👩‍👧", "node /x/.bin/vite"});
    for (const int32_t absent : {ignored, ignoredThere, disabled}) {
        EXPECT_FALSE(rows.contains(absent)) << absent;
    }
}

TEST_F(List, safeShowsTheSafeBucketOnly) {
    const auto safe = start({"vitest"}, "code/shop");
    const auto protectedTest = start({"vitest"}, "code/ledgra");
    const auto review = start({"node", "server.js"}, "code/shop");
    letStraysAge();
    const auto outcome = m_home.run({"list", "--safe"});
    EXPECT_EQ(outcome.status, 0);
    const auto rows = parseTable(outcome.output);
    EXPECT_TRUE(rows.contains(safe));
    EXPECT_TRUE(rows.contains(protectedTest));
    EXPECT_FALSE(rows.contains(review));
    for (const auto& [pid, row] : rows) {
        EXPECT_TRUE(row.bucket.starts_with("safe")) << pid;
    }
}

TEST_F(List, printsUTF8WhateverTheLocale) {
    const auto pid = start({"node", "server.js"}, "notes/Größe");
    for (const char* locale : {"C", "POSIX", "de_DE.ISO-8859-1", "en_US.UTF-8"}) {
        const auto rows = parseTable(m_home.run({"list"}, {}, {{"LC_ALL", locale}}).output);
        ASSERT_TRUE(rows.contains(pid)) << locale;
        EXPECT_EQ(rows.at(pid).project, "Größe") << locale;
    }
}

TEST_F(List, printsWholeCommandsIntoAPipe) {
    const std::string argument(3'000, 'x');
    const auto pid = start({"node", argument}, "notes");
    for (const auto& environment : {std::map<std::string, std::string>{}, {{"COLUMNS", "60"}}}) {
        EXPECT_EQ(parseTable(m_home.run({"list"}, {}, environment).output).at(pid).command,
                  "node " + argument);
    }
}

TEST_F(List, startsNoOtherProgram) {
    start({"vitest"}, "code/shop");
    const auto trace = m_home.path() / "trace";
    const std::vector<std::string> strace{"strace", "-f", "-e", "trace=execve", "-o", trace.string()};
    // A program under the address sanitizer cannot look for leaks while it is traced.
    EXPECT_EQ(m_home.run({"list"}, strace, {{"ASAN_OPTIONS", "detect_leaks=0"}}).status, 0);
    std::stringstream text;
    text << std::ifstream(trace).rdbuf();
    std::map<std::string, int> runs;
    for (std::string line; std::getline(text, line);) {
        const auto program = line.find("execve(\"");
        const bool failed =
            line.contains("= -1"); // one that goes on while another is reported has no result yet
        if (program != std::string::npos && !failed) {
            const auto start = program + 8;
            ++runs[std::filesystem::path(line.substr(start, line.find('"', start) - start)).filename()];
        }
    }
    EXPECT_EQ(runs, (std::map<std::string, int>{{"vintrel", 1}}));
}
