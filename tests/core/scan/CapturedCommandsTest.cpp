#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/KindName.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

using VintrelCore::ProcessKind;
using VintrelCore::ScanCore::detectKind;
using VintrelCore::ScanCore::parsePSLine;
using VintrelTests::kindName;

namespace {

/// What ps printed of real process trees; every pid occurs once.
std::vector<std::string> capturedLines() {
    std::ifstream file(VINTREL_TEST_DATA "/ps-lines.txt");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.front() != '#') {
            lines.push_back(line);
        }
    }
    return lines;
}

struct Expectation {
    int32_t pid;
    std::string_view args; ///< the command line, or how it begins
    std::optional<ProcessKind> kind;
};

using enum ProcessKind;
constexpr auto noKind = std::nullopt;

const std::vector<Expectation> expectations{
    // npm, npx and the shells between: the specific kind wins over npm.
    {21562, "bash -c npm run dev; exit $?", npm},
    {21564, "npm run dev", npm},
    {21603, "sh -c vite --port 5199", vite},
    {21604, "node /home/dev/code/vite-app/node_modules/.bin/vite --port 5199", vite},
    {21617, "/home/dev/.npm-global/node_modules/@esbuild/", noKind},
    {21862, "bash -c npx vite --port 5196; exit $?", vite},
    {21863, "npm exec vite --port 5196", vite},
    {21874, "sh -c 'vite' --port 5196", noKind}, // a quote bounds no token
    {21875, "node /home/dev/code/vite-app/node_modules/.bin/vite --port 5196", vite},
    {21919, "npm start", npm},
    {21932, "sh -c node server.js", node},
    {21933, "node server.js", node},
    {22055, "sh -c concurrently \"vite --port 5197\" \"nodemon server.js\"", noKind},
    {22056, "node /home/dev/code/vite-app/node_modules/.bin/concurrently vite --port 5197", vite},
    {22063, "/bin/sh -c vite --port 5197", vite},
    {22065, "/bin/sh -c nodemon server.js", noKind},
    {22066, "node /home/dev/code/vite-app/node_modules/.bin/nodemon server.js", node},
    {22089, "/usr/bin/node server.js", node},
    // Next and Astro.
    {22298, "sh -c next dev -p 3199", nextjs},
    {22299, "node /home/dev/code/next-app/node_modules/.bin/next dev -p 3199", nextjs},
    {22390, "next-server (v14.2.35)", nextjs},
    {22729, "bash -c npx next dev -p 3197; exit $?", nextjs},
    {22747, "sh -c 'next' dev -p 3197", noKind},
    {22830, "sh -c astro dev --port 4399", astro},
    {22831, "node /home/dev/code/astro-app/node_modules/.bin/astro dev --port 4399", astro},
    // Test runners. Vitest renames itself, and parentheses bound no token.
    {26912, "bash -c npm test; exit $?", npm},
    {26959, "sh -c vitest --watch", vitest},
    {26960, "node (vitest)", node},
    {27115, "node (vitest 1)", node},
    {30524, "bash -c npm run jest; exit $?", npm}, // nor does a semicolon
    {30529, "npm run jest", jest},
    {30695, "sh -c jest --watchAll", jest},
    {30697, "node /home/dev/code/test-app/node_modules/.bin/jest --watchAll", jest},
    {13871, "bash -c /usr/bin/pytest test_a.py; exit $?", pytest},
    {13872, "/usr/bin/python3 /usr/bin/pytest test_a.py", pytest},
    {13892, "/usr/bin/python3 -m pytest -q test_a.py", pytest},
    {13896, "/usr/bin/python3 -u -c import sys;exec(", noKind},
    {14053, "bash -c npx playwright test --reporter=line; exit $?", playwrightTest},
    {14054, "npm exec playwright test --reporter=line", playwrightTest},
    {14065, "sh -c 'playwright' test --reporter=line", playwrightTest},
    {14066, "node /home/dev/code/pw-app/node_modules/.bin/playwright test", playwrightTest},
    {14078, "/usr/bin/node /home/dev/.npm-global/node_modules/@playwright/test/", playwrightTest},
    {14090, "/usr/lib/chromium/chromium --show-component-extension-options", noKind},
    {14113, "/usr/lib/chromium/chromium --type=zygote", noKind},
    // Other package runners, watchers and interpreters.
    {457, "npm exec tsx watch server.ts", npm},
    {455, "bash -c npx tsx watch server.ts; exit $?", noKind},
    {496, "node /home/dev/code/ts-app/node_modules/.bin/tsx watch server.ts", node},
    {528, "/usr/bin/node --require /home/dev/.npm-global/node_modules/tsx/", node},
    {2454, "bash -c ./node_modules/.bin/pnpm run dev; exit $?", noKind},
    {2455, "node ./node_modules/.bin/pnpm run dev", node},
    {2486, "node ./node_modules/.bin/yarn dev", node},
    {2498, "/usr/bin/node /home/dev/code/vite-app/node_modules/.bin/vite --port 5199", vite},
    {3182, "bash -c ./node_modules/.bin/bun run dev; exit $?", bun},
    {3183, "./node_modules/.bin/bun run dev", bun},
    {3293, "./node_modules/.bin/bun --hot server.ts", bun},
    {3302, "./node_modules/.bin/bun x vite --port 5195", vite},
    {3816, "node --watch server.js", node},
    {15383, "bash -c npm --prefix ts-app start; exit $?", npm},
    {15756, "node --inspect=0 server.js", node},
    // MCP servers.
    {3884, "bash -c npx mcp-server-everything stdio; exit $?", mcpServer},
    {3897, "node /home/dev/code/ts-app/node_modules/.bin/mcp-server-everything stdio", mcpServer},
    {3910, "npm exec @modelcontextprotocol/server-filesystem /tmp", mcpServer},
    {5005, "sh -c 'mcp-server-filesystem' /tmp", mcpServer},
    {15766, "/usr/bin/python3 -c import time;time.sleep(99) mcp-server-x", mcpServer},
    {7734, "npm exec @playwright/mcp@latest --headless", playwrightMCP},
    {7908, "sh -c 'playwright-mcp' --headless", playwrightMCP},
    {7909, "node /home/dev/.npm/_npx/9833c18b2d85bc59/node_modules/.bin/playwright-mcp", playwrightMCP},
    // Python servers.
    {13864, "/usr/bin/python3 -m http.server 8000", noKind},
    {13906, "/usr/bin/python3 -m uvicorn app:app --reload --port 8011", uvicorn},
    {13908, "/usr/bin/python3 -B -c from multiprocessing.spawn", noKind},
    {13941, "/usr/bin/python3 /usr/bin/gunicorn -w 2", noKind},
    {15161, "/usr/bin/python3 -m django runserver 8020", noKind},
    // Go and Rust.
    {13969, "bash -c go run .; exit $?", noKind}, // stands neither at the start nor behind a slash
    {13970, "go run .", goRun},
    {14006, "/tmp/go-build2791735256/b001/exe/gow", noKind},
    {14022, "bash -c cargo run; exit $?", cargo},
    {14023, "target/debug/devsrv", noKind},
    // Containers as the host sees them.
    {25421, "dockerd --iptables=false", noKind},
    {25429, "containerd --config", noKind},
    {25597, "/usr/bin/containerd-shim-runc-v2 -namespace moby", noKind},
    {25617, "/bin/node /app/server.js docker", docker},
    {25682, "/sbin/docker-init -- /bin/sh -c /bin/vite --port 5173 & sleep 1000", vite},
    {25714, "/bin/vite --port 5173", vite},
    {25783, "/bin/node orphan.js", node},
    {25924, "docker run --rm --network none --name c6 box /bin/node attached.js", docker},
};

} // namespace

TEST(CapturedCommands, areOfTheKindsThatAPersonSees) {
    std::set<int32_t> found;
    for (const std::string& line : capturedLines()) {
        const auto fields = parsePSLine(line);
        ASSERT_TRUE(fields) << line;
        for (const Expectation& expected : expectations) {
            if (expected.pid == fields->pid) {
                found.insert(expected.pid);
                EXPECT_TRUE(fields->args.starts_with(expected.args)) << expected.args << "\n" << line;
                EXPECT_EQ(kindName(detectKind(fields->args)), kindName(expected.kind)) << line;
            }
        }
    }
    EXPECT_EQ(found.size(), expectations.size()) << "some expectations stand for no captured line";
}

TEST(CapturedCommands, allParseIntoFieldsThatMakeUpTheLine) {
    const std::vector<std::string> lines = capturedLines();
    ASSERT_GE(lines.size(), 200U);
    for (const std::string& line : lines) {
        const auto fields = parsePSLine(line);
        ASSERT_TRUE(fields) << line;
        size_t position = 0;
        for (const std::string& field :
             {std::to_string(fields->pid), std::to_string(fields->ppid), std::string(fields->etime),
              std::string(fields->tty), std::string(fields->pcpu), std::string(fields->rss),
              std::string(fields->args)}) {
            position = line.find_first_not_of(' ', position);
            EXPECT_EQ(line.substr(position, field.size()), field) << line;
            position += field.size();
        }
        EXPECT_EQ(line.find_first_not_of(' ', position), std::string::npos) << line;
    }
}

TEST(CapturedCommands, ofPlainServersAndHelpersAreNoCandidates) {
    for (const std::string_view program : {"-m http.server", "/bin/esbuild --service", "/chromium --type=",
                                           "ptyhost.py", "bash --norc", "multiprocessing."}) {
        size_t seen = 0;
        for (const std::string& line : capturedLines()) {
            if (line.contains(program)) {
                ++seen;
                EXPECT_EQ(kindName(detectKind(parsePSLine(line)->args)), "no kind") << line;
            }
        }
        EXPECT_GE(seen, 2U) << program;
    }
}
