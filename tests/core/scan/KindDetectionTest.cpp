#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/scan/ScanCore.h"
#include "tests/core/scan/KindName.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

using VintrelCore::ProcessKind;
using VintrelCore::ScanCore::detectKind;
using VintrelCore::ScanCore::hasDevModeFlag;
using VintrelTests::kindName;

namespace {

template <typename... Commands>
void expectKind(std::optional<ProcessKind> kind, const Commands&... commands) {
    for (const std::string_view command : {std::string_view(commands)...}) {
        EXPECT_EQ(kindName(detectKind(command)), kindName(kind)) << '"' << command << '"';
    }
}

/// A piece of a command line, surrounded by others, from which a kind is recognised.
struct Mark {
    std::string_view text;
    ProcessKind kind;
};

// From the first that counts to the last.
constexpr auto marks = std::to_array<Mark>({
    {"chrome --user-data-dir=/caches/ms-playwright-mcp/profile", ProcessKind::chromeHelper},
    {"chromium --user-data-dir=/caches/ms-playwright-mcp/profile", ProcessKind::chromeHelper},
    {"@playwright/mcp@latest", ProcessKind::playwrightMCP},
    {"/x/.bin/playwright-mcp", ProcessKind::playwrightMCP},
    {"@modelcontextprotocol/server-files", ProcessKind::mcpServer},
    {"mcp-server-git", ProcessKind::mcpServer},
    {"playwright test", ProcessKind::playwrightTest},
    {"pytest", ProcessKind::pytest},
    {"vitest", ProcessKind::vitest},
    {"vite", ProcessKind::vite},
    {"jest", ProcessKind::jest},
    {"uvicorn", ProcessKind::uvicorn},
    {"docker", ProcessKind::docker},
    {"next", ProcessKind::nextjs},
    {"next-server", ProcessKind::nextjs},
    {"astro", ProcessKind::astro},
    {"cargo", ProcessKind::cargo},
    {"/usr/local/go/bin/go run .", ProcessKind::goRun},
    {"ollama", ProcessKind::llmServer},
    {"/opt/llama-server-cuda", ProcessKind::llmServer},
    {"/opt/llama-cli-cuda", ProcessKind::llmServer},
    {"/x/node_modules/electron/dist/app", ProcessKind::electron},
    {"/x/node_modules/.bin/electron.cmd", ProcessKind::electron},
    {"npm", ProcessKind::npm},
    {"bun", ProcessKind::bun},
    {"node", ProcessKind::node},
});

} // namespace

TEST(DetectKind, knowsEveryMark) {
    for (const Mark& mark : marks) {
        expectKind(mark.kind, "start " + std::string(mark.text) + " now");
    }
}

TEST(DetectKind, letsTheEarlierOfTwoMarksDecide) {
    for (size_t first = 0; first < marks.size(); ++first) {
        for (size_t second = first + 1; second < marks.size(); ++second) {
            const std::string one(marks[first].text);
            const std::string other(marks[second].text);
            std::string forwards = "start ";
            forwards.append(one).append(" ").append(other).append(" now");
            std::string backwards = "start ";
            backwards.append(other).append(" ").append(one).append(" now");
            expectKind(marks[first].kind, forwards, backwards);
        }
    }
}

TEST(DetectKind, disregardsCase) {
    expectKind(ProcessKind::node, "NODE Server.js", "/usr/local/bin/Node");
    expectKind(ProcessKind::goRun, "Go Run ./cmd");
    expectKind(ProcessKind::mcpServer, "npx @ModelContextProtocol/Server-Files", "MCP-Server-git");
    expectKind(ProcessKind::electron, "/x/Node_Modules/Electron/dist/Electron.app/Contents/MacOS/Electron .");
    expectKind(ProcessKind::chromeHelper,
               "/Applications/Google Chrome --user-data-dir=/x/MS-Playwright-MCP/p");
    expectKind(ProcessKind::playwrightTest, "node Playwright.js TEST");
}

TEST(DetectKind, knowsNoKindForAnythingElse) {
    expectKind(std::nullopt, "", " ", "/usr/sbin/cron -f", "bash", "vim server.ts",
               "python3 -m http.server 8000", "python3 manage.py runserver", "npx serve", "pnpm dev",
               "yarn dev", "deno run main.ts");
}

TEST(DetectKind, tellsBrowserHelpersFromTheServerThatStartedThem) {
    expectKind(ProcessKind::chromeHelper,
               "/opt/google/chrome/chrome --type=renderer "
               "--user-data-dir=/home/dev/.cache/ms-playwright-mcp/profile",
               "/usr/lib/chromium/chromium --user-data-dir=/home/dev/.cache/ms-playwright-mcp/profile",
               "/home/dev/.cache/ms-playwright-mcp/mcp-chrome-1a2b");
    expectKind(ProcessKind::playwrightMCP,
               "/usr/lib/firefox/firefox -profile /home/dev/.cache/ms-playwright-mcp/profile",
               "npm exec @playwright/mcp@latest --headless", "node /x/node_modules/.bin/playwright-mcp",
               // A browser word alone makes no helper.
               "npx @playwright/mcp --browser chrome");
    expectKind(std::nullopt,
               "/opt/google/chrome/chrome --user-data-dir=/home/dev/.cache/ms-playwright/profile");
}

TEST(DetectKind, knowsMCPServersByTheirScopeOrPrefix) {
    expectKind(ProcessKind::mcpServer, "npm exec @modelcontextprotocol/server-filesystem /tmp",
               "node /x/node_modules/@modelcontextprotocol/inspector/cli.js", "uvx mcp-server-git",
               "/usr/bin/python3 -m x --name=mcp-server-", "mcp-server-time");
    expectKind(std::nullopt, "mcp-server", "uvx mcp-server --port 1", "/opt/mcp_server_git",
               "modelcontextprotocol");
    expectKind(ProcessKind::node, "node mcp-server/index.js");
}

TEST(DetectKind, takesPlaywrightWithTestAnywhereForATestRun) {
    expectKind(ProcessKind::playwrightTest, "npx playwright test",
               "node /x/node_modules/@playwright/test/cli.js", "node /home/tester/x/playwright.js",
               "testing-playwrights", "npx playwright run latest");
    expectKind(ProcessKind::node, "node /x/node_modules/playwright/cli.js install");
    expectKind(std::nullopt, "npx playwright codegen", "npx test");
}

TEST(DetectKind, takesWholeTokensOnly) {
    expectKind(ProcessKind::vite, "/usr/bin/node node_modules/.bin/vite --port 5173");
    expectKind(ProcessKind::vitest, "npx vitest run", "vitest");
    expectKind(ProcessKind::node, "node /x/node_modules/vitest/vitest.mjs run", "node (vitest 1)",
               "node ./node_modules/.bin/pnpm run dev", "node /x/jest.config.js", "node astro.config.mjs");
    expectKind(std::nullopt, "pytest-3 -q", "nodemon server.js", "dockerd", "docker-compose up",
               "gunicorn app", "cargo-watch -x run", "bunx serve", "ollama-proxy", "sh -c 'vite' --port 5173",
               "node\tserver.js", "/home/dev/.cargo/bin/rust-analyzer");
    expectKind(ProcessKind::docker, "/Applications/Docker.app/Contents/MacOS/com.docker.backend run");
}

TEST(DetectKind, putsTestRunnersBeforeWhatTheyRunUnder) {
    expectKind(ProcessKind::pytest, "docker run app pytest", "uv run pytest -q");
    expectKind(ProcessKind::jest, "npm exec jest", "bun run jest", "node /x/.bin/jest --watchAll");
    expectKind(ProcessKind::vitest, "vite /x/.bin/vitest");
}

TEST(DetectKind, putsDockerBeforeWhatAContainerRuns) {
    expectKind(ProcessKind::docker, "docker run --rm node:20 npm start", "docker exec -it web node server.js",
               "docker run next", "docker run ollama serve");
}

TEST(DetectKind, knowsNextByItsTokenOrItsServer) {
    expectKind(ProcessKind::nextjs, "next dev", "node /x/.bin/next start", "next-server (v14.2.35)",
               "/opt/my-next-servers");
    expectKind(ProcessKind::node, "node /x/.next/standalone/server.js", "node next.config.js");
    expectKind(std::nullopt, "nextcloud", "next_server");
}

TEST(DetectKind, knowsGoRunAtTheStartOrByPathOnly) {
    expectKind(ProcessKind::goRun, "go run .", "go run main.go", "/usr/local/go/bin/go run ./cmd/server",
               "time /usr/local/go/bin/go run .");
    expectKind(std::nullopt, "bash -c go run .", "time go run .", " go run .", "go run",
               "/usr/local/go/bin/go run", "go  run .", "go build .", "cargo_go run .",
               "/tmp/go-build12/b001/exe/server");
}

TEST(DetectKind, knowsModelServers) {
    expectKind(ProcessKind::llmServer, "ollama serve", "/usr/local/bin/ollama runner --model x", "ollama",
               "/opt/llama.cpp/llama-server -m x.gguf", "llama-cli", "sh /srv/my-llama-server.sh");
    expectKind(std::nullopt, "llama serve", "/opt/llama.cpp/main -m x.gguf", "ollamas serve");
}

TEST(DetectKind, knowsElectronOnlyUnderNodeModules) {
    expectKind(ProcessKind::electron, "/x/node_modules/electron/dist/electron .",
               "node /x/node_modules/.bin/electron .", "node_modules/electron-nightly/cli.js");
    expectKind(std::nullopt, "/usr/lib/electron/electron app.asar", "electron .",
               "/Applications/Chat.app/Contents/MacOS/Electron --type=renderer",
               "/x/node_modules/@electron/rebuild");
    expectKind(ProcessKind::node, "node /usr/bin/electron .");
}

TEST(DetectKind, comesToPackageRunnersAndInterpretersLast) {
    expectKind(ProcessKind::npm, "npm start", "npm", "bash -c npm run dev",
               "node /usr/lib/node_modules/npm x", "node /usr/bin/npm", "npm run bun");
    expectKind(ProcessKind::bun, "bun run dev", "/home/dev/.bun/bin/bun --hot server.ts", "bun run node");
    expectKind(ProcessKind::node, "node", "/usr/bin/node", "node server.js", "sh -c node server.js",
               "/usr/bin/node --watch server.js");
    expectKind(ProcessKind::astro, "npm exec astro dev", "node /x/.bin/astro dev");
    expectKind(ProcessKind::cargo, "bash -c cargo run", "/home/dev/.cargo/bin/cargo watch");
    expectKind(ProcessKind::uvicorn, "/usr/bin/python3 -m uvicorn app:app --reload");
}

TEST(HasDevModeFlag, seesADevelopmentEnvironment) {
    for (const std::string_view command : {"env NODE_ENV=development node server.js", "node_env=development",
                                           "cross-env Node_Env=Development next",
                                           "export NODE_ENV development", "MY_NODE_ENV=developmental x"}) {
        EXPECT_TRUE(hasDevModeFlag(command)) << command;
    }
    for (const std::string_view command :
         {"NODE_ENV=production node server.js", "NODE_ENV=dev node", "NODE_ENV = development",
          "NODE_ENV:development", "NODE_ENV  development", "development", "NODE_ENV=test x"}) {
        EXPECT_FALSE(hasDevModeFlag(command)) << command;
    }
}

TEST(HasDevModeFlag, seesEachFlagAsAWholeToken) {
    for (const std::string flag : {"--watch", "--dev", "--hot", "--reload"}) {
        EXPECT_TRUE(hasDevModeFlag("node server.js " + flag)) << flag;
        EXPECT_TRUE(hasDevModeFlag("node " + flag + " server.js")) << flag;
        EXPECT_TRUE(hasDevModeFlag(flag + " server.js")) << flag;
        EXPECT_TRUE(hasDevModeFlag(flag)) << flag;
        for (const std::string_view tail : {"er", "=1", "-dir x", "All x", ":x", ".js", "/x", "\tx"}) {
            EXPECT_FALSE(hasDevModeFlag("node " + flag + std::string(tail))) << flag << tail;
        }
        EXPECT_FALSE(hasDevModeFlag("node x=" + flag)) << flag;
        EXPECT_FALSE(hasDevModeFlag("node -" + flag)) << flag;
        EXPECT_FALSE(hasDevModeFlag("node " + flag.substr(1))) << flag;
        EXPECT_FALSE(hasDevModeFlag("node " + flag.substr(2))) << flag;
    }
}

TEST(HasDevModeFlag, disregardsCase) {
    EXPECT_TRUE(hasDevModeFlag("bun --HOT server.ts"));
}

TEST(HasDevModeFlag, seesNothingInOtherCommands) {
    EXPECT_FALSE(hasDevModeFlag(""));
    EXPECT_FALSE(hasDevModeFlag("npm run dev"));
    EXPECT_FALSE(hasDevModeFlag("node --watcher server.js"));
    EXPECT_FALSE(hasDevModeFlag("tsx watch server.ts"));
}
