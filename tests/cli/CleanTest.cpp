// "vintrel clean": all safe strays at once. These tests see only the processes that they started.
#include "VintrelCore/VintrelCore.h"
#include "tests/cli/VintrelRun.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <list>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

constexpr const char* everybodyIsOld = "[General]\nelapsedThreshold=0.000001\n";

std::vector<CleanEvent> eventsOf(const VintrelHome& home) {
    return CleanLogFile::load(home.path() / "data/Vintrel/clean-log.json", CleanLogFile::retentionCap);
}

/// Runs a command that sees no process at all.
const std::vector<std::string> withoutProcesses{
    "unshare",
    "-m",
    "/bin/sh",
    "-c",
    "d=$(mktemp -d) && mount -t tmpfs none $d && mkdir $d/self && mount --bind /proc/$$ $d/self && "
    "mount --move $d /proc && exec \"$@\"",
    "sh"};

/// Runs a command that may not look into processes with more rights than its own.
const std::vector<std::string> unprivileged{"setpriv", "--bounding-set", "-sys_ptrace"};

} // namespace

TEST(Clean, endsEverySafeStrayThatIsNotProtectedAndNothingElse) {
    const VintrelHome home;
    home.writeSettings(std::string(everybodyIsOld) + "protectedProjects=~/mine\nignoredNames=jest\n");
    const auto shop = home.folder().makeFolder("shop");
    const Stray safe({.argv = {"vitest"}, .cwd = shop});
    const Stray safeToo({.argv = {"node", "/x/node_modules/.bin/playwright", "test"}});
    const Stray isProtected({.argv = {"vitest"}, .cwd = home.folder().makeFolder("mine/deep")});
    const Stray listening({.argv = {"vitest"}, .port = freeRegisteredPort()});
    const Stray leader({.argv = {"npm", "run", "dev"}});
    const Stray ignored({.argv = {"jest"}});
    const Stray onTerminal({.argv = {"vitest"}, .terminal = "open"});
    letStraysAge();
    const auto table = parseTable(home.run({"list"}).output);
    ASSERT_EQ(table.at(safe.pid()).bucket, "safe");
    ASSERT_EQ(table.at(safeToo.pid()).bucket, "safe");

    const auto outcome = home.run({"clean"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(outcome.output.contains("vitest " + std::to_string(safe.pid()) + " (shop): ended\n"))
        << outcome.output;
    EXPECT_TRUE(outcome.output.contains("Cleaned 2 of 2, ~")) << outcome.output;
    EXPECT_FALSE(isRunning(safe.pid()));
    EXPECT_FALSE(isRunning(safeToo.pid()));
    for (const Stray* other : {&isProtected, &listening, &leader, &ignored, &onTerminal}) {
        EXPECT_TRUE(isRunning(other->pid())) << outcome.output;
    }
    EXPECT_EQ(eventsOf(home).size(), 2U);
}

TEST(Clean, saysWhenThereIsNothingToClean) {
    const VintrelHome home;
    const Stray young({.argv = {"vitest"}});
    letStraysAge();
    const auto outcome = home.run({"clean"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "No unprotected safe-to-clean processes.\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_FALSE(std::filesystem::exists(home.path() / "data"));
}

TEST(Clean, waitsOnceForAll) {
    const VintrelHome home;
    home.writeSettings(everybodyIsOld);
    std::list<Stray> strays;
    for (int count = 0; count < 20; ++count) {
        strays.emplace_back(StrayOptions{.argv = {"vitest"}, .ignoresTerm = true});
    }
    letStraysAge();
    const auto start = std::chrono::steady_clock::now();
    const auto outcome = home.run({"clean"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10))
        << "twenty would take forty";
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(outcome.output.contains("Cleaned 20 of 20, ~")) << outcome.output;
    for (const Stray& stray : strays) {
        EXPECT_FALSE(isRunning(stray.pid()));
    }
    EXPECT_EQ(eventsOf(home).size(), 20U);
}

TEST(Clean, refusesWithoutATableOfProcesses) {
    const VintrelHome home;
    home.writeSettings(everybodyIsOld);
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    const auto outcome = home.run({"clean"}, withoutProcesses, {{"ASAN_OPTIONS", "detect_leaks=0"}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "vintrel: /proc could not be read: no processes are known\n");
    EXPECT_TRUE(isRunning(stray.pid()));
    EXPECT_TRUE(eventsOf(home).empty());
}

TEST(Clean, refusesWithSettingsThatCannotBeHad) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("mine")});
    letStraysAge();
    home.writeSettings(std::string(everybodyIsOld) + "protectedProjects=\"~/mine\n");
    const auto outcome = home.run({"clean"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "vintrel: the settings in " +
                                  (home.path() / "config/Vintrel/Vintrel.conf").string() +
                                  " are damaged; what is protected is unknown, and nothing was ended\n");
    EXPECT_TRUE(isRunning(stray.pid()));
}

TEST(Clean, refusesWhenFoldersThatProtectCannotBeLookedAt) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("elsewhere/mine")});
    const std::string dead = home.folder().makeFolder("dead").string();
    std::filesystem::create_directory_symlink(dead + "/mine", home.path() / "mine");
    letStraysAge();
    home.writeSettings(std::string(everybodyIsOld) + "protectedProjects=~/mine\n");
    const auto outcome = home.run({"clean"}, {VINTREL_TEST_DEAD_MOUNT, dead});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              "vintrel: a mount does not answer; what is protected is unknown, and nothing was ended\n");
    EXPECT_TRUE(isRunning(stray.pid()));
}

TEST(Clean, endsNothingWhenNoFolderCanBeToldAndRulesGoByFolders) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("mine"), .secretive = true});
    letStraysAge();
    for (const char* rule : {"protectedProjects=~/mine\n", "ignoredNames=vitest @ ~/mine\n"}) {
        home.writeSettings(std::string(everybodyIsOld) + rule);
        const auto outcome = home.run({"clean"}, unprivileged);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.errors, "vintrel: no working directory could be found out; what is protected is "
                                  "unknown, and nothing was ended\n");
        EXPECT_TRUE(isRunning(stray.pid()));
    }
    home.writeSettings(everybodyIsOld);
    EXPECT_EQ(home.run({"clean"}, unprivileged).status, 0) << "nothing goes by folders";
    EXPECT_FALSE(isRunning(stray.pid()));
    ASSERT_EQ(eventsOf(home).size(), 1U);
    EXPECT_EQ(eventsOf(home)[0].projectLabel, "—");
}

TEST(Clean, isNotRefusedForTheUnknownFoldersOfOtherAccounts) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    std::filesystem::permissions(home.path(), std::filesystem::perms::all);
    home.writeSettings(std::string(everybodyIsOld) + "protectedProjects=~/mine\n");
    const std::vector<std::string> asNobody{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    const Stray others({.argv = {"vitest"}, .cwd = home.path()});
    letStraysAge();
    ASSERT_EQ(parseTable(home.run({"list"}, asNobody).output).at(others.pid()).project, "—");
    const auto outcome = home.run({"clean"}, asNobody);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(isRunning(others.pid()));
}

TEST(Clean, leavesOutWhoseFolderIsUnknownWhereRulesGoByFolders) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray known({.argv = {"vitest"}, .cwd = home.folder().makeFolder("elsewhere")});
    const Stray secretive({.argv = {"vitest"}, .cwd = home.folder().makeFolder("mine"), .secretive = true});
    const std::string pid = std::to_string(secretive.pid());
    letStraysAge();
    home.writeSettings(std::string(everybodyIsOld) + "protectedProjects=~/mine\n");
    const auto table = parseTable(home.run({"list"}, unprivileged).output);
    ASSERT_TRUE(table.contains(secretive.pid()));
    EXPECT_EQ(table.at(secretive.pid()).project, "—");

    const auto outcome = home.run({"clean"}, unprivileged);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "vintrel: vitest " + pid + " is not in the sweep: its folder is unknown\n");
    EXPECT_TRUE(outcome.output.contains("Cleaned 1 of 1, ~")) << outcome.output;
    EXPECT_FALSE(isRunning(known.pid()));
    EXPECT_TRUE(isRunning(secretive.pid()));
    EXPECT_EQ(home.run({"kill", pid}, unprivileged).status, 0) << "by itself it can be ended";
    EXPECT_FALSE(isRunning(secretive.pid()));
}

TEST(Clean, ctrlCDuringTheWaitRecordsWholeEventsOfWhoeverHasEnded) {
    const VintrelHome home;
    home.writeSettings(everybodyIsOld);
    const Stray polite({.argv = {"vitest"}});
    const Stray stubborn({.argv = {"vitest"}, .ignoresTerm = true});
    letStraysAge();
    Process program({.argv = {VINTREL_PROGRAM, "clean"}, .environment = home.environment()});
    ASSERT_TRUE(eventually([&] { return !isRunning(polite.pid()); }));
    program.signal(SIGINT);
    const auto output = program.readAll();
    EXPECT_EQ(program.wait(), -SIGINT);
    EXPECT_TRUE(output.contains("Cleaned 1 of 2, ~")) << output;
    EXPECT_TRUE(isRunning(stubborn.pid())) << "nobody is forced before the grace period is over";
    EXPECT_EQ(eventsOf(home).size(), 1U);
}

TEST(Clean, aReaderThatHasGoneDoesNotCostTheRecord) {
    const VintrelHome home;
    home.writeSettings(everybodyIsOld);
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    const auto outcome = home.run({}, {"/bin/sh", "-c", "\"$0\" clean | true"});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(eventually([&] { return eventsOf(home).size() == 1; }));
    EXPECT_FALSE(isRunning(stray.pid()));
}
