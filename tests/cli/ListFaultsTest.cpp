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

/// A command that runs another with `replacement` in the place of `tool`, in a mount namespace of its own.
std::vector<std::string> replacing(const std::string& tool, const std::filesystem::path& replacement) {
    return {"unshare",
            "-m",
            "/bin/sh",
            "-c",
            "mount --bind " + replacement.string() + " $(readlink -f " + tool + ") && exec \"$@\"",
            "sh"};
}

std::filesystem::path script(const VintrelHome& home, const std::string& text) {
    auto path = home.folder().write("tool", text);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

std::string notExecutable(const VintrelHome& home) {
    return home.folder().write("nothing", "");
}

} // namespace

TEST(ListFaults, withoutPSItSaysSoAndFails) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const auto outcome = home.run({"list"}, replacing(Platform::psPath(), notExecutable(home)));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "vintrel: ps could not be run: no processes are known\n");
}

TEST(ListFaults, withoutLsofProjectsAndPortsAreUnknown) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.path()});
    const auto outcome = home.run({"list"}, replacing(Lsof::path(), notExecutable(home)));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "vintrel: lsof could not be run: projects and ports are unknown\n");
    const auto rows = parseTable(outcome.output);
    ASSERT_TRUE(rows.contains(stray.pid()));
    EXPECT_EQ(rows.at(stray.pid()).project, "—");
}

TEST(ListFaults, aDeadMountDoesNotHangTheList) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}, .cwd = home.folder().makeFolder("shop")});
    const auto start = std::chrono::steady_clock::now();
    const auto outcome =
        home.run({"list"}, {VINTREL_TEST_DEAD_MOUNT, home.folder().makeFolder("dead").string()});
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_GT(took, std::chrono::seconds(9)) << "lsof did hang";
    EXPECT_LT(took, std::chrono::seconds(25));
    const auto rows = parseTable(outcome.output);
    ASSERT_TRUE(rows.contains(stray.pid()));
    EXPECT_EQ(rows.at(stray.pid()).project, "shop");
    EXPECT_EQ(outcome.errors, "");
}

TEST(ListFaults, ctrlCEndsTheToolsToo) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const auto pidFile = home.path() / "pid";
    const auto hanging =
        script(home, "#!/bin/sh\necho $$ >" + pidFile.string() + ".new\nmv " + pidFile.string() + ".new " +
                         pidFile.string() + "\nexec sleep 60\n");
    auto argv = replacing(Lsof::path(), hanging);
    argv.insert(argv.end(), {VINTREL_PROGRAM, "list"});
    Process program({.argv = argv, .environment = home.environment()});
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(pidFile); }));
    const auto start = std::chrono::steady_clock::now();
    program.signal(SIGINT);
    EXPECT_EQ(program.readAll(), "");
    EXPECT_EQ(program.wait(), -SIGINT);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    const auto listed = Process({.argv = {"cat", pidFile.string()}}).readLine();
    EXPECT_TRUE(eventually([&] { return !Platform::startTime(std::stoi(listed)); }))
        << "the tool is still there";
}

TEST(ListFaults, toolsInheritALoweredLimitOfDescriptors) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const auto limits = home.path() / "limits";
    const auto telling = script(home, "#!/bin/sh\nulimit -Sn >>" + limits.string() + "\n");
    auto argv = replacing(Lsof::path(), telling);
    argv.insert(argv.begin(), {"prlimit", "--nofile=8000:9000"});
    EXPECT_EQ(home.run({"list"}, argv).status, 0);
    EXPECT_EQ(Process({.argv = {"cat", limits.string()}}).readLine(), "4096");
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
