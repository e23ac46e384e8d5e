// The asynchronous front of ending processes, with a prepared ending behind it.
#include "Vintrel/engine/KillService.h"

#include "Vintrel/engine/Background.h"
#include "tests/app/services/Waiting.h"
#include "tests/app/support/AppTest.h"
#include "tests/core/terminate/Subject.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <QObject>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using namespace VintrelCore;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using Vintrel::Background;
namespace KillService = Vintrel::KillService;

namespace {

/// Stands in for the ending: whoever is "polite" ends, everybody else stays. Notes what it was asked.
class PreparedEnding {
public:
    KillService::Ending asEnding() {
        return [this](const std::vector<ProcessItem>& items,
                      const VintrelCore::DockerService::OwnersAnswer& containers, int interrupt) {
            std::vector<KillResult> results;
            for (const ProcessItem& item : items) {
                results.push_back(resultFor(item));
            }
            const std::lock_guard lock(m_mutex);
            for (const ProcessItem& item : items) {
                ++m_asked[item.pid];
            }
            m_owners = containers.owners;
            m_interrupt = interrupt;
            m_threads.push_back(std::this_thread::get_id());
            return results;
        };
    }

    static KillResult resultFor(const ProcessItem& item) {
        if (item.command == "polite") {
            return {.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};
        }
        return {
            .outcome = KillOutcome::notKilled, .detail = KillDetail::notPermitted, .left = {item.pid, 9'999}};
    }

    // To be read when the ending is over.

    [[nodiscard]] const std::map<int32_t, int>& asked() const { return m_asked; }

    [[nodiscard]] const DockerCore::OwnerMap& owners() const { return m_owners; }

    [[nodiscard]] int interrupt() const { return m_interrupt; }

    [[nodiscard]] const std::vector<std::thread::id>& threads() const { return m_threads; }

private:
    std::mutex m_mutex;
    std::map<int32_t, int> m_asked;
    DockerCore::OwnerMap m_owners;
    int m_interrupt = -1;
    std::vector<std::thread::id> m_threads;
};

class KillServiceTest : public AppTest {
public:
    PreparedEnding ending;
    QObject owner;
};

ProcessItem itemNamed(int32_t pid, const std::string& command) {
    return {.pid = pid, .command = command};
}

} // namespace

TEST_F(KillServiceTest, anEmptyBatchIsDoneBeforeTheCallReturns) {
    int calls = 0;
    std::optional<size_t> size;
    KillService::kill(
        std::vector<ProcessItem>{}, {.owners = {{17, "web"}}}, &owner,
        [&](const KillService::Outcomes& outcomes) {
            ++calls;
            size = outcomes.size();
        },
        ending.asEnding());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(size, 0U);
    EXPECT_FALSE(Background::shared().isBusy());
    spinFor(50ms);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(ending.asked().size(), 0U);
}

TEST_F(KillServiceTest, anEmptyBatchNeedsNoEventLoopBehindIt) {
    bool isDone = false;
    KillService::kill(std::vector<ProcessItem>{}, {}, &owner,
                      [&](const KillService::Outcomes&) { isDone = true; });
    EXPECT_TRUE(isDone) << "with the real ending as well";
}

TEST_F(KillServiceTest, endsOnAnotherThreadAndAnswersOnTheMainOne) {
    std::vector<std::thread::id> answered;
    const auto noteThread = [&](const auto&) { answered.push_back(std::this_thread::get_id()); };
    KillService::kill(itemNamed(17, "polite"), {}, &owner, noteThread, ending.asEnding());
    KillService::kill(std::vector{itemNamed(18, "polite"), itemNamed(19, "rude")}, {}, &owner, noteThread,
                      ending.asEnding());
    EXPECT_TRUE(answered.empty()) << "both calls return at once";
    ASSERT_TRUE(spinUntil([&] { return answered.size() == 2; }));
    EXPECT_EQ(answered, std::vector(2, std::this_thread::get_id()));
    ASSERT_GE(ending.threads().size(), 2U);
    for (const std::thread::id thread : ending.threads()) {
        EXPECT_NE(thread, std::this_thread::get_id());
    }
}

TEST_F(KillServiceTest, aSingleItemGetsItsResult) {
    for (const std::string command : {"polite", "rude"}) {
        const ProcessItem item = itemNamed(17, command);
        std::optional<KillResult> answer;
        KillService::kill(
            item, {}, &owner, [&](const KillResult& result) { answer = result; }, ending.asEnding());
        ASSERT_TRUE(spinUntil([&] { return answer.has_value(); }));
        EXPECT_EQ(*answer, PreparedEnding::resultFor(item)) << command;
    }
}

TEST_F(KillServiceTest, aBatchGetsEveryResultByItsPid) {
    const std::vector items{itemNamed(30, "polite"), itemNamed(10, "rude"), itemNamed(20, "polite")};
    std::vector<KillService::Outcomes> answers;
    KillService::kill(
        items, {}, &owner, [&](const KillService::Outcomes& outcomes) { answers.push_back(outcomes); },
        ending.asEnding());
    ASSERT_TRUE(spinUntil([&] { return !answers.empty(); }));
    spinFor(50ms);
    ASSERT_EQ(answers.size(), 1U) << "once, for all of them";
    EXPECT_EQ(answers[0].size(), 3U);
    for (const ProcessItem& item : items) {
        ASSERT_TRUE(answers[0].contains(item.pid));
        EXPECT_EQ(answers[0].at(item.pid), PreparedEnding::resultFor(item));
    }
    EXPECT_EQ(ending.asked(), (std::map<int32_t, int>{{10, 1}, {20, 1}, {30, 1}}));
}

TEST_F(KillServiceTest, theLaterOfTwoItemsWithOnePidCounts) {
    for (const bool isPoliteLast : {false, true}) {
        const std::string first = isPoliteLast ? "rude" : "polite";
        const std::string last = isPoliteLast ? "polite" : "rude";
        std::optional<KillService::Outcomes> answer;
        KillService::kill(
            std::vector{itemNamed(17, first), itemNamed(18, first), itemNamed(17, last)}, {}, &owner,
            [&](const KillService::Outcomes& outcomes) { answer = outcomes; }, ending.asEnding());
        ASSERT_TRUE(spinUntil([&] { return answer.has_value(); }));
        EXPECT_EQ(answer->size(), 2U);
        EXPECT_EQ(answer->at(17), PreparedEnding::resultFor(itemNamed(17, last)));
        EXPECT_EQ(answer->at(18), PreparedEnding::resultFor(itemNamed(18, first)));
    }
}

TEST_F(KillServiceTest, handsTheContainersOwnersOn) {
    const DockerCore::OwnerMap owners{{17, "web-1"}, {18, "db"}};
    int answers = 0;
    KillService::kill(
        itemNamed(17, "polite"), {.owners = owners}, &owner, [&](const KillResult&) { ++answers; },
        ending.asEnding());
    ASSERT_TRUE(spinUntil([&] { return answers == 1; }));
    EXPECT_EQ(ending.owners(), owners);

    const DockerCore::OwnerMap others{{18, "cache"}};
    KillService::kill(
        std::vector{itemNamed(17, "polite"), itemNamed(18, "rude")}, {.owners = others}, &owner,
        [&](const KillService::Outcomes&) { ++answers; }, ending.asEnding());
    ASSERT_TRUE(spinUntil([&] { return answers == 2; }));
    EXPECT_EQ(ending.owners(), others);
    EXPECT_GE(ending.interrupt(), 0) << "the end of the program cuts the wait short";
}

TEST_F(KillServiceTest, whatIsHandedInMayGoAtOnce) {
    std::optional<KillService::Outcomes> answer;
    {
        std::vector items{itemNamed(17, "polite")};
        DockerCore::OwnerMap owners{{17, std::string(100, 'w')}};
        KillService::kill(
            items, {.owners = owners}, &owner,
            [&](const KillService::Outcomes& outcomes) { answer = outcomes; }, ending.asEnding());
        items[0].command.assign(6, 'x');
        owners.clear();
    }
    ASSERT_TRUE(spinUntil([&] { return answer.has_value(); }));
    EXPECT_EQ(answer->at(17).detail, KillDetail::ended);
    EXPECT_EQ(ending.owners(), (DockerCore::OwnerMap{{17, std::string(100, 'w')}}));
}

TEST_F(KillServiceTest, killsAtTheSameTimeDoNotWaitForEachOther) {
    Meeting meeting(5);
    const auto meet = [&](const std::vector<ProcessItem>& items,
                          const VintrelCore::DockerService::OwnersAnswer&, int) {
        const KillDetail detail = meeting.isAttendedByAll() ? KillDetail::ended : KillDetail::stillThere;
        return std::vector<KillResult>(items.size(), {.outcome = KillOutcome::confirmed, .detail = detail});
    };
    std::vector<KillDetail> answers;
    for (int32_t pid = 11; pid <= 15; ++pid) {
        KillService::kill(
            itemNamed(pid, "polite"), {}, &owner,
            [&](const KillResult& result) { answers.push_back(result.detail); }, meet);
    }
    ASSERT_TRUE(spinUntil([&] { return answers.size() == 5; }, 30s));
    EXPECT_EQ(answers, std::vector(5, KillDetail::ended));
}

TEST_F(KillServiceTest, anAnswerMayAskForTheNextKill) {
    std::vector<int32_t> ended;
    std::function<void(const KillService::Outcomes&)> then = [&](const KillService::Outcomes& outcomes) {
        ended.push_back(outcomes.begin()->first);
        if (ended.size() < 10) {
            KillService::kill(std::vector{itemNamed(outcomes.begin()->first + 1, "polite")}, {}, &owner, then,
                              ending.asEnding());
        }
    };
    KillService::kill(std::vector{itemNamed(11, "polite")}, {}, &owner, then, ending.asEnding());
    ASSERT_TRUE(spinUntil([&] { return ended.size() == 10; }));
    EXPECT_EQ(ended, (std::vector<int32_t>{11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
}

TEST_F(KillServiceTest, anOwnerThatIsGoneIsToldNothing) {
    auto shortLived = std::make_unique<QObject>();
    int answers = 0;
    const auto note = [&](const auto&) { ++answers; };
    KillService::kill(itemNamed(17, "polite"), {}, shortLived.get(), note, ending.asEnding());
    KillService::kill(std::vector{itemNamed(18, "polite"), itemNamed(19, "polite")}, {}, shortLived.get(),
                      note, ending.asEnding());
    shortLived.reset();
    ASSERT_TRUE(spinUntil([&] { return !Background::shared().isBusy(); }));
    EXPECT_EQ(answers, 0);
    EXPECT_EQ(ending.asked(), (std::map<int32_t, int>{{17, 1}, {18, 1}, {19, 1}})) << "ended all the same";
}
