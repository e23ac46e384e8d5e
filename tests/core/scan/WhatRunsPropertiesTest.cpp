#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/scan/WhatRuns.h"
#include "tests/core/scan/FoundName.h"
#include "tests/core/scan/WhatRunsTable.h"

#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::foundName;
using VintrelTests::joinedArguments;

namespace {

using Arguments = std::vector<std::string>;

/// Words that mean something to one of the programs that run others, and the tools' names.
class RandomWords {
public:
    explicit RandomWords(unsigned seed) : m_random(seed) {}

    std::string word() {
        static const std::vector<std::string> words{
            "vitest",
            "pytest",
            "jest",
            "playwright",
            "@playwright/mcp",
            "mcp-server-git",
            "/x/node_modules/.bin/vitest",
            "/x/site-packages/pytest/__main__.py",
            "node (vitest)",
            "(vitest",
            "run",
            "exec",
            "x",
            "tool",
            "test",
            "-m",
            "-c",
            "-e",
            "-p",
            "-r",
            "--",
            "-",
            "--package",
            "--from",
            "--exec",
            "-S",
            "-x",
            "A=1",
            "600",
            "npx",
            "npm",
            "node",
            "python3",
            "env",
            "nice",
            "sh",
            "sudo",
            "",
            " ",
            "vitest; true",
            "exec vitest",
            "a\nvitest\nb",
            "\xff",
            "--user-data-dir",
            "-profile",
            "--user-data-dir=/home/dev/.cache/ms-playwright-mcp/mcp-chrome-1",
            "/home/dev/.cache/ms-playwright/mcp-chrome-1"};
        return words[below(words.size())];
    }

    void append(Arguments& arguments, size_t most) {
        for (size_t left = below(most + 1); left > 0; --left) {
            arguments.push_back(word());
        }
    }

    size_t below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(m_random); }

private:
    std::mt19937 m_random;
};

void expectNowhere(const Arguments& arguments) {
    using enum ProcessKind;
    for (const ProcessKind kind :
         {pytest, vitest, jest, playwrightTest, playwrightMCP, chromeHelper, mcpServer}) {
        ASSERT_EQ(foundName(WhatRuns::foundIn(kind, arguments)), "nowhere")
            << rawValue(kind) << ": " << joinedArguments(arguments);
    }
}

/// Whatever stands behind these, the tool is nowhere.
void expectNowhereBehind(const std::vector<Arguments>& beginnings, unsigned seed) {
    RandomWords random(seed);
    for (const Arguments& beginning : beginnings) {
        for (int round = 0; round < 200; ++round) {
            Arguments arguments = beginning;
            random.append(arguments, 8);
            ASSERT_NO_FATAL_FAILURE(expectNowhere(arguments));
        }
    }
}

} // namespace

TEST(WhatRunsProperties, noArgumentsMakeAToolOfAProgramThatRunsNoOthers) {
    expectNowhereBehind({{"vim"},
                         {"/usr/bin/gvim"},
                         {"code"},
                         {"thunar"},
                         {"xterm", "-e"},
                         {"tmux", "new"},
                         {"mosh-server", "new", "--"},
                         {"ssh", "host"},
                         {"git"},
                         {"make"},
                         {"docker", "run"},
                         {"less"},
                         {"rsync"},
                         {"watch"},
                         {"/opt/My Tools/viewer", "a"},
                         {"", "a"},
                         {"soffice.bin"},
                         {"mpv"},
                         {"-vitest", "a"}},
                        1);
}

TEST(WhatRunsProperties, noArgumentsMakeAToolOfAScriptThatRunsNoOthers) {
    expectNowhereBehind({{"node", "server.js"},
                         {"node", "-r", "vitest", "server.js"},
                         {"python3", "backup.py"},
                         {"python3", "-m", "http.server"},
                         {"bash", "vitest-notes.sh"},
                         {"perl", "-e", "sleep"},
                         {"java", "-jar", "/opt/idea.jar"},
                         {"node", "-e", "0"},
                         {"tsx", "watch", "server.ts"}},
                        2);
}

TEST(WhatRunsProperties, noArgumentsMakeAToolOfAnythingElseThatWasToRun) {
    expectNowhereBehind({{"sh", "-c", "less x"},
                         {"sh", "-c", "./deploy.sh && vitest"},
                         {"npx", "serve"},
                         {"npm", "install"},
                         {"npm", "run", "build"},
                         {"timeout", "60", "ssh", "host"},
                         {"uv", "pip"},
                         {"uv", "run", "server.py"},
                         {"env", "A=1", "git"},
                         {"yarn", "add"},
                         {"xvfb-run", "-a", "gvim"},
                         {"google-chrome", "--"}},
                        3);
}

TEST(WhatRunsProperties, whatIsFoundStaysFoundWhateverFollows) {
    const std::vector<std::pair<ProcessKind, Arguments>> beginnings{
        {ProcessKind::vitest, {"/x/.bin/vitest", "run"}},   {ProcessKind::vitest, {"node", "/x/.bin/vitest"}},
        {ProcessKind::pytest, {"python3", "-m", "pytest"}}, {ProcessKind::vitest, {"npx", "vitest"}},
        {ProcessKind::vitest, {"env", "A=1", "vitest"}},    {ProcessKind::jest, {"sh", "-c", "jest"}}};
    RandomWords random(4);
    for (const auto& [kind, beginning] : beginnings) {
        const std::string found = foundName(WhatRuns::foundIn(kind, beginning));
        EXPECT_NE(found, "nowhere");
        for (int round = 0; round < 200; ++round) {
            Arguments arguments = beginning;
            random.append(arguments, 8);
            ASSERT_EQ(foundName(WhatRuns::foundIn(kind, arguments)), found) << joinedArguments(arguments);
        }
    }
}

TEST(WhatRunsProperties, emptyArgumentsBehindATitleChangeNothing) {
    RandomWords random(5);
    for (int round = 0; round < 1'000; ++round) {
        Arguments arguments;
        random.append(arguments, 6);
        Arguments padded = arguments;
        padded.resize(padded.size() + random.below(4));
        for (const ProcessKind kind : {ProcessKind::vitest, ProcessKind::chromeHelper}) {
            ASSERT_EQ(WhatRuns::foundIn(kind, padded), WhatRuns::foundIn(kind, arguments))
                << joinedArguments(arguments);
        }
    }
}
