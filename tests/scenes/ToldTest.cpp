// Real programs that are told the name of a tool: by an address, a file, a folder, or as what they are to
// keep running for a user who comes back. They are listed for review at most, and "clean" leaves them
// alone.
#include "tests/desktop/Screen.h"
#include "tests/scenes/Scene.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"
#include "tests/system/RunnerProject.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>

using namespace VintrelTests;

namespace {

constexpr std::chrono::seconds patience{60};

class Told : public Scene {
protected:
    /// Starts a program, and waits until the process that was started has ended and left a daemon.
    void leaveDaemonBehind(const std::string& project, const Words& argv) {
        const int32_t starter = leaveBehind(project, argv);
        EXPECT_TRUE(eventually([starter] { return !isRunning(starter); }, patience)) << argv.front();
    }

    /// Waits for the tool that a program was told to run, and that has to survive with it.
    void awaitTool(const std::string& name) {
        const int32_t tool = awaitServer(project(name));
        ASSERT_GT(tool, 0) << name;
        m_living.push_back(tool);
    }

    /// Lists what is there once all of it has an age.
    void look() {
        letStraysAge();
        m_rows = list();
    }

    /// All rows whose commands begin so are of that kind and for review.
    void expectForReview(const std::string& kind, const std::string& command) {
        bool isListed = false;
        for (const auto& [pid, row] : m_rows) {
            if (row.command.starts_with(command)) {
                isListed = true;
                EXPECT_EQ(row.kind, kind) << row.command;
                EXPECT_EQ(row.bucket, "review") << row.command;
                m_living.push_back(pid);
            }
        }
        EXPECT_TRUE(isListed) << command;
    }

    void expectNotListed(int32_t pid) {
        EXPECT_FALSE(m_rows.contains(pid));
        m_living.push_back(pid);
    }

    void expectCleanLeavesAllAlone() {
        endWithTest(m_living);
        const auto outcome = home().run({"clean"});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(outcome.output, "No unprotected safe-to-clean processes.\n");
        for (const int32_t pid : m_living) {
            EXPECT_TRUE(isRunning(pid)) << pid;
        }
    }

private:
    std::map<int32_t, TableRow> m_rows;
    std::vector<int32_t> m_living;
};

class ToldWithWindows : public Told {
protected:
    ToldWithWindows() { setVariable("DISPLAY", m_screen.display()); }

    /// Whether a window of that class is to be seen.
    [[nodiscard]] bool shows(const std::string& windowClass) const {
        Process search({.argv = {"xdotool", "search", "--onlyvisible", "--class", windowClass},
                        .environment = {{"DISPLAY", m_screen.display()}},
                        .output = home().path() / "search"});
        return search.wait() == 0;
    }

    [[nodiscard]] bool comesToShow(const std::string& windowClass) const {
        return eventually([&] { return shows(windowClass); }, patience);
    }

private:
    Screen m_screen;
};

} // namespace

TEST_F(ToldWithWindows, aBrowserSurvives) {
    leaveBehind("browser", {"firefox-esr", "https://github.com/vitest-dev/vitest"});
    ASSERT_TRUE(comesToShow("firefox"));
    look();

    expectForReview("vitest", "firefox-esr https://github.com/vitest-dev/vitest");
    expectCleanLeavesAllAlone();
    EXPECT_TRUE(shows("firefox"));
}

TEST_F(ToldWithWindows, editorsAndATerminalSurvive) {
    const auto test = home().folder().write("editor/e2e/playwright/login.test.ts", "test('login');\n");
    leaveDaemonBehind("editor", {"gvim", test});
    leaveBehind("waiting-editor", {"gvim", "-f", test}); // as others start it that wait for its end
    const auto manual = home().folder().write("vitest/README.md", "vitest\n");
    const int32_t reader = leaveBehind("reader", {"l3afpad", manual});
    const auto tool = project("terminal") / "node_modules/.bin/vitest";
    leaveBehind("terminal", {"xterm", "-e", tool, "--watch"});
    for (const char* windowClass : {"gvim", "l3afpad", "xterm"}) {
        ASSERT_TRUE(comesToShow(windowClass)) << windowClass;
    }
    awaitTool("terminal");
    look();

    expectForReview("Playwright test", "gvim " + test.string());
    expectForReview("Playwright test", "gvim -f " + test.string());
    expectForReview("vitest", "xterm -e " + tool.string() + " --watch");
    expectForReview("vitest", "node (vitest)");
    expectNotListed(reader);
    expectCleanLeavesAllAlone();
    EXPECT_TRUE(shows("gvim") && shows("l3afpad") && shows("xterm"));
}

TEST_F(Told, hostsOfTerminalsSurviveWithWhatTheyKeepRunning) {
    leaveDaemonBehind("tmux", {"tmux", "-f", "/dev/null", "-S", home().path() / "tmux-socket", "new", "-d",
                               "vitest --watch"});
    leaveBehind("script", {"script", "-qc", "vitest --watch", "/dev/null"});
    awaitTool("script");
    awaitTool("tmux");
    // Runs nothing before its client has come, and gives up after a minute.
    leaveDaemonBehind("mosh", {"mosh-server", "new", "--", "vitest", "--watch"});
    look();

    expectForReview("vitest", "mosh-server new -- vitest --watch");
    expectForReview("vitest", "tmux -f /dev/null -S");
    expectForReview("vitest", "script -qc vitest --watch /dev/null");
    expectForReview("vitest", "node (vitest)");
    expectCleanLeavesAllAlone();
}

TEST_F(Told, backupsAndReadersOfLogsSurvive) {
    const std::string aMegabyte(1'000'000, 'x');
    home().folder().write("archive/src/vitest/recording", aMegabyte);
    home().folder().write("copy/src/vitest/recording", aMegabyte);
    home().folder().write("log/vitest.log", "");
    const auto tape = home().path() / "tape"; // without a reader, so that the archive takes for ever
    ASSERT_EQ(::mkfifo(tape.c_str(), 0600), 0);
    leaveBehind("archive", {"tar", "-cf", tape, "src/vitest"});
    leaveBehind("copy", {"rsync", "--bwlimit=1", "-a", "src/vitest", "backup/"});
    const int32_t reader = leaveBehind("log", {"tail", "-f", "vitest.log"});
    const auto begun = project("copy") / "backup/vitest";
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(begun); }, patience));
    look();

    expectForReview("vitest", "tar -cf");
    expectForReview("vitest", "rsync --bwlimit=1 -a src/vitest backup/");
    expectNotListed(reader);
    expectCleanLeavesAllAlone();
}
