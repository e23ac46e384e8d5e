// The raw facts, asked of this machine and held against what this process knows of itself.
#include "VintrelCore/platform/Platform.h"

#include "VintrelCore/base/ChildProcess.h"
#include "VintrelCore/base/FileDescriptor.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using VintrelTests::ScopedEnvironment;
using namespace std::chrono_literals;

namespace {

double secondsSinceEpoch() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// The soft limit of open descriptors after `work` in a child of the test that began with `soft`; 0 when that
/// is above the hard one, or when the hard one has changed.
rlim_t softLimitAfter(rlim_t soft, const std::function<void()>& work) {
    const std::string told = VintrelTests::inChild([&] {
        rlimit before{};
        rlimit after{};
        ::getrlimit(RLIMIT_NOFILE, &before);
        before.rlim_cur = soft;
        const bool isSet = ::setrlimit(RLIMIT_NOFILE, &before) == 0;
        work();
        ::getrlimit(RLIMIT_NOFILE, &after);
        return std::to_string(isSet && after.rlim_max == before.rlim_max ? after.rlim_cur : 0);
    });
    return std::stoul(told);
}

/// The soft limit while `count` more descriptors are to be had.
rlim_t softLimitDuring(rlim_t soft, size_t count) {
    std::optional<Platform::MoreDescriptors> more;
    return softLimitAfter(soft, [&] { more.emplace(count); });
}

} // namespace

TEST(StartTime, isWhenTheProcessStarted) {
    const double before = secondsSinceEpoch();
    const auto child =
        ChildProcess::start(VINTREL_TEST_TOOL, std::vector<std::string>{"print-then-hang", "x"}, {});
    ASSERT_TRUE(child);
    const auto start = Platform::startTime(child->pid);
    ASSERT_TRUE(start);
    const double seconds = static_cast<double>(start->sec) + static_cast<double>(start->usec) / 1e6;
    EXPECT_NEAR(seconds, before, 0.5);
    EXPECT_GE(start->usec, 0);
    EXPECT_LT(start->usec, 1'000'000);

    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(Platform::startTime(child->pid), start); // and never moves
    ::kill(child->pid, SIGKILL);
    siginfo_t info{};
    ::waitid(P_PID, static_cast<id_t>(child->pid), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(Platform::startTime(child->pid), start) << "a zombie keeps it";
    ::waitpid(child->pid, nullptr, 0);
    EXPECT_EQ(Platform::startTime(child->pid), std::nullopt);
}

TEST(StartTime, isAbsentForNoProcess) {
    EXPECT_EQ(Platform::startTime(0), std::nullopt);
    EXPECT_EQ(Platform::startTime(-1), std::nullopt);
    EXPECT_EQ(Platform::startTime(1 << 30), std::nullopt);
}

TEST(KernelView, knowsThisProcess) {
    const auto view = Platform::kernelView();
    EXPECT_TRUE(view.correctsParents);
    EXPECT_EQ(view.userID, static_cast<int32_t>(::getuid()));
    double uptime = 0;
    std::ifstream("/proc/uptime") >> uptime;
    EXPECT_NEAR(view.secondsSinceBoot, uptime, 1);
    const auto facts = view.factsOf(::getpid());
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->userID, view.userID);
    EXPECT_EQ(facts->state, 'R');
    EXPECT_EQ(facts->processGroupID, ::getpgid(0));
    EXPECT_EQ(facts->sessionID, ::getsid(0));
    EXPECT_EQ(facts->controlGroup, view.ownControlGroup);
    EXPECT_EQ(view.factsOf(1 << 30), std::nullopt);
}

TEST(KernelView, knowsTheFirstProcessOfAnotherNamespace) {
    VINTREL_NEEDS_ROOT();
    const auto view = Platform::kernelView();
    EXPECT_FALSE(view.factsOf(::getpid())->isNamespacesFirst);
    // The shell is process 1 there, and tells what it is called here.
    VintrelTests::Process outer({.argv = {"unshare", "--pid", "--fork", "--kill-child", "sh", "-c",
                                          "read -r pid rest </proc/self/stat; sleep 60 & echo $pid; wait"}});
    const int32_t first = std::stoi(outer.readLine());
    ASSERT_TRUE(view.factsOf(first));
    EXPECT_TRUE(view.factsOf(first)->isNamespacesFirst);
    EXPECT_FALSE(view.factsOf(outer.pid())->isNamespacesFirst);
}

TEST(ProcessWords, areTheExactArgumentsAndTheFileThatRuns) {
    const std::vector<std::string> given{"print-then-hang", "two words", "", "line\nbreak"};
    const auto child = ChildProcess::start(VINTREL_TEST_TOOL, given, {});
    ASSERT_TRUE(child);
    EXPECT_EQ(Platform::executable(child->pid), std::filesystem::canonical(VINTREL_TEST_TOOL));
    std::vector<std::string> expected{VINTREL_TEST_TOOL};
    expected.insert(expected.end(), given.begin(), given.end());
    // In its first moments a process has none.
    EXPECT_TRUE(VintrelTests::eventually([&] { return Platform::arguments(child->pid) == expected; }));
    ::kill(child->pid, SIGKILL);
    siginfo_t info{};
    ::waitid(P_PID, static_cast<id_t>(child->pid), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(Platform::executable(child->pid), std::nullopt) << "a zombie runs nothing";
    ::waitpid(child->pid, nullptr, 0);
    EXPECT_EQ(Platform::arguments(child->pid), std::nullopt);
}

TEST(ProcessWords, areWholeOrAbsent) {
    // In two pieces, as no single one may be longer than 128 KiB.
    const auto isWhole = [](size_t length) {
        const std::vector<std::string> given{"print-then-hang", std::string(length / 2, 'x'),
                                             std::string(length / 2, 'y')};
        const auto child = ChildProcess::start(VINTREL_TEST_TOOL, given, {});
        std::optional<std::vector<std::string>> arguments;
        VintrelTests::eventually([&] {
            arguments = Platform::arguments(child->pid);
            return !arguments || !arguments->empty();
        });
        ::kill(child->pid, SIGKILL);
        ::waitpid(child->pid, nullptr, 0);
        return arguments && arguments->size() == 4 && arguments->back() == given.back();
    };
    EXPECT_TRUE(isWhole(size_t{127} << 10));
    EXPECT_FALSE(isWhole(size_t{129} << 10));
}

TEST(KernelView, knowsWhoHoldsATerminal) {
    const auto view = Platform::kernelView();
    EXPECT_FALSE(view.holdsTerminal(::getpid()));
    {
        const FileDescriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        ASSERT_TRUE(terminal);
        EXPECT_TRUE(view.holdsTerminal(::getpid()));
    }
    EXPECT_FALSE(view.holdsTerminal(::getpid()));
    EXPECT_FALSE(view.holdsTerminal(1 << 30));
}

TEST(KernelView, knowsWhichProcessItsEnvironmentNamesAsTheUnits) {
    const auto view = Platform::kernelView();
    const auto start = [](const std::string& variable) {
        return VintrelTests::Process({.argv = {"/usr/bin/env", "-i", variable, "/bin/sleep", "60"}});
    };
    const VintrelTests::Process telling = start("SYSTEMD_EXEC_PID=4242");
    EXPECT_TRUE(VintrelTests::eventually([&] { return view.unitProcessOf(telling.pid()) == 4242; }));
    const VintrelTests::Process silent = start("A=1");
    EXPECT_TRUE(VintrelTests::eventually([&] {
        std::ifstream file("/proc/" + std::to_string(silent.pid()) + "/environ");
        std::string environment;
        return std::getline(file, environment, '\0') && environment == "A=1";
    }));
    EXPECT_EQ(view.unitProcessOf(silent.pid()), std::nullopt);
    EXPECT_EQ(view.unitProcessOf(1 << 30), std::nullopt);
}

namespace {

/// A control group of the test's own, and within it one that another account has made; they go with it.
class ControlGroups {
public:
    explicit ControlGroups(const std::filesystem::path& hierarchy) : m_own(hierarchy / name()) {
        std::error_code error;
        if (std::filesystem::create_directory(m_own, error)) {
            std::filesystem::permissions(m_own, std::filesystem::perms::all);
            VintrelTests::Process({.argv = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                            "mkdir", (m_own / "accounts.scope").string()}})
                .wait();
        }
    }

    ControlGroups(const ControlGroups&) = delete;
    ControlGroups& operator=(const ControlGroups&) = delete;

    ~ControlGroups() {
        ::rmdir((m_own / "accounts.scope").c_str());
        ::rmdir(m_own.c_str());
    }

    [[nodiscard]] bool exist() const { return std::filesystem::exists(m_own / "accounts.scope"); }

    static std::string name() { return "vintrel-test-" + std::to_string(::getpid()); }

private:
    std::filesystem::path m_own;
};

} // namespace

TEST(KernelView, knowsWhenAnAccountMadeAControlGroup) {
    VINTREL_NEEDS_ROOT();
    const auto view = Platform::kernelView();
    const double before = secondsSinceEpoch();
    const std::filesystem::path top = "/sys/fs/cgroup";
    const auto hierarchy = std::filesystem::exists(top / "systemd/cgroup.procs") ? top / "systemd" : top;
    const ControlGroups groups(hierarchy);
    VINTREL_NEEDS(groups.exist(), "control groups that can be written");
    const double after = secondsSinceEpoch();
    std::this_thread::sleep_for(20ms);
    const std::string own = "/" + ControlGroups::name();
    std::ifstream(hierarchy.string() + own + "/accounts.scope/cgroup.procs").get(); // a look changes nothing
    const auto start = view.controlGroupStart(own + "/accounts.scope");
    ASSERT_TRUE(start);
    const double seconds = static_cast<double>(start->sec) + static_cast<double>(start->usec) / 1e6;
    constexpr double tick = 0.01; // the kernel stamps by a coarser clock
    EXPECT_GE(seconds, before - tick);
    EXPECT_LE(seconds, after + tick);
    EXPECT_EQ(view.controlGroupStart(own), std::nullopt) << "what root makes keeps no moment";
    EXPECT_EQ(view.controlGroupStart(own + "/none.scope"), std::nullopt);
    EXPECT_EQ(view.controlGroupStart(""), std::nullopt);
}

TEST(Folders, homeIsTheVariableOrElseTheAccounts) {
    {
        const ScopedEnvironment home("HOME", "/some/where/");
        EXPECT_EQ(Platform::homeFolder(), "/some/where");
    }
    const ScopedEnvironment none("HOME", std::nullopt);
    EXPECT_TRUE(Platform::homeFolder().starts_with('/'));
    const ScopedEnvironment relative("HOME", "not/absolute");
    EXPECT_TRUE(Platform::homeFolder().starts_with('/'));
}

TEST(Folders, dataFollowsTheBaseDirectoryRules) {
    const ScopedEnvironment home("HOME", "/h");
    {
        const ScopedEnvironment data("XDG_DATA_HOME", "/data/");
        EXPECT_EQ(Platform::dataFolder(), "/data");
    }
    for (const auto& ignored : {std::optional<std::string>("relative"), std::optional<std::string>("")}) {
        const ScopedEnvironment data("XDG_DATA_HOME", ignored);
        EXPECT_EQ(Platform::dataFolder(), "/h/.local/share");
    }
}

TEST(Folders, settingsFollowTheBaseDirectoryRules) {
    const ScopedEnvironment home("HOME", "/h");
    {
        const ScopedEnvironment settings("XDG_CONFIG_HOME", "/settings/");
        EXPECT_EQ(Platform::settingsFolder(), "/settings");
    }
    for (const auto& ignored : {std::optional<std::string>("relative"), std::optional<std::string>("")}) {
        const ScopedEnvironment settings("XDG_CONFIG_HOME", ignored);
        EXPECT_EQ(Platform::settingsFolder(), "/h/.config");
    }
}

TEST(LimitDescriptors, lowersTheSoftLimitAndNothingElse) {
    rlimit most{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &most), 0);
    const auto expected = std::min<rlim_t>(most.rlim_max, 4'096);
    EXPECT_EQ(softLimitAfter(most.rlim_max, Platform::limitDescriptors), expected);
}

TEST(LimitDescriptors, leavesALowerOneAlone) {
    EXPECT_EQ(softLimitAfter(1'024, Platform::limitDescriptors), 1'024);
    EXPECT_EQ(softLimitAfter(64, Platform::limitDescriptors), 64);
}

TEST(MoreDescriptors, areThereAsLongAsTheyAreNeeded) {
    EXPECT_EQ(softLimitAfter(1'024, [] { const Platform::MoreDescriptors more(2'000); }), 1'024);
    EXPECT_EQ(softLimitDuring(1'024, 2'000), 4'096);
    EXPECT_EQ(softLimitDuring(1'024, 1'000), 4'096) << "the program has some open already";
    EXPECT_EQ(softLimitDuring(1'024, 500), 1'024);
}

TEST(MoreDescriptors, areNotMoreThanToolsCopeWith) {
    EXPECT_EQ(softLimitDuring(1'024, 100'000), 4'096);
}

TEST(MoreDescriptors, neverLowerALimit) {
    rlimit most{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &most), 0);
    EXPECT_EQ(softLimitDuring(most.rlim_max, 100'000), most.rlim_max);
}

TEST(MoreDescriptors, leaveTheUsualLimitBehindWhereTwoOverlap) {
    const auto overlap = [] {
        auto first = std::make_unique<Platform::MoreDescriptors>(2'000);
        const Platform::MoreDescriptors second(2'000);
        first.reset();
    };
    EXPECT_EQ(softLimitAfter(1'024, overlap), 1'024);
}
