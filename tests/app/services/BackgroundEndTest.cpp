// The end of the program while work is under way.
#include "Vintrel/engine/Background.h"
#include "tests/app/services/Waiting.h"
#include "tests/app/support/AppTest.h"
#include "tests/core/terminate/Subject.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

#include <QCoreApplication>
#include <QObject>
#include <QPointer>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::Background;

namespace {

class BackgroundEndTest : public AppTest {};

/// The event loop of a program that begins and ends within a test.
class Program {
private:
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
};

/// The end of a program is not held up for longer than this by what does not listen; on a busy machine.
constexpr double notLong = 6;

} // namespace

TEST_F(BackgroundEndTest, workIsToldOfTheEnd) {
    auto background = std::make_unique<Background>();
    QObject owner;
    std::atomic<int> started = 0;
    std::atomic<int> told = 0;
    bool isAnswered = false;
    for (int number = 0; number < 5; ++number) {
        background->run(
            &owner,
            [&](int interrupt) {
                ++started;
                told += becomesReadable(interrupt, 20s) ? 1 : 0;
                return 0;
            },
            [&](int) { isAnswered = true; });
    }
    ASSERT_TRUE(eventually([&] { return started == 5; }));
    EXPECT_LT(secondsOf([&] { background.reset(); }), notLong);
    EXPECT_EQ(told, 5) << "all of them, and the end waits for it";
    spinFor(100ms);
    EXPECT_FALSE(isAnswered);
}

TEST_F(BackgroundEndTest, nothingIsInterruptedBefore) {
    Background background;
    QObject owner;
    std::optional<bool> isInterrupted;
    background.run(
        &owner, [](int interrupt) { return becomesReadable(interrupt, 200ms); },
        [&](bool result) { isInterrupted = result; });
    ASSERT_TRUE(spinUntil([&] { return isInterrupted.has_value(); }));
    EXPECT_FALSE(*isInterrupted);
}

TEST_F(BackgroundEndTest, workThatDoesNotListenIsNotWaitedForForever) {
    struct Shared {
        std::atomic<bool> hasStarted = false;
        std::atomic<bool> mayEnd = false;
        std::atomic<bool> hasEnded = false;
    };

    const auto shared = std::make_shared<Shared>();
    std::thread([] {}).join(); // a sanitizer starts a thread of its own with the first one
    const long threadsBefore = threadsOfThisProcess();
    auto background = std::make_unique<Background>();
    QObject owner;
    bool isAnswered = false;
    background->run(
        &owner,
        [shared](int) {
            shared->hasStarted = true;
            eventually([&] { return shared->mayEnd.load(); }, 60s);
            shared->hasEnded = true;
            return 0;
        },
        [&](int) { isAnswered = true; });
    ASSERT_TRUE(eventually([&] { return shared->hasStarted.load(); }));
    const double seconds = secondsOf([&] { background.reset(); });
    EXPECT_FALSE(shared->hasEnded);
    EXPECT_LT(seconds, notLong);
    shared->mayEnd = true;
    EXPECT_TRUE(eventually([&] { return shared->hasEnded.load(); }));
    EXPECT_TRUE(eventually([&] { return threadsOfThisProcess() == threadsBefore; }))
        << "its thread ends in peace, though what it worked for is gone";
    spinFor(50ms);
    EXPECT_FALSE(isAnswered);
}

TEST_F(BackgroundEndTest, resultsThatWaitAreNotTold) {
    auto background = std::make_unique<Background>();
    QObject owner;
    std::atomic<int> worked = 0;
    int answers = 0;
    for (int number = 0; number < 20; ++number) {
        background->run(&owner, [&](int) { return ++worked; }, [&](int) { ++answers; });
    }
    ASSERT_TRUE(eventually([&] { return worked == 20; }));
    background.reset();
    spinFor(50ms);
    EXPECT_EQ(answers, 0);
}

TEST_F(BackgroundEndTest, anIdleOneEndsAtOnce) {
    EXPECT_LT(secondsOf([] { const Background background; }), 1);
    auto background = std::make_unique<Background>();
    QObject owner;
    bool isAnswered = false;
    background->run(&owner, [](int) { return 0; }, [&](int) { isAnswered = true; });
    ASSERT_TRUE(spinUntil([&] { return isAnswered; }));
    EXPECT_LT(secondsOf([&] { background.reset(); }), 1);
}

TEST(SharedBackground, isOneObjectAndGoneWithItsProgram) {
    for (int round = 0; round < 2; ++round) {
        QPointer<Background> shared;
        {
            const Program program;
            shared = &Background::shared();
            EXPECT_EQ(&Background::shared(), shared.data());
            QObject owner;
            int answer = 0;
            shared->run(&owner, [](int) { return 17; }, [&](int result) { answer = result; });
            EXPECT_TRUE(spinUntil([&] { return answer == 17; })) << round;
        }
        EXPECT_EQ(shared, nullptr);
    }
}

TEST(SharedBackground, tellsItsWorkWhenTheProgramEnds) {
    for (int round = 0; round < 2; ++round) {
        auto program = std::make_unique<Program>();
        QObject owner;
        std::atomic<bool> hasStarted = false;
        std::atomic<bool> isTold = false;
        bool isAnswered = false;
        Background::shared().run(
            &owner,
            [&](int interrupt) {
                hasStarted = true;
                isTold = becomesReadable(interrupt, 20s);
                return 0;
            },
            [&](int) { isAnswered = true; });
        ASSERT_TRUE(eventually([&] { return hasStarted.load(); }));
        EXPECT_LT(secondsOf([&] { program.reset(); }), notLong);
        EXPECT_TRUE(isTold);
        EXPECT_FALSE(isAnswered);
    }
}

TEST(SharedBackground, ofTheSecondProgramIsNotInterruptedByTheEndOfTheFirst) {
    {
        const Program program;
        QObject owner;
        static_cast<void>(Background::shared());
    }
    const Program program;
    QObject owner;
    std::optional<bool> isInterrupted;
    Background::shared().run(
        &owner, [](int interrupt) { return becomesReadable(interrupt, 100ms); },
        [&](bool result) { isInterrupted = result; });
    ASSERT_TRUE(spinUntil([&] { return isInterrupted.has_value(); }));
    EXPECT_FALSE(*isInterrupted);
}
