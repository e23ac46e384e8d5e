// The whole scan, with the real tools and with missing and broken ones.
#include "VintrelCore/VintrelCore.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/scan/ToolFacts.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/Stray.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <list>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

/// A home and a git repository in it, and a test runner that was left running there.
class ScanOnThisMachine : public ::testing::Test {
protected:
    ScanOnThisMachine() { m_folder.makeFolder("shop/.git"); }

    [[nodiscard]] CLIScan::World world() const { return {.home = m_folder.path()}; }

    /// Where the kernel does not tell.
    [[nodiscard]] CLIScan::World worldOfTools(const std::string& ps = Platform::psPath(),
                                              const std::string& lsof = Lsof::path()) const {
        const auto ask = [ps, lsof](int interrupt) {
            return std::make_unique<ToolFacts>(
                ToolFacts::Tools{.ps = ps, .lsof = lsof, .interrupt = interrupt});
        };
        return {.facts = ask, .home = m_folder.path()};
    }

    [[nodiscard]] bool lists(const CLIScan::Result& result) const {
        return std::ranges::find(result.items, m_stray.pid(), &ProcessItem::pid) != result.items.end();
    }

    TemporaryFolder m_folder;
    ScopedEnvironment m_data{"XDG_DATA_HOME", (m_folder.path() / "data").string()};
    Stray m_stray{{.argv = {"vitest", "--watch"}, .cwd = m_folder.makeFolder("shop/web")}};
};

} // namespace

TEST_F(ScanOnThisMachine, findsTheStrayAndItsProject) {
    const auto result = CLIScan::scan({.elapsedThreshold = 0, .protectedProjects = {"~/shop"}}, world());
    EXPECT_EQ(complaintAboutTable(result.faults), std::nullopt);
    EXPECT_EQ(complaintAboutDetails(result.faults), std::nullopt);
    EXPECT_FALSE(result.interrupted);
    ASSERT_TRUE(lists(result));
    EXPECT_EQ(result.cwds.at(m_stray.pid()),
              (ProcessCwd{.label = "shop/web", .fullPath = "~/shop/web", .projectRoot = "~/shop"}));
    EXPECT_TRUE(result.protectedPIDs.contains(m_stray.pid()));
}

TEST_F(ScanOnThisMachine, givesTheSameWhetherTheKernelOrTheToolsAreAsked) {
    const Stray listening({.argv = {"vitest", "--api"}, .port = freeRegisteredPort()});
    const Stray runner({.argv = {"npm run dev", "--below", "sh", "-c", "vite", "--below", "node", "vite"}});
    const Stray deleted({.argv = {"jest"}, .cwd = m_folder.makeFolder("shop/gone")});
    std::filesystem::remove(m_folder.path() / "shop/gone");
    const ScanRules rules{
        .elapsedThreshold = 0, .ignoredNames = {"nothing @ ~/shop"}, .protectedProjects = {"~/shop"}};
    auto byTools = CLIScan::scan(rules, worldOfTools());
    auto byKernel = CLIScan::scan(rules, world());
    EXPECT_EQ(byKernel.faults.table, byTools.faults.table);
    EXPECT_EQ(byKernel.faults.details, byTools.faults.details);
    EXPECT_EQ(byKernel.protectedPIDs, byTools.protectedPIDs);
    EXPECT_EQ(byKernel.unknownFolderPIDs, byTools.unknownFolderPIDs);
    for (const Stray* stray : std::array<const Stray*, 4>{&m_stray, &listening, &runner, &deleted}) {
        const auto itemIn = [stray](const CLIScan::Result& result) {
            const auto found = std::ranges::find(result.items, stray->pid(), &ProcessItem::pid);
            auto item = found != result.items.end() ? *found : ProcessItem();
            item.elapsed = item.cpuPercent = 0; // they move on
            return item;
        };
        EXPECT_EQ(itemIn(byKernel), itemIn(byTools)) << stray->pid();
        EXPECT_EQ(itemIn(byKernel).pid, stray->pid());
        EXPECT_EQ(byKernel.cwds.at(stray->pid()), byTools.cwds.at(stray->pid())) << stray->pid();
    }
}

TEST_F(ScanOnThisMachine, findsTheHomeFolderBehindALink) {
    const auto link = m_folder.path() / "link";
    std::filesystem::create_symlink(m_folder.path(), link);
    for (const std::string& project :
         {std::string("~/shop"), (link / "shop").string(), (m_folder.path() / "shop").string()}) {
        const auto result =
            CLIScan::scan({.elapsedThreshold = 0, .protectedProjects = {project}}, {.home = link});
        ASSERT_TRUE(lists(result));
        EXPECT_EQ(result.cwds.at(m_stray.pid()).fullPath, "~/shop/web");
        EXPECT_TRUE(result.protectedPIDs.contains(m_stray.pid())) << project;
    }
}

TEST_F(ScanOnThisMachine, protectsAProjectThatIsNamedByALink) {
    std::filesystem::create_symlink(m_folder.path() / "shop", m_folder.path() / "current");
    const auto result = CLIScan::scan({.elapsedThreshold = 0, .protectedProjects = {"~/current"}}, world());
    EXPECT_TRUE(result.protectedPIDs.contains(m_stray.pid()));
}

TEST_F(ScanOnThisMachine, findsProjectsWithUnusualNames) {
    std::list<Stray> strays;
    for (const char* name : {"back\\slash", "line\nbreak",
                             "L\xe4"
                             "den",
                             "tab\there"}) {
        strays.emplace_back(StrayOptions{.argv = {"jest"}, .cwd = m_folder.makeFolder(name)});
        m_folder.makeFolder(std::string(name) + "/.git");
        const auto result = CLIScan::scan({}, world());
        const ProcessCwd& cwd = result.cwds.at(strays.back().pid());
        EXPECT_EQ(cwd.label, name);
        EXPECT_EQ(cwd.projectRoot, "~/" + std::string(name));
    }
}

TEST_F(ScanOnThisMachine, appliesScopedAndUnscopedIgnores) {
    EXPECT_FALSE(lists(CLIScan::scan({.ignoredNames = {"VITEST @ ~/shop"}}, world())));
    EXPECT_TRUE(lists(CLIScan::scan({.ignoredNames = {"vitest @ ~/other"}}, world())));
    EXPECT_FALSE(lists(CLIScan::scan({.ignoredNames = {"", "  ", "vitest"}}, world())));
    EXPECT_FALSE(lists(CLIScan::scan({.disabledKinds = {ProcessKind::vitest}}, world())));
}

TEST_F(ScanOnThisMachine, aListenerOnAKnownPortIsNotSafe) {
    const Stray listening({.argv = {"vitest", "--api"}, .port = freeRegisteredPort()});
    const auto result = CLIScan::scan({.elapsedThreshold = 0}, world());
    const auto tierOf = [&result](int32_t pid) {
        return std::ranges::find(result.items, pid, &ProcessItem::pid)->riskTier;
    };
    EXPECT_EQ(tierOf(listening.pid()), RiskTier::moderate);
    EXPECT_EQ(tierOf(m_stray.pid()), RiskTier::easy);
}

TEST_F(ScanOnThisMachine, aDeletedWorkingDirectoryKeepsItsName) {
    std::filesystem::remove(m_folder.path() / "shop/web");
    const auto result = CLIScan::scan({}, world());
    ASSERT_TRUE(lists(result));
    EXPECT_EQ(result.cwds.at(m_stray.pid()).fullPath, "~/shop/web");
    EXPECT_EQ(result.cwds.at(m_stray.pid()).label, "shop/web");
}

TEST_F(ScanOnThisMachine, aFolderWhoseNameEndsLikeADeletedOneIsItself) {
    const Stray odd({.argv = {"jest"}, .cwd = m_folder.makeFolder("shop/x (deleted)")});
    const auto result = CLIScan::scan({}, world());
    EXPECT_EQ(result.cwds.at(odd.pid()).fullPath, "~/shop/x (deleted)");
}

TEST_F(ScanOnThisMachine, withoutPSNothingIsKnown) {
    for (const char* tool : {"/nowhere/ps", "/bin/false", "/bin/true"}) {
        const auto result = CLIScan::scan({}, worldOfTools(tool));
        EXPECT_NE(result.faults.table, Shell::Fault::none) << tool;
        EXPECT_TRUE(result.items.empty()) << tool;
    }
}

TEST_F(ScanOnThisMachine, withoutLsofTheCandidatesStandWithoutProjects) {
    const auto result =
        CLIScan::scan({.elapsedThreshold = 0}, worldOfTools(Platform::psPath(), "/nowhere/lsof"));
    EXPECT_EQ(result.faults.details, Shell::Fault::notLaunched);
    EXPECT_EQ(result.faults.table, Shell::Fault::none);
    EXPECT_TRUE(lists(result));
    EXPECT_TRUE(result.cwds.empty());
}

TEST_F(ScanOnThisMachine, anExitStatusOfLsofIsNoFailure) {
    const auto result = CLIScan::scan({}, worldOfTools(Platform::psPath(), "/bin/false"));
    EXPECT_EQ(result.faults.details, Shell::Fault::none);
    EXPECT_TRUE(lists(result));
}

TEST_F(ScanOnThisMachine, anInterruptStopsTheScanAndItsTools) {
    int interrupt[2];
    ASSERT_EQ(::pipe(interrupt), 0);
    ASSERT_EQ(::write(interrupt[1], "!", 1), 1);
    const auto hanging = m_folder.write("hang", "#!/bin/sh\nsleep 60\n");
    std::filesystem::permissions(hanging, std::filesystem::perms::owner_all);
    const auto start = std::chrono::steady_clock::now();
    auto world = worldOfTools(hanging, hanging);
    world.interrupt = interrupt[0];
    const auto result = CLIScan::scan({}, world);
    EXPECT_TRUE(result.interrupted);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    ::close(interrupt[0]);
    ::close(interrupt[1]);
}

TEST_F(ScanOnThisMachine, aHangingLsofIsAskedOnceMoreWithoutBlockingCalls) {
    // Hangs like the real one on a dead mount, unless it is told to avoid what blocks.
    const auto lsof = m_folder.write("lsof", "#!/bin/sh\n[ \"$1 $2\" = '-b -w' ] && exec " + Lsof::path() +
                                                 " \"$@\"\n"
                                                 "sleep 60\n");
    std::filesystem::permissions(lsof, std::filesystem::perms::owner_all);
    const auto start = std::chrono::steady_clock::now();
    const auto result = CLIScan::scan({}, worldOfTools(Platform::psPath(), lsof));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15))
        << "both missed it together";
    EXPECT_EQ(result.faults.details, Shell::Fault::none);
    ASSERT_TRUE(lists(result));
    EXPECT_EQ(result.cwds.at(m_stray.pid()).fullPath, "~/shop/web");
    EXPECT_EQ(result.cwds.at(m_stray.pid()).label, "web") << "no file is touched while a mount may be dead";
}

TEST_F(ScanOnThisMachine, aPidThatWasUsedAgainWhilePSRanIsNotListed) {
    // This ps speaks of a process of old; by now its number is that of one which started only after ps did.
    const auto ps = m_folder.write("ps", "#!/bin/sh\nsleep 60 >/dev/null &\n"
                                         "echo \"$! 1 10-00:00:00 ? 0.0 1000 vitest --watch\"\n"
                                         "echo \"$PPID 1 10-00:00:00 ? 0.0 1000 vitest --watch\"\n");
    std::filesystem::permissions(ps, std::filesystem::perms::owner_all);
    const auto result = CLIScan::scan({}, worldOfTools(ps));
    ASSERT_EQ(result.faults.table, Shell::Fault::none);
    ASSERT_EQ(result.items.size(), 1U) << "only the one that was there before";
    EXPECT_EQ(result.items.front().pid, ::getpid());
}

TEST_F(ScanOnThisMachine, leavesOutARowForTheUnknownFolderOfWhatLivesAndNotOfWhatEndsMeanwhile) {
    const std::vector<std::string> runner{"npm test", "--below", "sh",           "-c",
                                          "vitest",   "--below", "node (vitest)"};
    const Stray ending({.argv = runner, .cwd = m_folder.makeFolder("elsewhere")});
    const Stray secretive({.argv = runner, .cwd = m_folder.makeFolder("mine")});
    // Between ps and the question for folders, the server of one row ends, and the runner of the other.
    const auto lsof =
        m_folder.write("lsof", "#!/bin/sh\ncase \"$*\" in *cwd*) kill -9 " +
                                   std::to_string(ending.pids()[2]) + " " + std::to_string(secretive.pid()) +
                                   " ;; esac\n" + Lsof::path() + " \"$@\" | grep -v '/mine$'\n");
    std::filesystem::permissions(lsof, std::filesystem::perms::owner_all);
    const auto result = CLIScan::scan({.elapsedThreshold = 0, .protectedProjects = {"~/mine"}},
                                      worldOfTools(Platform::psPath(), lsof));
    EXPECT_TRUE(result.unknownFolderPIDs.contains(secretive.pid()));
    EXPECT_FALSE(result.unknownFolderPIDs.contains(ending.pid()));
    const auto isSwept = [items = CLIEnding::itemsToClean(result)](int32_t pid) {
        return std::ranges::find(items, pid, &ProcessItem::pid) != items.end();
    };
    EXPECT_TRUE(isSwept(ending.pid()));
    EXPECT_FALSE(isSwept(secretive.pid()));
}
