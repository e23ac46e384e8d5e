#include "VintrelCore/scan/ToolNames.h"

#include "VintrelCore/scan/GoBetweens.h"

#include <string_view>

#include <gtest/gtest.h>

namespace ToolNames = VintrelCore::ToolNames;
namespace GoBetweens = VintrelCore::GoBetweens;
using enum VintrelCore::ProcessKind;

TEST(ToolNames, arePlainWithoutSuffixAndVersion) {
    EXPECT_EQ(ToolNames::plainName("vitest.mjs"), "vitest");
    EXPECT_EQ(ToolNames::plainName("yarn-1.22.22.cjs"), "yarn");
    EXPECT_EQ(ToolNames::plainName("python3.11"), "python");
    EXPECT_EQ(ToolNames::plainName("node-18"), "node");
    EXPECT_EQ(ToolNames::plainName("py.test"), "py.test");
    EXPECT_EQ(ToolNames::plainName("vitest.config.ts"), "vitest.config");
    EXPECT_EQ(ToolNames::plainName("vitest."), "vitest.");
    EXPECT_EQ(ToolNames::plainName("-2"), "-");
    EXPECT_EQ(ToolNames::plainName("2.0"), "2.0");
    EXPECT_EQ(ToolNames::plainName(""), "");
}

TEST(ToolNames, arePlainWithoutAnUnfinishedVersion) {
    EXPECT_EQ(ToolNames::plainNameOfPrerelease("yarn-4.0.0-rc.53.cjs"), "yarn");
    EXPECT_EQ(ToolNames::plainNameOfPrerelease("yarn-1.23.0-20220130.1630.js"), "yarn");
    for (const char* name : {"yarn-4.0.0.cjs", "yarn-4.0.0-rc.53", "yarn-lint.js", "yarn-4.0.0-lint.js",
                             "-.js", "yarn-rc.1.js", ".js", "-", ""}) {
        EXPECT_EQ(ToolNames::plainNameOfPrerelease(name), "") << name;
    }
}

TEST(ToolNames, takeTheInnermostPackageOfAPath) {
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/vitest/dist/cli.js"), "vitest");
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/vitest/node_modules/vite/bin/vite.js"), "vite");
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/@playwright/mcp/cli.js"), "@playwright/mcp");
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/@playwright"), "");
    EXPECT_EQ(ToolNames::packageOf("/x/.npm/_npx/9833c18b/node_modules/.bin/playwright-mcp"),
              "playwright-mcp");
    EXPECT_EQ(ToolNames::packageOf("/usr/lib/python3/dist-packages/mcp_server_git/__main__.py"),
              "mcp-server-git");
    EXPECT_EQ(ToolNames::packageOf("node_modules/jest/bin/jest.js"), "jest");
    EXPECT_EQ(ToolNames::packageOf("/home/dev/vitest/server.js"), "");
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules"), "");
    EXPECT_EQ(ToolNames::packageOf(""), "");
}

TEST(ToolNames, followAPathUpwards) {
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/.bin/../vitest/vitest.mjs"), "vitest");
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/vitest/../../server.js"), "");
    EXPECT_EQ(ToolNames::packageOf("../../node_modules/./vitest/vitest.mjs"), "vitest");
}

TEST(ToolNames, takeNoPackagesFolderForAFileInIt) {
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/vitest"), "");
    EXPECT_EQ(ToolNames::packageOf("/x/node_modules/@playwright/mcp"), "");
    EXPECT_EQ(ToolNames::packageOf("/x/.bin/vitest/server.js"), "");
}

TEST(ToolNames, knowWhereProgramsAreInstalled) {
    for (const std::string_view path :
         {"/usr/bin/pytest", "/bin/pytest", "~/.local/bin/pytest", "venv/bin/pytest",
          "/home/dev/.pyenv/shims/pytest", ".bin/vitest", "node_modules/vitest/a.js",
          "/x/site-packages/pytest/__main__.py", ".yarn/releases/yarn-4.1.0.cjs",
          "/home/dev/.cache/ms-playwright/webkit-1/run"}) {
        EXPECT_TRUE(ToolNames::isInstalled(path)) << path;
    }
    for (const std::string_view path :
         {"pytest", "./pytest", "bin/pytest", "./bin/pytest", "/home/dev/src/shop/bin/pytest",
          "tools/bin/pytest", "tests/playwright", "/usr/bin/pytest/", "/usr/bin/..", "/usr/bin/.",
          "/home/dev/bin/tools/vitest", "/usr/bin", "/", ""}) {
        EXPECT_FALSE(ToolNames::isInstalled(path)) << path;
    }
}

TEST(ToolNames, takeOnlyInstalledScriptsForTheTool) {
    EXPECT_TRUE(ToolNames::isToolsScript(pytest, "/usr/bin/pytest-3"));
    EXPECT_TRUE(ToolNames::isToolsScript(vitest, "/x/node_modules/vitest/vitest.mjs"));
    EXPECT_FALSE(ToolNames::isToolsScript(vitest, "/x/node_modules/other/bin/vitest"));
    EXPECT_FALSE(ToolNames::isToolsScript(vitest, "/x/bin/vitest.mjs"));
    EXPECT_FALSE(ToolNames::isToolsScript(playwrightTest, "tests/playwright"));
    EXPECT_TRUE(ToolNames::isToolsFile(playwrightTest, "tests/playwright"));
    EXPECT_FALSE(ToolNames::isToolsFile(playwrightTest, "tests/playwright.py"));
}

TEST(ToolNames, knowScriptsOfProjectsByWordsThatSayTheyTest) {
    EXPECT_TRUE(ToolNames::isToolsPackage(vitest, "vitest:watch"));
    EXPECT_TRUE(ToolNames::isToolsPackage(vitest, "test:unit:vitest"));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, "docs:vitest"));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, "test:unit"));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, "vitest.ts"));
}

TEST(ToolNames, knowPackagesWithScopeAndVersion) {
    EXPECT_TRUE(ToolNames::isToolsPackage(playwrightMCP, "@playwright/mcp@latest"));
    EXPECT_TRUE(ToolNames::isToolsPackage(playwrightMCP, "@cloudflare/playwright-mcp"));
    EXPECT_TRUE(ToolNames::isToolsPackage(mcpServer, "@modelcontextprotocol/server-git"));
    EXPECT_TRUE(ToolNames::isToolsPackage(vitest, "npm:vitest@3"));
    EXPECT_TRUE(ToolNames::isToolsPackage(mcpServer, "mcp-server-git>=2"));
    EXPECT_TRUE(ToolNames::isToolsPackage(playwrightTest, "test:playwright"));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, "@other/vitest"));
    EXPECT_FALSE(ToolNames::isToolsPackage(mcpServer, "@modelcontextprotocol/"));
    EXPECT_FALSE(ToolNames::isToolsPackage(mcpServer, "mcp-server-"));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, "vitest-ui"));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, ""));
    EXPECT_FALSE(ToolNames::isToolsPackage(vitest, "@"));
}

TEST(ToolNames, doNotMixTheKinds) {
    EXPECT_FALSE(ToolNames::isToolsFile(jest, "vitest"));
    EXPECT_FALSE(ToolNames::isToolsFile(playwrightTest, "vitest"));
    EXPECT_FALSE(ToolNames::isToolsFile(vite, "vite"));
}

TEST(GoBetweens, areFoundUnderVersionedNames) {
    const auto* const python = GoBetweens::find("python");
    ASSERT_NE(python, nullptr);
    EXPECT_EQ(GoBetweens::find("python3.11"), python);
    EXPECT_EQ(GoBetweens::find("pypy3.10"), python);
    EXPECT_EQ(GoBetweens::find("node18"), GoBetweens::find("node"));
    EXPECT_EQ(GoBetweens::find("yarn-4.1.0.cjs"), GoBetweens::find("yarn"));
    EXPECT_EQ(GoBetweens::find("pnpm.mjs"), GoBetweens::find("pn"));
    EXPECT_NE(GoBetweens::find("c8"), nullptr); // its name ends in a digit
}

TEST(GoBetweens, areNoProgramsThatHostASessionOrOpenAFile) {
    for (const std::string_view program :
         {"xterm", "tmux", "screen", "mosh-server", "ssh", "docker", "watch", "vim", "code", "git", "make",
          "xdg-open", "gdb", "find", "xargs", "npm npm-cli", ""}) {
        EXPECT_EQ(GoBetweens::find(program), nullptr) << program;
    }
}

TEST(GoBetweens, knowBrowsersByTheNamesOfTheirBundles) {
    const auto* const chrome = GoBetweens::find("google-chrome");
    ASSERT_NE(chrome, nullptr);
    EXPECT_EQ(GoBetweens::find("Google Chrome"), chrome);
    EXPECT_EQ(GoBetweens::find("Google Chrome Helper (Renderer)"), chrome);
    EXPECT_EQ(GoBetweens::find("Google Chrome Notes"), nullptr);
}
