// The sequence, with real processes: check, ask, wait, force.
#include "VintrelCore/terminate/KillCore.h"

#include "tests/core/terminate/Subject.h"
#include "tests/support/Process.h"

#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/syscall.h>
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

/// A child whose first thread has ended while another one goes on, which the kernel shows as a zombie.
class WithoutFirstThread {
public:
    explicit WithoutFirstThread(bool ignoresSIGTERM) {
        m_pid = forked();
        if (m_pid == 0) {
            if (ignoresSIGTERM) {
                ::signal(SIGTERM, SIG_IGN);
            }
            std::thread([] { ::sleep(60); }).detach();
            ::syscall(SYS_exit, 0); // this thread alone
        }
    }

    WithoutFirstThread(const WithoutFirstThread&) = delete;
    WithoutFirstThread& operator=(const WithoutFirstThread&) = delete;

    ~WithoutFirstThread() {
        if (!m_status) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }

    [[nodiscard]] ProcessItem item() const { return {.pid = m_pid, .startTime = KillCore::startTime(m_pid)}; }

    bool hasEnded() {
        int status = 0;
        if (!m_status && ::waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = status;
        }
        return m_status.has_value();
    }

    [[nodiscard]] int signalThatEndedIt() const { return m_status ? WTERMSIG(*m_status) : 0; }

private:
    pid_t m_pid = 0;
    std::optional<int> m_status;
};

} // namespace

TEST(Ending, aProcessThatExitsWhenAskedIsNotSignalledAgain) {
    Subject subject(OnSIGTERM::leaves);
    EXPECT_EQ(endOne(subject.item(), shortWait()), confirmedEnd);
    EXPECT_EQ(subject.wait(), 0);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

TEST(Ending, aProcessThatTakesItsTimeWithinTheGracePeriodIsNotSignalledAgain) {
    Subject subject(OnSIGTERM::leavesInAWhile);
    EXPECT_EQ(endOne(subject.item(), shortWait(1.5)), confirmedEnd);
    EXPECT_EQ(subject.wait(), 0);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

TEST(Ending, aProcessThatIgnoresTheSignalIsForcedAtTheGracePeriod) {
    Subject subject(OnSIGTERM::stays);
    bool livedDuringGrace = false;
    auto world = shortWait();
    world.at = [&](Moment moment, int32_t) {
        livedDuringGrace = livedDuringGrace || (moment == Moment::duringGrace && subject.isAlive());
    };
    KillResult result;
    EXPECT_GE(secondsOf([&] { result = endOne(subject.item(), world); }), 0.3);
    EXPECT_EQ(result, confirmedEnd);
    EXPECT_TRUE(livedDuringGrace);
    EXPECT_EQ(subject.wait(), -SIGKILL);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

TEST(Ending, theWaitIsNotCutShortByAnEarlyEnd) {
    Subject subject(OnSIGTERM::dies);
    EXPECT_GE(secondsOf([&] { EXPECT_EQ(endOne(subject.item(), shortWait(0.5)), confirmedEnd); }), 0.5);
    EXPECT_EQ(subject.wait(), -SIGTERM);
}

TEST(Ending, keepsToTheRealGracePeriod) {
    Subject subject(OnSIGTERM::stays);
    const double seconds =
        secondsOf([&] { EXPECT_EQ(KillCore::kill(subject.item(), {}), KillOutcome::confirmed); });
    EXPECT_GE(seconds, KillCore::gracePeriod);
    EXPECT_LT(seconds, 5 * KillCore::gracePeriod);
    EXPECT_EQ(subject.wait(), -SIGKILL);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

TEST(Ending, aProcessThatEndedBeforeTheCallIsLeftAlone) {
    Subject subject(OnSIGTERM::dies);
    const ProcessItem item = subject.item();
    ASSERT_TRUE(item.startTime);
    subject.vanish();
    EXPECT_EQ(KillCore::startTime(item.pid), std::nullopt);
    const KillResult gone{.outcome = KillOutcome::notKilled, .detail = KillDetail::alreadyGone};
    EXPECT_LT(secondsOf([&] { EXPECT_EQ(endOne(item, endlessWait()), gone); }), noWait);
    EXPECT_EQ(KillCore::kill(item, {}), KillOutcome::notKilled);
}

TEST(Ending, aNumberWithAnotherStartIsLeftAlone) {
    Subject subject(OnSIGTERM::leaves);
    for (const auto& [seconds, microseconds] : {std::pair{-1, 0}, {0, 10'000}, {0, -10'000}, {3'600, 0}}) {
        ProcessItem item = subject.item();
        item.startTime->sec += seconds;
        item.startTime->usec += microseconds;
        KillResult result;
        EXPECT_LT(secondsOf([&] { result = endOne(item, endlessWait()); }), noWait);
        EXPECT_EQ(result.outcome, KillOutcome::notKilled);
        EXPECT_EQ(result.detail, KillDetail::notTheSame);
        EXPECT_EQ(KillCore::kill(item, {}), KillOutcome::notKilled);
    }
    EXPECT_TRUE(subject.isAlive());
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

TEST(Ending, withoutARecordedStartTheCheckIsWaived) {
    Subject polite(OnSIGTERM::leaves);
    EXPECT_EQ(endOne({.pid = polite.pid()}, shortWait()), confirmedEnd);
    EXPECT_EQ(polite.wait(), 0);
    Subject stubborn(OnSIGTERM::stays);
    EXPECT_EQ(endOne({.pid = stubborn.pid()}, shortWait()), confirmedEnd);
    EXPECT_EQ(stubborn.wait(), -SIGKILL);
}

TEST(Ending, withoutARecordedStartNobodyCountsAsCleaned) {
    Subject subject(OnSIGTERM::dies);
    subject.vanish();
    const KillResult gone{.outcome = KillOutcome::confirmed, .detail = KillDetail::alreadyGone};
    EXPECT_EQ(endOne({.pid = subject.pid()}, shortWait()), gone);
}

TEST(Ending, aStoppedProcessGoesOnAndSoHandlesTheSignal) {
    Subject subject(OnSIGTERM::leaves);
    subject.stop();
    ASSERT_TRUE(subject.isStopped());
    EXPECT_EQ(endOne(subject.item(), shortWait(1)), confirmedEnd);
    EXPECT_EQ(subject.wait(), 0);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

TEST(Ending, aStoppedProcessThatGoesOnAndStaysIsForced) {
    Subject subject(OnSIGTERM::stays);
    subject.stop();
    EXPECT_EQ(endOne(subject.item(), shortWait(1)), confirmedEnd);
    EXPECT_EQ(subject.wait(), -SIGKILL);
    EXPECT_EQ(subject.noted(), (std::vector{SIGTERM, SIGCONT}));
}

TEST(Ending, aStoppedProcessThatIsNotTheSameStaysStopped) {
    Subject subject(OnSIGTERM::leaves);
    subject.stop();
    ProcessItem item = subject.item();
    --item.startTime->sec;
    EXPECT_EQ(endOne(item, shortWait()).detail, KillDetail::notTheSame);
    EXPECT_TRUE(subject.isStopped());
}

TEST(Ending, aZombieIsNeverForced) {
    Subject subject(OnSIGTERM::stays);
    const ProcessItem item = subject.item();
    subject.becomeZombie();
    ASSERT_EQ(KillCore::startTime(item.pid), item.startTime) << "a zombie keeps its start";
    const KillResult result = endOne(item, shortWait());
    EXPECT_EQ(result.outcome, KillOutcome::confirmed);
    EXPECT_EQ(result.detail, KillDetail::alreadyGone);
    EXPECT_TRUE(result.left.empty());
}

TEST(Ending, aProcessWhoseFirstThreadHasEndedIsAskedLikeAnyOther) {
    WithoutFirstThread process(false);
    ASSERT_TRUE(eventually([&] {
        const auto facts = Platform::kernelView().factsOf(process.item().pid);
        return facts && facts->state == 'Z';
    }));
    const KillResult result = endOne(process.item(), shortWait());
    EXPECT_EQ(result.outcome, KillOutcome::confirmed);
    EXPECT_TRUE(result.left.empty());
    EXPECT_TRUE(eventually([&] { return process.hasEnded(); }, std::chrono::seconds(2)));
    EXPECT_EQ(process.signalThatEndedIt(), SIGTERM);
}

TEST(Ending, noEndIsClaimedForAProcessWhoseOtherThreadsGoOn) {
    WithoutFirstThread process(true);
    ASSERT_TRUE(eventually([&] {
        const auto facts = Platform::kernelView().factsOf(process.item().pid);
        return facts && facts->state == 'Z';
    }));
    const ProcessItem item = process.item();
    const KillResult result = endOne(item, shortWait());
    const bool ended = eventually([&] { return process.hasEnded(); }, std::chrono::seconds(1));
    const KillResult stillThere{
        .outcome = KillOutcome::confirmed, .detail = KillDetail::stillThere, .left = {item.pid}};
    EXPECT_EQ(result, ended ? confirmedEnd : stillThere);
}

TEST(Ending, aProcessThatBecomesAnotherProgramIsStillTheSame) {
    Process shell({.argv = {"/bin/sh", "-c",
                            "trap 'trap \"\" TERM; exec sleep 60' TERM; echo ready; "
                            "while :; do sleep 0.02; done"}});
    ASSERT_EQ(shell.readLine(), "ready");
    EXPECT_EQ(endOne({.pid = shell.pid(), .startTime = KillCore::startTime(shell.pid())}, shortWait(1)),
              confirmedEnd);
    EXPECT_EQ(shell.wait(), -SIGKILL);
}

TEST(Moments, comeOnceEachAndInOrder) {
    Subject subject(OnSIGTERM::leaves);
    std::vector<Moment> moments;
    auto world = shortWait();
    world.at = [&](Moment moment, int32_t pid) {
        EXPECT_EQ(pid, subject.pid());
        moments.push_back(moment);
    };
    EXPECT_EQ(endOne(subject.item(), world), confirmedEnd);
    EXPECT_EQ(moments, (std::vector{Moment::beforeOpening, Moment::afterOpening, Moment::afterComparison,
                                    Moment::duringGrace}));
}

TEST(Moments, aProcessMayEndAtAnyOfThem) {
    struct Case {
        Moment moment;
        KillResult expected;
    };

    const KillResult goneUnasked{.outcome = KillOutcome::notKilled, .detail = KillDetail::alreadyGone};
    const KillResult goneAsked{.outcome = KillOutcome::confirmed, .detail = KillDetail::alreadyGone};
    for (const Case& theCase : {Case{Moment::beforeOpening, goneUnasked},
                                {Moment::afterOpening, goneUnasked},
                                {Moment::afterComparison, goneAsked},
                                {Moment::duringGrace, confirmedEnd}}) {
        Subject subject(OnSIGTERM::stays);
        auto world = shortWait(0.1);
        world.at = [&](Moment moment, int32_t) {
            if (moment == theCase.moment) {
                subject.vanish();
            }
        };
        EXPECT_EQ(endOne(subject.item(), world), theCase.expected)
            << "moment " << static_cast<int>(theCase.moment);
    }
}
