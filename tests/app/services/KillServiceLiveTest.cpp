// The same with real processes, and the real grace period.
#include "Vintrel/engine/Background.h"
#include "Vintrel/engine/KillService.h"
#include "tests/app/support/AppTest.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QObject>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using namespace VintrelCore;
using KillCore::gracePeriod;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using Vintrel::Background;
namespace KillService = Vintrel::KillService;

namespace {

const KillResult confirmedEnd{.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};

class KillServiceLiveTest : public AppTest {
public:
    QObject owner;

    /// Ends a batch, and waits for the answer; how long that took is noted.
    KillService::Outcomes kill(const std::vector<ProcessItem>& items) {
        std::optional<KillService::Outcomes> answer;
        seconds = secondsOf([&] {
            KillService::kill(items, {}, &owner,
                              [&](const KillService::Outcomes& outcomes) { answer = outcomes; });
            EXPECT_TRUE(spinUntil([&] { return answer.has_value(); }, 50s));
        });
        return answer.value_or(KillService::Outcomes{});
    }

    double seconds = 0;
};

ProcessItem itemOf(int32_t pid) {
    return {.pid = pid, .startTime = KillCore::startTime(pid)};
}

/// Children that sleep, and need no descriptor in the test. Ended and reaped with the object.
class Sleepers {
public:
    explicit Sleepers(int count) {
        for (int index = 0; index < count; ++index) {
            const pid_t pid = forked();
            if (pid == 0) {
                ::execl("/bin/sleep", "sleep", "120", nullptr);
                ::_exit(127);
            }
            pids.push_back(pid);
        }
    }

    Sleepers(const Sleepers&) = delete;
    Sleepers& operator=(const Sleepers&) = delete;

    ~Sleepers() {
        for (const pid_t pid : pids) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }

    /// How many of them SIGTERM has ended.
    [[nodiscard]] long endedByRequest() const {
        return std::ranges::count_if(pids, [](pid_t pid) {
            siginfo_t info{};
            ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT | WNOHANG);
            return info.si_pid == pid && info.si_status == SIGTERM;
        });
    }

    std::vector<pid_t> pids;
};

} // namespace

TEST_F(KillServiceLiveTest, threeStraysEndInOneGracePeriod) {
    const StrayOptions options{.argv = {"node", "server.js"}};
    const Stray first(options);
    const Stray second(options);
    const Stray third(options);
    const auto outcomes = kill({itemOf(first.pid()), itemOf(second.pid()), itemOf(third.pid())});
    EXPECT_GE(seconds, gracePeriod);
    EXPECT_LT(seconds, 2.5 * gracePeriod) << "one after the other they take three";
    EXPECT_EQ(outcomes.size(), 3U);
    for (const Stray* stray : {&first, &second, &third}) {
        ASSERT_TRUE(outcomes.contains(stray->pid()));
        EXPECT_EQ(outcomes.at(stray->pid()), confirmedEnd);
        EXPECT_FALSE(isRunning(stray->pid()));
    }
}

TEST_F(KillServiceLiveTest, fiveHundredEndInOneGracePeriod) {
    const Sleepers sleepers(500);
    std::vector<ProcessItem> items;
    for (const pid_t pid : sleepers.pids) {
        items.push_back(itemOf(pid));
    }
    const auto outcomes = kill(items);
    EXPECT_GE(seconds, gracePeriod);
    EXPECT_LT(seconds, 4 * gracePeriod);
    EXPECT_EQ(outcomes.size(), 500U);
    EXPECT_EQ(std::ranges::count_if(outcomes, [](const auto& entry) { return entry.second == confirmedEnd; }),
              500);
    EXPECT_EQ(sleepers.endedByRequest(), 500);
}

TEST_F(KillServiceLiveTest, fiveSingleKillsAtTheSameTimeTakeOneGracePeriod) {
    std::deque<Subject> subjects;
    for (int number = 0; number < 5; ++number) {
        subjects.emplace_back(OnSIGTERM::leaves);
    }
    std::vector<KillResult> answers;
    seconds = secondsOf([&] {
        for (const Subject& subject : subjects) {
            KillService::kill(subject.item(), {}, &owner,
                              [&](const KillResult& result) { answers.push_back(result); });
        }
        ASSERT_TRUE(spinUntil([&] { return answers.size() == 5; }));
    });
    EXPECT_GE(seconds, gracePeriod);
    EXPECT_LT(seconds, 2.5 * gracePeriod);
    EXPECT_EQ(answers, std::vector(5, confirmedEnd));
    for (Subject& subject : subjects) {
        EXPECT_EQ(subject.wait(), 0);
    }
}

TEST_F(KillServiceLiveTest, whoStaysIsForced) {
    Subject stubborn(OnSIGTERM::stays);
    Subject polite(OnSIGTERM::leaves);
    const auto outcomes = kill({stubborn.item(), polite.item()});
    EXPECT_EQ(outcomes,
              (KillService::Outcomes{{stubborn.pid(), confirmedEnd}, {polite.pid(), confirmedEnd}}));
    EXPECT_EQ(stubborn.wait(), -SIGKILL);
    EXPECT_EQ(polite.wait(), 0);
}

TEST_F(KillServiceLiveTest, theEventLoopRunsOnMeanwhile) {
    const Subject subject(OnSIGTERM::stays);
    bool isDone = false;
    const double calling = secondsOf(
        [&] { KillService::kill(subject.item(), {}, &owner, [&](const KillResult&) { isDone = true; }); });
    EXPECT_LT(calling, 1);
    int turns = 0;
    while (!isDone && turns < 1'000) {
        spinFor(50ms);
        ++turns;
    }
    EXPECT_TRUE(isDone);
    EXPECT_GT(turns, 10) << "two seconds have room for 40 of them";
}

TEST_F(KillServiceLiveTest, endsForAnOwnerThatIsGone) {
    Subject one(OnSIGTERM::leaves);
    Subject other(OnSIGTERM::stays);
    auto shortLived = std::make_unique<QObject>();
    int answers = 0;
    KillService::kill(one.item(), {}, shortLived.get(), [&](const KillResult&) { ++answers; });
    KillService::kill(std::vector{other.item()}, {}, shortLived.get(),
                      [&](const KillService::Outcomes&) { ++answers; });
    shortLived.reset();
    ASSERT_TRUE(spinUntil([&] { return !Background::shared().isBusy(); }));
    EXPECT_EQ(answers, 0);
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(other.wait(), -SIGKILL);
}

TEST_F(KillServiceLiveTest, whoIsNotTheSameIsNotSignalled) {
    Subject another(OnSIGTERM::leaves);
    ProcessItem item = another.item();
    --item.startTime->sec;
    std::optional<KillResult> answer;
    KillService::kill(item, {}, &owner, [&](const KillResult& result) { answer = result; });
    ASSERT_TRUE(spinUntil([&] { return answer.has_value(); }));
    EXPECT_EQ(describe(*answer).substr(0, 21), "notKilled, notTheSame");
    EXPECT_EQ(another.noted(), std::vector<int>());
}

// A program of another user, with an event loop of its own.
TEST(KillServiceAsAnotherUser, endsItsOwnAndIsRefusedTheOthers) {
    VINTREL_NEEDS_ROOT();
    Subject theirs(OnSIGTERM::leaves);
    const ProcessItem item = theirs.item();
    const std::string told = asStranger([&item]() -> std::string {
        int argc = 1;
        char name[] = "test";
        char* argv[] = {name, nullptr};
        const QCoreApplication application(argc, argv);
        Subject mine(OnSIGTERM::leaves);
        QObject owner;
        std::string text;
        KillService::kill(
            std::vector{item, mine.item()}, {}, &owner, [&](const KillService::Outcomes& outcomes) {
                text = std::to_string(outcomes.size()) + ": theirs " + describe(outcomes.at(item.pid)) +
                       "; mine " + describe(outcomes.at(mine.pid()));
            });
        return spinUntil([&] { return !text.empty(); }) ? text : "no answer";
    });
    EXPECT_EQ(told, "2: theirs notKilled, notPermitted, left " + std::to_string(theirs.pid()) +
                        "; mine confirmed, ended");
    EXPECT_TRUE(theirs.isAlive());
    EXPECT_EQ(theirs.noted(), std::vector<int>());
}

TEST(KillServiceAtTheEnd, forcesNobody) {
    Subject stubborn(OnSIGTERM::stays);
    bool isAnswered = false;
    QObject owner;
    {
        int argc = 1;
        char name[] = "test";
        char* argv[] = {name, nullptr};
        const QCoreApplication application(argc, argv);
        KillService::kill(stubborn.item(), {}, &owner, [&](const KillResult&) { isAnswered = true; });
        spinFor(500ms);
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(gracePeriod + 0.5));
    EXPECT_TRUE(stubborn.isAlive()) << "the end of the program cut the wait short";
    EXPECT_EQ(stubborn.noted(), std::vector{SIGTERM});
    EXPECT_FALSE(isAnswered);
}
