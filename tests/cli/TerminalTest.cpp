// What the program shows on a terminal: commands take what the width leaves, and an empty table is explained.
#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "tests/cli/VintrelRun.h"
#include "tests/support/Stray.h"

#include <array>
#include <cstdlib>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

/// What a shell's command shows on a terminal of so many columns, whose name is $0.
std::string shownOnTerminal(const VintrelHome& home, int columns, const std::string& command) {
    const FileDescriptor other(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ::grantpt(other.get());
    ::unlockpt(other.get());
    const std::string name = ::ptsname(other.get());
    FileDescriptor terminal(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    const winsize size{
        .ws_row = 24, .ws_col = static_cast<unsigned short>(columns), .ws_xpixel = 0, .ws_ypixel = 0};
    ::ioctl(terminal.get(), TIOCSWINSZ, &size);

    Process program({.argv = {"/bin/sh", "-c", command, name}, .environment = home.environment()});
    std::string text;
    std::array<char, 4'096> buffer{};
    bool ended = false;
    while (true) {
        pollfd waiting{.fd = other.get(), .events = POLLIN, .revents = 0};
        const int ready = ::poll(&waiting, 1, ended ? 0 : 100);
        if (ready > 0) {
            const ssize_t count = ::read(other.get(), buffer.data(), buffer.size());
            text.append(buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        } else if (ended) {
            break;
        } else {
            ended = ::access(("/proc/" + std::to_string(program.pid()) + "/exe").c_str(), F_OK) != 0;
        }
    }
    EXPECT_EQ(program.wait(), 0);
    std::erase(text, '\r');
    return text;
}

/// The lines that "vintrel list" prints on a terminal of so many columns.
std::vector<std::string> linesOnTerminal(const VintrelHome& home, int columns) {
    const std::string text = shownOnTerminal(home, columns, "exec " VINTREL_PROGRAM " list >\"$0\"");
    std::vector<std::string> lines;
    std::string_view rest = text;
    while (const auto line = Text::takeLine(rest)) {
        lines.emplace_back(*line);
    }
    return lines;
}

/// What "vintrel list" says beside the table, on a terminal.
std::string saidOnTerminal(const VintrelHome& home, const std::string& options = "") {
    return shownOnTerminal(home, 80, "exec " VINTREL_PROGRAM " list " + options + " >/dev/null 2>\"$0\"");
}

std::string lineOf(const std::vector<std::string>& lines, int32_t pid) {
    for (const std::string& line : lines) {
        if (line.starts_with(std::to_string(pid) + " ")) {
            return line;
        }
    }
    return {};
}

/// Settings that hide whatever else runs on this machine, but not vite's servers, which are never safe.
const std::string viteAndRules =
    "[General]\ndisabledKinds=docker, uvicorn, npm, pytest, vitest, jest, playwrightTest, playwrightMCP, "
    "chromeHelper, bun, node, nextjs, astro, cargo, goRun, electron, llmServer, mcpServer";
const std::string viteAlone = viteAndRules + ", custom";
const std::string nothingAtAll = viteAlone + ", vite";
const std::string rulesAlone = viteAndRules + ", vite";

} // namespace

TEST(ListOnATerminal, fitsItsWidth) {
    const VintrelHome home;
    home.writeSettings("[General]\nelapsedThreshold=0.000001\nprotectedProjects=~/漢字\n");
    const Stray stray({.argv = {"vitest", std::string(400, 'x')}, .cwd = home.folder().makeFolder("漢字")});
    letStraysAge();
    // Room for what rows of other processes on this machine may need.
    for (const int columns : {130, 160, 200}) {
        const auto line = lineOf(linesOnTerminal(home, columns), stray.pid());
        EXPECT_TRUE(line.contains("safe 🔒")) << line;
        EXPECT_TRUE(line.ends_with("xx…")) << line;
        EXPECT_LE(static_cast<int>(UnicodeText::terminalColumns(line)), columns) << line;
        EXPECT_GE(static_cast<int>(UnicodeText::terminalColumns(line)) + 4, columns)
            << "and uses it: " << line;
    }
}

TEST(ListOnATerminal, cutsALongProjectAndAPipeGetsAllOfIt) {
    const VintrelHome home;
    home.writeSettings(rulesAlone + "\ncustomRules=a-tool-of-this-test = Tool\n");
    const std::string name = "first" + std::string(150, '-') + "last";
    const Stray stray({.argv = {"a-tool-of-this-test"}, .cwd = home.folder().makeFolder(name)});
    for (const int columns : {80, 130}) {
        const auto line = lineOf(linesOnTerminal(home, columns), stray.pid());
        EXPECT_TRUE(line.contains("  first")) << line;
        EXPECT_TRUE(line.contains("-…-")) << line;
        EXPECT_TRUE(line.ends_with("last  a-tool-of-this-test")) << line;
        EXPECT_LE(static_cast<int>(UnicodeText::terminalColumns(line)), columns) << line;
    }
    EXPECT_EQ(parseTable(home.run({"list"}).output).at(stray.pid()).project, name);
}

TEST(ListOnATerminal, fitsItsWidthWithWideCharactersInTheCommand) {
    const VintrelHome home;
    std::string wide;
    for (int count = 0; count < 200; ++count) {
        wide += "漢";
    }
    // No other row: a wide character in one takes room from all.
    home.writeSettings(rulesAlone + "\ncustomRules=a-wide-tool-of-this-test = Tool\n");
    const Stray stray({.argv = {"a-wide-tool-of-this-test", wide}});
    for (const int columns : {130, 180}) {
        const auto line = lineOf(linesOnTerminal(home, columns), stray.pid());
        EXPECT_TRUE(line.ends_with("漢漢…")) << line;
        EXPECT_LE(static_cast<int>(UnicodeText::terminalColumns(line)), columns) << line;
        EXPECT_GE(static_cast<int>(UnicodeText::terminalColumns(line)) + 4, columns) << line;
    }
}

TEST(ListOnATerminal, leavesTwentyCharactersToTheCommand) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest", std::string(400, 'x')}});
    for (const int columns : {1, 30, 60}) {
        const auto line = lineOf(linesOnTerminal(home, columns), stray.pid());
        EXPECT_TRUE(line.ends_with("  vitest xxxxxxxxxxxx…")) << line;
    }
}

TEST(ListOnATerminal, cutsNothingThatFits) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest", "--watch"}});
    EXPECT_TRUE(lineOf(linesOnTerminal(home, 250), stray.pid()).ends_with("vitest --watch"));
}

TEST(ListOnATerminal, saysThatThereAreNoStrays) {
    const VintrelHome home;
    home.writeSettings(nothingAtAll);
    EXPECT_EQ(saidOnTerminal(home), "No stray processes.\n");
    EXPECT_EQ(saidOnTerminal(home, "--safe"), "No stray processes.\n");
    const auto both = shownOnTerminal(home, 80, "exec " VINTREL_PROGRAM " list >\"$0\" 2>\"$0\"");
    EXPECT_TRUE(both.starts_with("PID ")) << both;
    EXPECT_TRUE(both.ends_with("COMMAND\nNo stray processes.\n")) << both;
}

TEST(ListOnATerminal, saysThatNoneOfTheStraysIsSafe) {
    const VintrelHome home;
    home.writeSettings(viteAlone);
    const Stray stray({.argv = {"vite", "--port", "5199"}});
    EXPECT_EQ(saidOnTerminal(home, "--safe"), "No safe stray processes.\n");
    EXPECT_EQ(saidOnTerminal(home), "");
}

TEST(ListOnATerminal, explainsNothingToAPipe) {
    const VintrelHome home;
    home.writeSettings(nothingAtAll);
    const auto outcome = home.run({"list"});
    EXPECT_TRUE(outcome.output.ends_with("COMMAND\n")) << outcome.output;
    EXPECT_EQ(outcome.errors, "");
}
