// "vintrel kill": one candidate, by its pid.
#include "VintrelCore/VintrelCore.h"
#include "tests/cli/VintrelRun.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"

#include <chrono>
#include <filesystem>
#include <regex>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

std::filesystem::path logOf(const VintrelHome& home) {
    return home.path() / "data/Vintrel/clean-log.json";
}

std::string number(int32_t pid) {
    return std::to_string(pid);
}

} // namespace

TEST(Kill, endsACandidateOfAnyBucketAndRecordsIt) {
    const VintrelHome home;
    const Stray stray(
        {.argv = {"node", "/x/node_modules/.bin/vite"}, .cwd = home.folder().makeFolder("shop")});
    letStraysAge();
    const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const auto outcome = home.run({"kill", number(stray.pid())}); // young, and so for review
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(std::regex_match(outcome.output, std::regex("Vite " + number(stray.pid()) +
                                                            " \\(shop\\): ended\n"
                                                            "Cleaned 1 of 1, ~[0-9]+ [KM]B reclaimed\n")))
        << outcome.output;
    EXPECT_FALSE(isRunning(stray.pid()));

    const auto events = CleanLogFile::load(logOf(home), CleanLogFile::retentionCap);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].kind, "Vite");
    EXPECT_EQ(events[0].projectLabel, "shop");
    EXPECT_GT(events[0].rssKB, 0);
    EXPECT_GE(events[0].timestamp, before);
    EXPECT_LE(events[0].timestamp, std::chrono::system_clock::now());
}

TEST(Kill, recordsTheKindsLabelEvenWhereTheRowHasTheUsers) {
    const VintrelHome home;
    home.writeSettings("[General]\ncustomRules=my-daemon = My daemon\n");
    const Stray stray({.argv = {"my-daemon", "--watch"}});
    letStraysAge();
    const auto outcome = home.run({"kill", number(stray.pid())});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.starts_with("My daemon " + number(stray.pid()))) << outcome.output;
    const auto events = CleanLogFile::load(logOf(home), CleanLogFile::retentionCap);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].kind, label(ProcessKind::custom));
}

TEST(Kill, refusesAPidThatIsNoCandidate) {
    const VintrelHome home;
    Process bystander({.argv = {"sleep", "60"}});
    const auto outcome = home.run({"kill", number(bystander.pid())});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
              "vintrel: " + number(bystander.pid()) + " is not among the candidates; nothing was ended\n");
    EXPECT_TRUE(isRunning(bystander.pid()));
    EXPECT_FALSE(std::filesystem::exists(logOf(home)));
}

TEST(Kill, refusesAnIgnoredOne) {
    const VintrelHome home;
    home.writeSettings("[General]\nignoredNames=vitest\n");
    const Stray stray({.argv = {"vitest"}});
    EXPECT_EQ(home.run({"kill", number(stray.pid())}).status, 1);
    EXPECT_TRUE(isRunning(stray.pid()));
}

TEST(Kill, endsAProtectedOneThatWasNamed) {
    const VintrelHome home;
    home.writeSettings("[General]\nprotectedProjects=~/shop\n");
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("shop")});
    letStraysAge();
    EXPECT_EQ(home.run({"kill", number(stray.pid())}).status, 0);
    EXPECT_FALSE(isRunning(stray.pid()));
}

TEST(Kill, doesNotEndWhatBelongsToSomebodyElse) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    std::filesystem::permissions(home.path(), std::filesystem::perms::all);
    const Stray stray({.argv = {"vitest"}, .cwd = home.path()});
    letStraysAge();
    const std::vector<std::string> asNobody{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    const auto beforeList = std::chrono::steady_clock::now();
    EXPECT_EQ(home.run({"list"}, asNobody).status, 0);
    const auto start = std::chrono::steady_clock::now();
    const auto outcome = home.run({"kill", number(stray.pid())}, asNobody);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output,
              "vitest " + number(stray.pid()) + ": not permitted\nCleaned 0 of 1, ~0 KB reclaimed\n");
    const auto scan = start - beforeList;
    EXPECT_LT(std::chrono::steady_clock::now() - start, scan + std::chrono::milliseconds(1'900)) << "no wait";
    EXPECT_TRUE(isRunning(stray.pid()));
    EXPECT_FALSE(std::filesystem::exists(logOf(home)));
}

TEST(Kill, saysWhatItIsAtOnATerminalOnly) {
    const VintrelHome home;
    const Stray first({.argv = {"vitest"}});
    const Stray second({.argv = {"vitest"}});
    letStraysAge();
    const auto piped = home.run({"kill", number(first.pid())}, {}, {{"TERM", "xterm"}});
    EXPECT_EQ(piped.output.find('\x1b'), std::string::npos);
    EXPECT_EQ(piped.errors, "");

    // script(1) gives the program a terminal.
    const std::string onTerminal = "script -qec \"$0 kill " + number(second.pid()) + "\" /dev/null";
    const auto shown = home.run({}, {"/bin/sh", "-c", onTerminal}, {{"TERM", "xterm"}});
    EXPECT_TRUE(shown.output.contains("Ending 1 process…\r\x1b[K")) << shown.output;
    EXPECT_TRUE(shown.output.contains("vitest " + number(second.pid()) + " ")) << shown.output;
}

TEST(Kill, showsNoControlCharactersOnATerminalThatTakesNothingBack) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    const std::string onTerminal = "script -qec \"$0 kill " + number(stray.pid()) + "\" /dev/null";
    const auto shown = home.run({}, {"/bin/sh", "-c", onTerminal}, {{"TERM", "dumb"}});
    EXPECT_TRUE(shown.output.contains("Ending 1 process…\r\n")) << shown.output;
    EXPECT_EQ(shown.output.find('\x1b'), std::string::npos);
}

TEST(Kill, endsWhoeverIgnoresThePoliteSignal) {
    const VintrelHome home;
    const Stray stubborn({.argv = {"vitest"}, .ignoresTerm = true});
    letStraysAge();
    const auto outcome = home.run({"kill", number(stubborn.pid())});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.contains(": ended\n")) << outcome.output;
    EXPECT_FALSE(isRunning(stubborn.pid()));
}

TEST(Kill, saysWhenTheLogCannotBeWritten) {
    const VintrelHome home;
    home.folder().makeFolder("data/Vintrel/clean-log.json");
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    const auto outcome = home.run({"kill", number(stray.pid())});
    EXPECT_EQ(outcome.status, 0) << "it has ended all the same";
    EXPECT_EQ(outcome.errors, "vintrel: the clean log could not be written; this is not on record\n");
}

TEST(Kill, survivesALogThatMayNotGrow) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    const auto outcome =
        home.run({"kill", number(stray.pid())}, {"/bin/sh", "-c", "ulimit -f 0; exec \"$@\"", "sh"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.output.contains(": ended\n")) << outcome.output;
    for (const auto& entry : std::filesystem::directory_iterator(home.path() / "data/Vintrel")) {
        EXPECT_EQ(entry.path().filename(), "clean-log.json.lock");
    }
}

TEST(Kill, withDamagedSettingsGoesByDefaultsAndSaysSo) {
    const VintrelHome home;
    home.writeSettings("[General]\nprotectedProjects=\"~/code\n");
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    const auto outcome = home.run({"kill", number(stray.pid())});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.errors.contains("using defaults")) << outcome.errors;
}
