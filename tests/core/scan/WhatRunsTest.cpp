#include "VintrelCore/scan/WhatRuns.h"

#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/model/RiskTier.h"
#include "tests/core/scan/FoundName.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using enum ProcessKind;
using VintrelTests::foundName;
using WhatRuns::foundInLine;

namespace {

using Arguments = std::vector<std::string>;

std::string whereIs(ProcessKind kind, const Arguments& arguments) {
    return foundName(WhatRuns::foundIn(kind, arguments));
}

} // namespace

TEST(WhatRuns, isTheProgramByTheNameOfItsFile) {
    EXPECT_EQ(whereIs(vitest, {"/home/dev/bin/vitest", "--watch"}), "program");
    EXPECT_EQ(whereIs(vitest, {"/home/dev/vitest/server"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"/home/dev/vitest/"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"vitest-notes"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"notvitest"}), "nowhere");
}

TEST(WhatRuns, isTheProgramByThePackageThatHoldsIt) {
    EXPECT_EQ(whereIs(jest, {"/x/node_modules/jest/bin/jest.js"}), "program");
    EXPECT_EQ(whereIs(playwrightMCP, {"/x/node_modules/@playwright/mcp/cli.js"}), "program");
    EXPECT_EQ(whereIs(playwrightTest, {"/home/dev/.cache/ms-playwright/webkit-1/pw_run.sh"}), "program");
    EXPECT_EQ(whereIs(playwrightTest, {"/home/dev/tests/playwright/run"}), "nowhere");
    EXPECT_EQ(whereIs(playwrightTest, {"/home/dev/src/ms-playwright/chromium-1/run"}), "nowhere");
}

TEST(WhatRuns, isAnInterpretersFirstArgumentThatIsNoOption) {
    EXPECT_EQ(whereIs(vitest, {"node", "--watch", "-r", "a.js", "/x/.bin/vitest"}), "script");
    EXPECT_EQ(whereIs(vitest, {"node", "--env-file=.env", "--import", "vitest", "a.js"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node", "a.js", "/x/.bin/vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node", "--", "/x/.bin/vitest"}), "script");
    EXPECT_EQ(whereIs(vitest, {"node"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node", "-r"}), "nowhere");
}

TEST(WhatRuns, isNoFileOrFolderOfAProjectsThatIsNamedLikeATool) {
    for (const std::string script :
         {"vitest", "./vitest", "src/vitest", "/home/dev/src/vitest", "vitest/", "/x/bin/vitest/",
          "/x/.bin/vitest/.", "/x/.bin/a/..", "bin/vitest", "./bin/vitest", "vitest.mjs", "/x/bin/vitest.mjs",
          "a/../../bin/vitest"}) {
        for (const std::string interpreter : {"node", "python3", "tsx", "bun", "bash", "perl"}) {
            const bool isName = interpreter == "bun" && script == "vitest"; // of a script of the project's
            EXPECT_EQ(whereIs(vitest, {interpreter, script}), isName ? "package" : "nowhere")
                << interpreter << " " << script;
        }
    }
}

TEST(WhatRuns, isNoProjectsOwnProgramThatIsNamedLikeALauncher) {
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "./time vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"nice", "tools/npx", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"nice", "/opt/node/bin/npx", "vitest"}), "launched");
    EXPECT_EQ(whereIs(pytest, {"python3", "tools/coverage", "run", "-m", "pytest"}), "nowhere");
    EXPECT_EQ(whereIs(pytest, {"uv", "run", "script.py", "-c", "pytest"}), "nowhere");
}

TEST(WhatRuns, isNothingOfAnInterpreterThatWasToldTheCode) {
    EXPECT_EQ(whereIs(vitest, {"node", "-e", "0", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node", "-pe", "0", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node", "--eval=0", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(pytest, {"python3", "-Bc", "pass", "pytest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"perl", "-lane", "print", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"ruby", "-e", "sleep", "vitest"}), "nowhere");
}

TEST(WhatRuns, isThePythonModuleBehindItsOption) {
    EXPECT_EQ(whereIs(pytest, {"python3", "-m", "pytest"}), "script");
    EXPECT_EQ(whereIs(pytest, {"python3", "-mpytest"}), "script");
    EXPECT_EQ(whereIs(pytest, {"python3", "-Wm", "/usr/bin/pytest"}), "script"); // "m" is what to warn about
    EXPECT_EQ(whereIs(pytest, {"python3", "-W", "-m", "x", "pytest"}), "nowhere");
    EXPECT_EQ(whereIs(pytest, {"python3", "-m", "pytest.__main__"}), "script");
    EXPECT_EQ(whereIs(pytest, {"python3", "-m"}), "nowhere");
    EXPECT_EQ(whereIs(mcpServer, {"python3", "-m", "mcp_server_git.server"}), "script");
}

TEST(WhatRuns, isTheTitleThatANodeToolGaveItself) {
    EXPECT_EQ(whereIs(vitest, {"node (vitest 3)", "", "", ""}), "script");
    EXPECT_EQ(whereIs(vitest, {"node (vitest)"}), "script");
    EXPECT_EQ(whereIs(vitest, {"node (vite)"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node (server vitest)"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"node ("}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"vitest 1"}), "program");
}

TEST(WhatRuns, ofAPathWithBlanksIsItsLastComponentWhereProgramsAreInstalled) {
    EXPECT_EQ(whereIs(vitest, {"/home/dev/vitest notes/viewer"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"/opt/my tools/bin/vitest"}), "program");
    EXPECT_EQ(whereIs(vitest, {"/home/dev/my tools/vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"/usr/bin/less src/vitest"}), "nowhere"); // a title
    EXPECT_EQ(whereIs(vitest, {"/usr/bin/less /home/dev/bin/vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"/home/dev/vitest -- x/viewer", "a"}), "nowhere");
}

TEST(WhatRuns, isThePackageOfARunner) {
    EXPECT_EQ(whereIs(vitest, {"npm", "x", "-y", "--", "vitest@1.2"}), "package");
    EXPECT_EQ(whereIs(mcpServer, {"npx", "-y", "@modelcontextprotocol/server-git@1"}), "package");
    EXPECT_EQ(whereIs(playwrightMCP, {"npx", "@other/mcp"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npx", "@other/vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npm", "install", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npm", "run", "build", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npm", "--prefix", "run", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npx"}), "nowhere");
}

TEST(WhatRuns, isTheOnePackageThatARunnerTakesACommandFrom) {
    EXPECT_EQ(whereIs(mcpServer, {"uvx", "--from", "mcp-server-git", "mcp-git"}), "package");
    EXPECT_EQ(whereIs(mcpServer, {"npx", "-p", "@modelcontextprotocol/server-git", "git-mcp"}), "package");
    EXPECT_EQ(whereIs(mcpServer, {"npx", "-p", "@modelcontextprotocol/server-git", "make"}), "nowhere");
    EXPECT_EQ(whereIs(mcpServer, {"uvx", "--from", "mcp-server-git", "./mcp"}), "nowhere");
    EXPECT_EQ(whereIs(playwrightTest, {"npx", "-p", "playwright", "make", "test"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npx", "-p", "eslint", "-p", "vitest", "eslint"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npx", "-p", "vitest", "node", "server.js"}), "nowhere");
}

TEST(WhatRuns, isNoScriptOfTheProjectThatIsNamedLikeALauncher) {
    EXPECT_EQ(whereIs(vitest, {"pnpm", "env", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"npm", "run", "time", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"bash", "script", "-c", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(pytest, {"uv", "run", "timeout", "60", "pytest"}), "launched");
}

TEST(WhatRuns, isWhatALauncherLaunches) {
    EXPECT_EQ(whereIs(vitest, {"env", "-i", "A=1", "B=", "vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"timeout", "--signal", "INT", "60", "vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"timeout", "vitest", "less", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"nice", "-n", "vitest", "less"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"nice", "--", "-n", "5", "vitest"}), "nowhere"); // a program called "-n"
    EXPECT_EQ(whereIs(vitest, {"flock", "/tmp/vitest", "less"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sudo", "-eu", "root", "/etc/vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"script", "-qc", "vitest", "/dev/null"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"dotenvx", "run", "--", "vitest"}), "launched");
}

TEST(WhatRuns, isWhatAShellWasToldToRun) {
    EXPECT_EQ(whereIs(vitest, {"bash", "-ce", "vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "-l", "vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "exec vitest", "sh"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "less \"$1\"", "vitest", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "eval 'npx vitest'"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", ""}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-s", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"-sh", "-c", "vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"-vitest"}), "nowhere");
}

TEST(WhatRuns, isNoToolInAShellThatRunsSomethingElseToo) {
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "cd x && vitest 2>&1 | tee log; exit $?"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "if cd x; then vitest; fi"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest; ./backup.sh"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "./server & vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest $(./backup.sh)"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest < <(./backup.sh)"}), "nowhere");
}

TEST(WhatRuns, isNoToolInAShellThatReadsAFileFirst) {
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", ". ./start-all.sh; vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "source ./env.sh && vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "vitest && source ./env.sh"}), "nowhere");
}

TEST(WhatRuns, isNoToolInAShellWhoseTrapRunsSomethingElse) {
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "trap ./backup.sh EXIT; vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "trap 'exit 1' INT; trap - TERM; trap '' HUP; vitest"}),
              "launched");
}

TEST(WhatRuns, isNoToolInAShellWhoseTextMayHideCommands) {
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest --port \"$(./server)\""}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest --port \"$PORT\""}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest() { sleep 9999; }; vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest <<EOF\necho it's\nEOF\n./server"}), "nowhere");
}

TEST(WhatRuns, filtersSayNothingWhereTheyReadWhatTheToolWrites) {
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest | grep -v x | tee log"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest > >(tee log)"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "vitest || cat /dev/ttyUSB0"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "tail -f log & vitest"}), "nowhere");
}

TEST(WhatRuns, isWhatAVersionOfNodeIsChosenFor) {
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "nvm use 20 && vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "nvm exec v20.1 npx vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "nvm exec 20 node server.js; vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "nvm exec less vitest"}), "nowhere"); // of a file's version
    EXPECT_EQ(whereIs(vitest, {"bash", "-c", "nvm run 20 vitest"}), "nowhere");
}

TEST(WhatRuns, ofAHelperBrowserIsItsProfile) {
    const std::string ofServer = "/home/dev/.cache/ms-playwright-mcp/mcp-chrome-1";
    const std::string besideBrowsers = "/home/dev/.cache/ms-playwright/mcp-chrome";
    EXPECT_EQ(whereIs(chromeHelper, {"/opt/google/chrome/chrome", "--user-data-dir=" + ofServer}), "profile");
    EXPECT_EQ(whereIs(chromeHelper, {"chrome", "--user-data-dir", besideBrowsers}), "profile");
    EXPECT_EQ(whereIs(chromeHelper, {"cp", "--user-data-dir=" + ofServer}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"chrome", "--user-data-dir=/home/dev/vitest"}), "nowhere");
}

TEST(WhatRuns, aHelperBrowserIsKnownByEitherFolder) {
    const auto isHelper = [](const std::string& profile) {
        return WhatRuns::isPlaywrightMCPBrowser(
            Arguments{"chromium", "--headless", "--user-data-dir=" + profile});
    };
    EXPECT_TRUE(isHelper("/home/dev/.cache/ms-playwright-mcp/mcp-chrome-1"));
    EXPECT_TRUE(isHelper("/home/dev/.cache/ms-playwright/mcp-chrome-profile"));
    EXPECT_TRUE(isHelper("/Users/dev/Library/Caches/ms-playwright/mcp-webkit-1/Default"));
    EXPECT_FALSE(isHelper("/home/dev/.cache/ms-playwright-mcp"));
    EXPECT_FALSE(isHelper("/home/dev/.cache/ms-playwright/chromium-1097"));
    EXPECT_FALSE(isHelper("/home/dev/src/ms-playwright/mcp-chrome"));
    EXPECT_FALSE(isHelper("/home/dev/.cache/ms-playwright-mcp/../../.config/chromium"));
    EXPECT_FALSE(isHelper(""));
}

TEST(WhatRuns, aHelperBrowserIsABrowserThatWasToldTheFolder) {
    const std::string option = "--user-data-dir=/home/dev/.cache/ms-playwright-mcp/mcp-chrome-1";
    EXPECT_TRUE(WhatRuns::isPlaywrightMCPBrowser(Arguments{"google-chrome", option}));
    EXPECT_TRUE(WhatRuns::isPlaywrightMCPBrowser("/opt/google/chrome/chrome --type=renderer " + option));
    EXPECT_FALSE(WhatRuns::isPlaywrightMCPBrowser(Arguments{"google-chrome", "--", option}));
    EXPECT_FALSE(
        WhatRuns::isPlaywrightMCPBrowser(Arguments{"google-chrome", option, "--user-data-dir=/tmp/x"}));
    EXPECT_FALSE(WhatRuns::isPlaywrightMCPBrowser(Arguments{"grep", option}));
    EXPECT_FALSE(WhatRuns::isPlaywrightMCPBrowser(Arguments{}));
    EXPECT_FALSE(WhatRuns::isPlaywrightMCPBrowser(Arguments{"", option}));
}

TEST(WhatRuns, ofJoinedTextTakesABundlesNameAsAWhole) {
    const std::string bundle = "/Applications/Google Chrome.app/Contents/";
    const std::string option =
        " --type=renderer --user-data-dir=/Users/dev/Library/Caches/ms-playwright-mcp/m";
    EXPECT_EQ(foundName(foundInLine(chromeHelper, bundle + "MacOS/Google Chrome" + option)), "profile");
    EXPECT_EQ(foundName(foundInLine(pytest, "/x/Y.app/Contents/MacOS/pytest  ")), "program");
    const std::string helper =
        "Frameworks/Google Chrome Helper (GPU).app/Contents/MacOS/Google Chrome Helper (GPU)";
    EXPECT_EQ(foundName(foundInLine(chromeHelper, bundle + helper + option)), "profile");
    EXPECT_EQ(
        foundName(foundInLine(vitest, "/Applications/Code.app/Contents/MacOS/Electron /Users/dev/vitest")),
        "nowhere");
    EXPECT_EQ(foundName(foundInLine(pytest, "/x/Python.app/Contents/MacOS/Python /x/venv/bin/pytest -q")),
              "script");
}

TEST(WhatRuns, ofJoinedTextAShellsTextEndsWithTheLine) {
    EXPECT_EQ(foundName(foundInLine(vitest, "sh -c cd /home/dev && vitest --watch")), "launched");
    EXPECT_EQ(foundName(foundInLine(vitest, "sh -c less vitest")), "nowhere");
    EXPECT_EQ(foundName(foundInLine(vitest, "sh -c vitest; ./backup.sh")), "nowhere");
    EXPECT_EQ(foundName(foundInLine(vitest, "")), "nowhere");
}

TEST(WhatRuns, isNothingOfOddArguments) {
    EXPECT_EQ(whereIs(vitest, {}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {""}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"", "", ""}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"", "vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {" "}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"-"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"/"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"viewer", "a\nvitest\nb", " vitest "}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"\xff\xfe/vitest"}), "program");
    EXPECT_EQ(whereIs(vitest, {"vitest\xff"}), "nowhere");
}

TEST(WhatRuns, isFoundInTheLongestCommandLines) {
    constexpr size_t most = size_t{128} << 10;
    Arguments launched(most / 4, "A=1");
    launched.front() = "env";
    launched.emplace_back("vitest");
    EXPECT_EQ(whereIs(vitest, launched), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", std::string(most, ';') + "vitest"}), "launched");
    EXPECT_EQ(whereIs(vitest, {"sh", "-c", "less " + std::string(most, 'x') + " vitest"}), "nowhere");
    EXPECT_EQ(whereIs(vitest, {"viewer", std::string(most, '\0') + "vitest"}), "nowhere");
}

TEST(WhatRuns, isNotLookedForBehindAnyNumberOfLaunchers) {
    EXPECT_EQ(whereIs(vitest, {"nice", "env", "nohup", "setsid", "vitest"}), "launched");
    Arguments many(10'000, "nice");
    many.emplace_back("vitest");
    EXPECT_EQ(whereIs(vitest, many), "nowhere");
}

TEST(WhatRuns, isAskedOnlyOfKindsThatMayBeSwept) {
    EXPECT_EQ(whereIs(vite, {"vite"}), "nowhere");
    EXPECT_EQ(whereIs(node, {"node", "server.js"}), "nowhere");
    EXPECT_EQ(whereIs(custom, {"vitest"}), "nowhere");
}

TEST(WhatRuns, makesNothingEasier) {
    using enum RiskTier;
    using WhatRuns::Found;
    EXPECT_EQ(WhatRuns::tierOf(easy, Found::nowhere), moderate);
    EXPECT_EQ(WhatRuns::tierOf(moderate, Found::nowhere), moderate);
    EXPECT_EQ(WhatRuns::tierOf(high, Found::nowhere), high);
    for (const Found found :
         {Found::program, Found::script, Found::package, Found::launched, Found::profile}) {
        EXPECT_EQ(WhatRuns::tierOf(easy, found), easy);
        EXPECT_EQ(WhatRuns::tierOf(moderate, found), moderate);
        EXPECT_EQ(WhatRuns::tierOf(high, found), high);
    }
}
