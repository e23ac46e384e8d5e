#include "VintrelCore/platform/TimedQuestion.h"

#include "VintrelCore/platform/Platform.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace std::chrono_literals;

namespace {

/// What a question that is never answered does.
std::string hang() {
    for (;;) {
        ::pause();
    }
}

} // namespace

TEST(TimedQuestion, givesTheAnswer) {
    EXPECT_EQ(Platform::TimedQuestion([] { return std::string("yes"); }).wait(), "yes");
    EXPECT_EQ(Platform::TimedQuestion([] { return std::string(); }).wait(), "");
    const std::string zeros(3, '\0');
    EXPECT_EQ(Platform::TimedQuestion([&zeros] { return zeros; }).wait(), zeros);
    const std::string longAnswer(300'000, 'x'); // more than a pipe holds
    EXPECT_EQ(Platform::TimedQuestion([&longAnswer] { return longAnswer; }).wait(), longAnswer);
}

TEST(TimedQuestion, isGivenUpAtItsDeadline) {
    const auto start = std::chrono::steady_clock::now();
    Platform::TimedQuestion question(hang, 200ms);
    EXPECT_EQ(question.wait(), std::nullopt);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, 200ms);
    EXPECT_LT(took, 2s);
}

TEST(TimedQuestion, severalWaitAtTheSameTime) {
    const auto start = std::chrono::steady_clock::now();
    Platform::TimedQuestion first(hang, 500ms);
    Platform::TimedQuestion second(hang, 500ms);
    Platform::TimedQuestion third([] { return std::string("yes"); }, 500ms);
    EXPECT_EQ(first.wait(), std::nullopt);
    EXPECT_EQ(second.wait(), std::nullopt);
    EXPECT_EQ(third.wait(), "yes") << "it was answered long ago";
    EXPECT_LT(std::chrono::steady_clock::now() - start, 900ms);
}

TEST(TimedQuestion, whatEndsWithoutAnAnswerIsNotAwaited) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Platform::TimedQuestion([]() -> std::string { ::_exit(0); }, 10s).wait(), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST(TimedQuestion, anInterruptEndsTheWait) {
    int interrupt[2];
    ASSERT_EQ(::pipe(interrupt), 0);
    ASSERT_EQ(::write(interrupt[1], "!", 1), 1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Platform::TimedQuestion(hang, 10s).wait(interrupt[0]), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    ::close(interrupt[0]);
    ::close(interrupt[1]);
}

TEST(TimedQuestion, leavesNoChildBehind) {
    EXPECT_EQ(Platform::TimedQuestion([] { return std::string("yes"); }).wait(), "yes");
    EXPECT_EQ(Platform::TimedQuestion(hang, 50ms).wait(), std::nullopt);
    errno = 0;
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(TimedQuestion, theOneThatAsksEndsByItself) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    Platform::TimedQuestion question(hang, 300ms);
    EXPECT_EQ(question.wait(), std::nullopt);
    ::close(ends[1]);
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), 0) << "it holds no pipes of others";
    ::close(ends[0]);
}

TEST(MountsThatMayHang, areNoneOfTheKernelsOwn) {
    const auto mounts = Platform::mountsThatMayHang();
    for (const char* own : {"/proc", "/sys", "/dev/pts"}) {
        EXPECT_EQ(std::ranges::find(mounts, own), mounts.end()) << own;
    }
}
