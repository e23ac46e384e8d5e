// A machine where something is wrong: missing tools, a mount that does not answer, Ctrl+C, another account.
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/platform/Platform.h"
#include "tests/cli/VintrelRun.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Stray.h"

#include <chrono>
#include <filesystem>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

/// Runs a command that sees no process at all.
const std::vector<std::string> withoutProcesses{
    "unshare",
    "-m",
    "/bin/sh",
    "-c",
    "d=$(mktemp -d) && mount -t tmpfs none $d && mkdir $d/self && mount --bind /proc/$$ $d/self && "
    "mount --move $d /proc && exec \"$@\"",
    "sh"};

} // namespace

TEST(ListFaults, withoutATableOfProcessesItSaysSoAndFails) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const auto outcome = home.run({"list"}, withoutProcesses, {{"ASAN_OPTIONS", "detect_leaks=0"}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "vintrel: /proc could not be read: no processes are known\n");
}

TEST(ListFaults, needsNeitherPSNorLsof) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("shop")});
    const std::string nothing = home.folder().write("nothing", "");
    const std::vector<std::string> withoutTools{"unshare",
                                                "-m",
                                                "/bin/sh",
                                                "-c",
                                                "for tool in " + Platform::psPath() + " " + Lsof::path() +
                                                    "; do mount --bind " + nothing +
                                                    " $(readlink -f $tool) || exit 125; done; exec \"$@\"",
                                                "sh"};
    const auto outcome = home.run({"list"}, withoutTools);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    const auto rows = parseTable(outcome.output);
    ASSERT_TRUE(rows.contains(stray.pid()));
    EXPECT_EQ(rows.at(stray.pid()).project, "shop");
}

TEST(ListFaults, aDeadMountDoesNotHangTheList) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("shop")});
    const std::string dead = home.folder().makeFolder("dead").string();
    home.writeSettings("[General]\nprotectedProjects=" + dead + "/shop\n");
    const auto start = std::chrono::steady_clock::now();
    const auto outcome = home.run({"list"}, {VINTREL_TEST_DEAD_MOUNT, dead});
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_GT(took, std::chrono::seconds(1)) << "it did look there";
    EXPECT_LT(took, std::chrono::seconds(3));
    const auto rows = parseTable(outcome.output);
    ASSERT_TRUE(rows.contains(stray.pid()));
    EXPECT_EQ(rows.at(stray.pid()).project, "shop");
    EXPECT_EQ(outcome.errors, "vintrel: a mount does not answer: what is protected is unknown\n");
}

TEST(ListFaults, ctrlCEndsItWhileAMountDoesNotAnswer) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const std::string dead = home.folder().makeFolder("dead").string();
    home.writeSettings("[General]\nprotectedProjects=" + dead + "/shop\n");
    Process program({.argv = {VINTREL_TEST_DEAD_MOUNT, dead, VINTREL_PROGRAM, "list"},
                     .environment = home.environment()});
    const std::string blocked = "/proc/" + std::to_string(program.pid()) + "/wchan";
    ASSERT_TRUE(eventually([&] { return Process({.argv = {"cat", blocked}}).readAll().contains("poll"); }))
        << "it waits for the copy that looks there";
    const auto start = std::chrono::steady_clock::now();
    program.signal(SIGINT);
    EXPECT_EQ(program.readAll(), "");
    EXPECT_EQ(program.wait(), -SIGINT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(700));
}

TEST(ListFaults, aSignalWhileItPrintsEndsTheProgramAsAlways) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest", std::string(100'000, 'x')}}); // more than a pipe holds
    Process program({.argv = {VINTREL_PROGRAM, "list"}, .environment = home.environment()});
    const auto blocked = "/proc/" + std::to_string(program.pid()) + "/wchan";
    EXPECT_TRUE(
        eventually([&] { return Process({.argv = {"cat", blocked}}).readAll().contains("pipe_write"); }));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), -SIGTERM);
}

TEST(ListFaults, anotherAccountsProcessHasNoProject) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    std::filesystem::permissions(home.path(), std::filesystem::perms::all);
    const Stray stray({.argv = {"vitest"}, .cwd = home.path()});
    const auto outcome = home.run({"list"}, {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    const auto rows = parseTable(outcome.output);
    ASSERT_TRUE(rows.contains(stray.pid()));
    EXPECT_EQ(rows.at(stray.pid()).project, "—");
    EXPECT_EQ(rows.at(stray.pid()).bucket, "review") << "and it is never an orphan of this account's";
}
