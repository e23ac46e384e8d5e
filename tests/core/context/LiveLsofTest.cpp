#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "tests/core/context/ListeningSocket.h"
#include "tests/core/context/SleepingChild.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <unistd.h>

namespace VintrelCore {

using CwdResolver::CwdMap;
using CwdResolver::processCwds;
using VintrelTests::ListeningSocket;
using VintrelTests::ScopedEnvironment;
using VintrelTests::SleepingChild;
using VintrelTests::TemporaryFolder;

namespace fs = std::filesystem;

TEST(LiveLsofTest, findsTheProjectsOfRealProcesses) {
    const TemporaryFolder home;
    home.makeFolder("src/shop/.git");
    const SleepingChild web(home.makeFolder("src/shop/apps/web"));
    const SleepingChild fix([&home] {
        home.write("src/fix/.git", "gitdir: ../shop/.git/worktrees/fix\n");
        return home.path() / "src/fix";
    }());
    const SleepingChild notes(home.makeFolder("Meine Notizen/日記"));

    EXPECT_EQ(
        processCwds({.forPIDs = {web.pid(), fix.pid(), notes.pid()}, .home = home.path().string()}),
        (CwdMap{{web.pid(),
                 {.label = "shop/apps/web", .fullPath = "~/src/shop/apps/web", .projectRoot = "~/src/shop"}},
                {fix.pid(), {.label = "fix", .fullPath = "~/src/fix", .projectRoot = "~/src/fix"}},
                {notes.pid(), {.label = "日記", .fullPath = "~/Meine Notizen/日記"}}}));
}

TEST(LiveLsofTest, aProcessThatIsGoneDoesNotHideTheOthers) {
    const TemporaryFolder folder;
    SleepingChild gone(folder.path());
    const SleepingChild here(folder.makeFolder("here"));
    gone.end();

    const CwdMap cwds = processCwds({.forPIDs = {gone.pid(), here.pid()}});
    ASSERT_EQ(cwds.size(), 1U);
    EXPECT_EQ(cwds.at(here.pid()).fullPath, (folder.path() / "here").string());
}

TEST(LiveLsofTest, aProcessMayOutliveItsDirectory) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    const SleepingChild child(folder.makeFolder("shop/dist"));
    fs::remove(folder.path() / "shop/dist");

    const CwdMap cwds = processCwds({.forPIDs = {child.pid()}, .home = folder.path().string()});
    ASSERT_TRUE(cwds.contains(child.pid()));
    EXPECT_EQ(cwds.at(child.pid()),
              (ProcessCwd{.label = "shop/dist", .fullPath = "~/shop/dist", .projectRoot = "~/shop"}));
}

TEST(LiveLsofTest, aDirectoryMayReallyBeCalledDeleted) {
    const TemporaryFolder folder;
    const SleepingChild child(folder.makeFolder("shop (deleted)"));
    const CwdMap cwds = processCwds({.forPIDs = {child.pid()}});
    ASSERT_TRUE(cwds.contains(child.pid()));
    EXPECT_EQ(cwds.at(child.pid()).label, "shop (deleted)");
}

TEST(LiveLsofTest, printsAProcessLineAndANameLineForEach) {
    const TemporaryFolder folder;
    const SleepingChild child(folder.path());
    // Some versions of lsof put a line for the descriptor in between.
    const std::string output = CwdResolver::runLSOF(std::vector{child.pid()});
    EXPECT_TRUE(output.starts_with("p" + std::to_string(child.pid()) + "\n")) << output;
    EXPECT_TRUE(output.ends_with("\nn" + folder.path().string() + "\n")) << output;
}

TEST(LiveLsofDeathTest, aDirectoryThatMayNotBeReadIsLeftOut) {
    const auto askAboutASecretiveProcess = [] {
        // Only root may look into it from outside; and whoever is root here is so no more.
        constexpr uid_t nobody = 65'534;
        if (::geteuid() == 0 && ::setuid(nobody) != 0) {
            std::_Exit(2);
        }
        ::prctl(PR_SET_DUMPABLE, 0);
        const bool saidSomething = !CwdResolver::runLSOF(std::vector{::getpid()}).empty();
        std::_Exit(saidSomething && processCwds({.forPIDs = {::getpid()}}).empty() ? 0 : 1);
    };
    EXPECT_EXIT(askAboutASecretiveProcess(), ::testing::ExitedWithCode(0), "");
}

TEST(LiveLsofTest, isNotAskedAboutNobody) {
    EXPECT_EQ(CwdResolver::runLSOF({}), "") << "without pids, lsof would list every process there is";
}

TEST(LiveLsofTest, findsWhoListensOnAPortOfTheUsers) {
    const TemporaryFolder data;
    const ScopedEnvironment dataHome("XDG_DATA_HOME", data.path().string());
    const ListeningSocket first;
    const ListeningSocket second;
    const ListeningSocket unknown;
    data.write("Vintrel/ports.json", R"({"shop": [)" + std::to_string(first.port()) + R"(], "docs": [)" +
                                         std::to_string(second.port()) + "]}");

    const auto ports = PortRegistry::listeningPorts();
    ASSERT_TRUE(ports.contains(::getpid()));
    EXPECT_EQ(ports.at(::getpid()), (PortRegistry::PortSet{first.port(), second.port()}));
    EXPECT_TRUE(PortRegistry::listeningPIDs().contains(::getpid()));
}

TEST(LiveLsofTest, aPortThatNobodyRegisteredIsNobodysBusiness) {
    const TemporaryFolder data;
    const ScopedEnvironment dataHome("XDG_DATA_HOME", data.path().string());
    const ListeningSocket unknown;
    ASSERT_FALSE(PortRegistry::registeredPorts.contains(unknown.port()));

    EXPECT_FALSE(PortRegistry::listeningPorts().contains(::getpid()));
    EXPECT_FALSE(PortRegistry::listeningPIDs().contains(::getpid()));
}

} // namespace VintrelCore
