// Many at once: one wait for all, results in order, and a wait that can be cut short.
#include "VintrelCore/terminate/KillCore.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/Process.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using KillCore::Moment;

namespace {

const KillResult confirmedEnd{.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};

/// Children that sleep, and need no descriptor in the test. Ended and reaped at the latest with the object.
class Sleepers {
public:
    explicit Sleepers(int count) {
        for (int index = 0; index < count; ++index) {
            const pid_t pid = forked();
            if (pid == 0) {
                ::execl("/bin/sleep", "sleep", "60", nullptr);
                ::_exit(127);
            }
            m_pids.push_back(pid);
        }
    }

    Sleepers(const Sleepers&) = delete;
    Sleepers& operator=(const Sleepers&) = delete;

    ~Sleepers() { reap(); }

    [[nodiscard]] std::vector<ProcessItem> items() const {
        std::vector<ProcessItem> items;
        for (const pid_t pid : m_pids) {
            items.push_back({.pid = pid, .startTime = KillCore::startTime(pid)});
        }
        return items;
    }

    /// How many have been ended by SIGTERM; those that still run are ended by force.
    long reap() {
        const long ended = std::ranges::count_if(m_pids, [](pid_t pid) {
            siginfo_t info{};
            ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT | WNOHANG);
            const bool byRequest = info.si_pid == pid && info.si_status == SIGTERM;
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
            return byRequest;
        });
        m_pids.clear();
        return ended;
    }

private:
    std::vector<pid_t> m_pids;
};

/// A pipe to cut a wait short with.
struct Interrupt {
    Interrupt() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
    }

    ~Interrupt() {
        ::close(ends[0]);
        ::close(ends[1]);
    }

    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    void come() const { EXPECT_EQ(::write(ends[1], "!", 1), 1); }

    std::array<int, 2> ends{-1, -1};
};

rlim_t softLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

void setSoftLimit(rlim_t soft) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = soft;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

long threadsOfThisProcess() {
    return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/task"));
}

} // namespace

TEST(Batch, ofNoneReturnsAtOnce) {
    EXPECT_LT(secondsOf([] { EXPECT_TRUE(KillCore::killAll({}, {}, endlessWait()).empty()); }), noWait);
    EXPECT_LT(secondsOf([] { EXPECT_TRUE(KillCore::killAll({}, {{17, "web"}}, endlessWait()).empty()); }),
              noWait);
}

TEST(Batch, withNothingToSignalReturnsAtOnce) {
    Subject gone(OnSIGTERM::dies);
    Subject other(OnSIGTERM::leaves);
    std::vector items{gone.item(), other.item()};
    gone.vanish();
    --items[1].startTime->sec;
    EXPECT_LT(secondsOf([&] { EXPECT_EQ(KillCore::killAll(items, {}, endlessWait()).size(), 2U); }), noWait);
    EXPECT_EQ(other.noted(), std::vector<int>());
}

TEST(Batch, ofFiveHundredSharesOneWait) {
    Sleepers sleepers(500);
    const auto items = sleepers.items();
    constexpr double grace = 1;
    auto world = shortWait(grace);
    const long threadsBefore = threadsOfThisProcess();
    bool onOneThread = true;
    world.at = [&](Moment moment, int32_t) {
        if (moment == Moment::duringGrace) {
            onOneThread = onOneThread && threadsOfThisProcess() == threadsBefore;
        }
    };
    std::vector<KillResult> results;
    const double seconds = secondsOf([&] { results = KillCore::killAll(items, {}, world); });
    EXPECT_GE(seconds, grace);
    EXPECT_LT(seconds, 3 * grace);
    EXPECT_TRUE(onOneThread);
    EXPECT_EQ(results, std::vector<KillResult>(500, confirmedEnd));
    EXPECT_EQ(sleepers.reap(), 500);
}

TEST(Batch, mayBeLargerThanTheNumberOfDescriptors) {
    const std::string told = inChild([] {
        Sleepers sleepers(150);
        const auto items = sleepers.items();
        const rlimit few{.rlim_cur = 64, .rlim_max = 64};
        ::setrlimit(RLIMIT_NOFILE, &few);
        const auto results = KillCore::killAll(items, {}, shortWait());
        const auto confirmed = std::ranges::count(results, confirmedEnd);
        const std::string last = describe(results.back());
        return std::to_string(confirmed) + " ended, " + std::to_string(sleepers.reap()) +
               " by SIGTERM; the last: " + last.substr(0, last.find(", left"));
    });
    EXPECT_EQ(told, "150 ended, 150 by SIGTERM; the last: confirmed, ended");
}

TEST(Batch, hasADescriptorForEachProcessAndThenTheUsualLimitAgain) {
    const std::string told = inChild([] {
        Sleepers sleepers(150);
        const auto items = sleepers.items();
        setSoftLimit(64);
        auto world = shortWait();
        ptrdiff_t open = 0;
        world.at = [&](Moment moment, int32_t) {
            if (moment == Moment::duringGrace && open == 0) {
                open = std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"));
            }
        };
        static_cast<void>(KillCore::killAll(items, {}, world));
        return (open > 150 ? "more than 150" : std::to_string(open)) + " open, then a limit of " +
               std::to_string(softLimit());
    });
    EXPECT_EQ(told, "more than 150 open, then a limit of 64");
}

TEST(Batch, ofAFewLeavesTheLimitAlone) {
    const std::string told = inChild([] {
        Sleepers sleepers(2);
        setSoftLimit(1'024);
        auto world = shortWait();
        rlim_t during = 0;
        world.at = [&](Moment, int32_t) { during = std::max(during, softLimit()); };
        static_cast<void>(KillCore::killAll(sleepers.items(), {}, world));
        return std::to_string(during);
    });
    EXPECT_EQ(told, "1024");
}

TEST(Batch, asksEverybodyBeforeItWaits) {
    Subject first(OnSIGTERM::stays);
    Subject last(OnSIGTERM::stays);
    const std::vector items{first.item(), last.item()};
    std::vector<int> notedByTheLast;
    auto world = shortWait();
    world.at = [&](Moment moment, int32_t pid) {
        if (moment == Moment::duringGrace && pid == first.pid()) {
            notedByTheLast = last.noted();
        }
    };
    EXPECT_EQ(KillCore::killAll(items, {}, world), (std::vector{confirmedEnd, confirmedEnd}));
    EXPECT_EQ(notedByTheLast, std::vector{SIGTERM});
    EXPECT_EQ(first.wait(), -SIGKILL);
    EXPECT_EQ(last.wait(), -SIGKILL);
}

TEST(Batch, answersInTheOrderOfItsItems) {
    Subject polite(OnSIGTERM::leaves);
    Subject gone(OnSIGTERM::dies);
    Subject another(OnSIGTERM::leaves);
    Subject stubborn(OnSIGTERM::stays);
    std::vector<ProcessItem> items{stubborn.item(), gone.item(), {}, another.item(), polite.item()};
    gone.vanish();
    ++items[3].startTime->usec;
    const std::string told = inChild([&] {
        items[2].pid = ::getpid(); // not that of the test: a mistake would end it
        std::string text;
        for (const KillResult& result : KillCore::killAll(items, {}, shortWait())) {
            const std::string line = describe(result);
            text += line.substr(0, line.find(", left")) + "\n";
        }
        return text;
    });
    EXPECT_EQ(told, "confirmed, ended\nnotKilled, alreadyGone\nnotKilled, refused\n"
                    "notKilled, notTheSame\nconfirmed, ended\n");
    EXPECT_EQ(another.noted(), std::vector<int>());
}

TEST(Batch, mayNameTheSameProcessTwice) {
    for (const OnSIGTERM behaviour : {OnSIGTERM::leaves, OnSIGTERM::stays}) {
        Subject subject(behaviour);
        const std::vector items{subject.item(), subject.item()};
        const auto results = KillCore::killAll(items, {}, shortWait());
        ASSERT_EQ(results.size(), 2U);
        for (const KillResult& result : results) {
            EXPECT_EQ(result.outcome, KillOutcome::confirmed);
            EXPECT_TRUE(result.left.empty());
        }
        EXPECT_EQ(subject.wait(), behaviour == OnSIGTERM::leaves ? 0 : -SIGKILL);
    }
}

TEST(Interruption, cutsTheWaitShortAndForcesNobody) {
    const Interrupt interrupt;
    Subject stubborn(OnSIGTERM::stays);
    Subject polite(OnSIGTERM::leaves);
    const std::vector items{stubborn.item(), polite.item()};
    auto world = endlessWait();
    world.interrupt = interrupt.ends[0];
    world.at = [&](Moment moment, int32_t pid) {
        if (moment == Moment::duringGrace && pid == polite.pid()) {
            EXPECT_TRUE(eventually([&] { return !polite.isAlive(); }));
            interrupt.come();
        }
    };
    std::vector<KillResult> results;
    EXPECT_LT(secondsOf([&] { results = KillCore::killAll(items, {}, world); }), noWait);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0].detail, KillDetail::interrupted);
    EXPECT_EQ(results[0].left, std::vector{stubborn.pid()});
    EXPECT_EQ(results[1], confirmedEnd);
    EXPECT_TRUE(stubborn.isAlive());
    EXPECT_EQ(stubborn.noted(), std::vector{SIGTERM});
}

TEST(Interruption, comesInTheMiddleOfTheWaitAsWell) {
    const Interrupt interrupt;
    Subject stubborn(OnSIGTERM::stays);
    const Process other({.argv = {"/bin/sh", "-c",
                                  "sleep 0.3; echo >/proc/" + std::to_string(::getpid()) + "/fd/" +
                                      std::to_string(interrupt.ends[1])}});
    auto world = endlessWait();
    world.interrupt = interrupt.ends[0];
    KillResult result;
    EXPECT_LT(secondsOf([&] { result = endOne(stubborn.item(), world); }), noWait);
    EXPECT_EQ(result.detail, KillDetail::interrupted);
    EXPECT_TRUE(stubborn.isAlive());
}

TEST(Interruption, thatNeverComesChangesNothing) {
    const Interrupt interrupt;
    Subject stubborn(OnSIGTERM::stays);
    auto world = shortWait();
    world.interrupt = interrupt.ends[0];
    EXPECT_GE(secondsOf([&] { EXPECT_EQ(endOne(stubborn.item(), world), confirmedEnd); }), 0.3);
    EXPECT_EQ(stubborn.wait(), -SIGKILL);
}

TEST(Interruption, ofARowTellsWhoRunsOn) {
    const Interrupt interrupt;
    interrupt.come();
    Subject runner(OnSIGTERM::stays);
    Subject server(OnSIGTERM::stays);
    ProcessItem item = runner.item();
    item.folded = {server.folded()};
    auto world = endlessWait();
    world.interrupt = interrupt.ends[0];
    KillResult result;
    EXPECT_LT(secondsOf([&] { result = endOne(item, world); }), noWait);
    EXPECT_EQ(result.detail, KillDetail::interrupted);
    std::ranges::sort(result.left);
    std::vector both{runner.pid(), server.pid()};
    std::ranges::sort(both);
    EXPECT_EQ(result.left, both);
    EXPECT_TRUE(runner.isAlive());
    EXPECT_TRUE(server.isAlive());
}
