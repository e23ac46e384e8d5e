// Work off the main thread, and results that come back to it.
#include "Vintrel/engine/Background.h"

#include "tests/app/services/Waiting.h"
#include "tests/app/support/AppTest.h"
#include "tests/core/terminate/Subject.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <QAbstractEventDispatcher>
#include <QObject>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::Background;

namespace {

class BackgroundTest : public AppTest {};

} // namespace

TEST_F(BackgroundTest, worksOnAnotherThreadAndAnswersOnTheOneThatAsked) {
    Background background;
    QObject owner;
    std::thread::id worker;
    std::thread::id answered;
    background.run(
        &owner, [](int) { return std::this_thread::get_id(); },
        [&](std::thread::id result) {
            worker = result;
            answered = std::this_thread::get_id();
        });
    ASSERT_TRUE(spinUntil([&] { return answered != std::thread::id{}; }));
    EXPECT_EQ(answered, std::this_thread::get_id());
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_NE(worker, std::thread::id{});
}

TEST_F(BackgroundTest, nothingComesBackOutsideOfTheEventLoop) {
    Background background;
    QObject owner;
    std::atomic<bool> isWorkDone = false;
    bool isAnswered = false;
    background.run(
        &owner,
        [&](int) {
            isWorkDone = true;
            return 0;
        },
        [&](int) { isAnswered = true; });
    ASSERT_TRUE(eventually([&] { return isWorkDone.load(); }));
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(isAnswered);
    EXPECT_TRUE(spinUntil([&] { return isAnswered; }));
}

TEST_F(BackgroundTest, answersOncePerTaskWithItsOwnResult) {
    Background background;
    QObject owner;
    constexpr int count = 200;
    std::map<int, int> answers;
    for (int number = 0; number < count; ++number) {
        background.run(
            &owner, [number](int) { return number * number; },
            [&answers, number](int result) {
                EXPECT_EQ(result, number * number);
                ++answers[number];
            });
    }
    ASSERT_TRUE(spinUntil([&] { return !background.isBusy(); }));
    EXPECT_EQ(answers.size(), static_cast<size_t>(count));
    for (const auto& [number, times] : answers) {
        EXPECT_EQ(times, 1) << number;
    }
}

TEST_F(BackgroundTest, twoHundredBlockingTasksShareTheTimeOfOne) {
    Background background;
    QObject owner;
    constexpr auto each = 100ms;
    int answers = 0;
    const double seconds = secondsOf([&] {
        for (int number = 0; number < 200; ++number) {
            background.run(
                &owner,
                [each](int) {
                    std::this_thread::sleep_for(each);
                    return 0;
                },
                [&](int) { ++answers; });
        }
        ASSERT_TRUE(spinUntil([&] { return answers == 200; }));
    });
    EXPECT_LT(seconds, 5) << "one after the other they take 20 s";
}

TEST_F(BackgroundTest, tasksThatNeedEachOtherMeet) {
    Background background;
    QObject owner;
    Meeting meeting(8);
    std::vector<bool> met;
    for (int number = 0; number < 8; ++number) {
        background.run(
            &owner, [&](int) { return meeting.isAttendedByAll(); },
            [&](bool isMet) { met.push_back(isMet); });
    }
    ASSERT_TRUE(spinUntil([&] { return met.size() == 8; }, 30s));
    EXPECT_EQ(met, std::vector<bool>(8, true));
}

TEST_F(BackgroundTest, aQuickTaskDoesNotWaitForASlowOneBefore) {
    Background background;
    QObject owner;
    std::atomic<bool> mayEnd = false;
    std::vector<std::string> order;
    background.run(
        &owner,
        [&](int) {
            eventually([&] { return mayEnd.load(); });
            return 0;
        },
        [&](int) { order.emplace_back("slow"); });
    background.run(&owner, [](int) { return 0; }, [&](int) { order.emplace_back("quick"); });
    EXPECT_TRUE(spinUntil([&] { return !order.empty(); }, 5s));
    mayEnd = true;
    ASSERT_TRUE(spinUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<std::string>{"quick", "slow"}));
}

TEST_F(BackgroundTest, aResultNeedNotBeCopyable) {
    Background background;
    QObject owner;
    std::unique_ptr<int> answer;
    background.run(
        &owner, [](int) { return std::make_unique<int>(17); },
        [&](std::unique_ptr<int> result) { answer = std::move(result); });
    ASSERT_TRUE(spinUntil([&] { return answer != nullptr; }));
    EXPECT_EQ(*answer, 17);
}

TEST_F(BackgroundTest, isBusyUntilEverythingHasComeBack) {
    Background background;
    QObject owner;
    EXPECT_FALSE(background.isBusy());
    int answers = 0;
    for (int number = 0; number < 3; ++number) {
        background.run(&owner, [](int) { return 0; }, [&](int) { ++answers; });
        EXPECT_TRUE(background.isBusy());
    }
    ASSERT_TRUE(spinUntil([&] {
        EXPECT_TRUE(answers == 3 || background.isBusy());
        return answers == 3;
    }));
    EXPECT_TRUE(spinUntil([&] { return !background.isBusy(); }));
}

TEST_F(BackgroundTest, anOwnerThatIsGoneGetsNothing) {
    Background background;
    auto owner = std::make_unique<QObject>();
    QObject other;
    std::atomic<int> worked = 0;
    int delivered = 0;
    int deliveredToTheOther = 0;
    const auto work = [&](int) { return ++worked; };
    background.run(owner.get(), work, [&](int) { ++delivered; });
    background.run(&other, work, [&](int) { ++deliveredToTheOther; });
    owner.reset();
    ASSERT_TRUE(spinUntil([&] { return !background.isBusy(); }));
    EXPECT_EQ(worked, 2) << "what was begun is done";
    EXPECT_EQ(delivered, 0);
    EXPECT_EQ(deliveredToTheOther, 1);
}

TEST_F(BackgroundTest, anOwnerMayGoWhileItIsTold) {
    Background background;
    auto* owner = new QObject;
    std::atomic<int> worked = 0;
    int delivered = 0;
    for (int number = 0; number < 20; ++number) {
        background.run(
            owner, [&](int) { return ++worked; },
            [&](int) {
                ++delivered;
                delete owner;
            });
    }
    // All results wait when the first one is told.
    ASSERT_TRUE(eventually([&] { return worked == 20; }));
    ASSERT_TRUE(spinUntil([&] { return !background.isBusy(); }));
    EXPECT_EQ(delivered, 1);
}

TEST_F(BackgroundTest, anAnswerMayAskForMore) {
    Background background;
    QObject owner;
    int left = 50;
    std::set<std::thread::id> tellers;
    std::function<void(int)> then = [&](int) {
        tellers.insert(std::this_thread::get_id());
        if (--left > 0) {
            background.run(&owner, [](int) { return 0; }, then);
        }
    };
    background.run(&owner, [](int) { return 0; }, then);
    ASSERT_TRUE(spinUntil([&] { return left == 0; }));
    EXPECT_EQ(tellers, std::set{std::this_thread::get_id()});
    EXPECT_TRUE(spinUntil([&] { return !background.isBusy(); }));
}

TEST_F(BackgroundTest, leavesNoThreadsBehind) {
    std::thread([] {}).join(); // a sanitizer starts a thread of its own with the first one
    const long before = threadsOfThisProcess();
    Background background;
    QObject owner;
    for (int round = 0; round < 3; ++round) {
        Meeting meeting(6);
        int met = 0;
        for (int number = 0; number < 6; ++number) {
            background.run(
                &owner, [&](int) { return meeting.isAttendedByAll(); }, [&](bool isMet) { met += isMet; });
        }
        EXPECT_GT(threadsOfThisProcess(), before);
        ASSERT_TRUE(spinUntil([&] { return !background.isBusy(); }, 30s));
        EXPECT_EQ(met, 6);
        EXPECT_TRUE(eventually([&] { return threadsOfThisProcess() == before; }))
            << threadsOfThisProcess() - before << " are left";
    }
}

TEST_F(BackgroundTest, leavesNoDescriptorsBehind) {
    const auto workOnce = [] {
        Background background;
        QObject owner;
        bool isAnswered = false;
        background.run(&owner, [](int) { return 0; }, [&](int) { isAnswered = true; });
        EXPECT_TRUE(spinUntil([&] { return isAnswered; }));
    };
    workOnce();
    const long before = descriptorsOfThisProcess();
    for (int round = 0; round < 20; ++round) {
        workOnce();
    }
    EXPECT_TRUE(eventually([&] { return descriptorsOfThisProcess() == before; }))
        << descriptorsOfThisProcess() - before << " more";
}

TEST_F(BackgroundTest, doesNotWakeAnIdleProgram) {
    Background background;
    QObject owner;
    int answers = 0;
    for (int number = 0; number < 20; ++number) {
        background.run(&owner, [](int) { return 0; }, [&](int) { ++answers; });
    }
    ASSERT_TRUE(spinUntil([&] { return answers == 20; }));
    spinFor(50ms);
    int rests = 0; // as many as wake-ups
    const auto count = QObject::connect(QAbstractEventDispatcher::instance(),
                                        &QAbstractEventDispatcher::aboutToBlock, [&] { ++rests; });
    spinFor(1s);
    QObject::disconnect(count);
    EXPECT_LT(rests, 10);
}
