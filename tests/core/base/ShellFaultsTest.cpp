// Tools that go wrong: whatever they do, the outcome is bounded and nothing is left running.
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Shell.h"
#include "VintrelCore/platform/ProcFiles.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace std::chrono_literals;

namespace {

const std::string tool = VINTREL_TEST_TOOL;
using Clock = std::chrono::steady_clock;

Shell::Command command(std::vector<std::string> arguments, std::chrono::milliseconds deadline = 10s) {
    return {.executable = tool, .arguments = std::move(arguments), .deadline = deadline};
}

/// Whether the process is gone within a second. A zombie that nobody has reaped yet counts as gone.
bool vanishes(pid_t pid) {
    for (int round = 0; round < 100; ++round) {
        const auto record = File::readKernelFile("/proc/" + std::to_string(pid) + "/stat", 4'096);
        const auto stat = record ? ProcFiles::parseStat(*record) : std::nullopt;
        if (!stat || stat->state == 'Z') {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

bool hasNoChildren() {
    return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

} // namespace

TEST(ShellFaults, aToolKilledByASignalHasNoExitStatus) {
    const auto outcome = Shell::runToOutcome(command({"die", "9"}));
    EXPECT_TRUE(outcome.launched);
    EXPECT_FALSE(outcome.exitStatus);
    EXPECT_FALSE(outcome.completed());
    EXPECT_TRUE(hasNoChildren());
}

TEST(ShellFaults, aToolThatNeverEndsIsEndedAtItsDeadline) {
    const auto start = Clock::now();
    const auto outcome = Shell::runToOutcome(command({"print-then-hang", "so far"}, 150ms));
    const auto took = Clock::now() - start;
    EXPECT_TRUE(outcome.deadlineMissed);
    EXPECT_FALSE(outcome.completed());
    EXPECT_EQ(outcome.output, "so far");
    EXPECT_GE(took, 150ms);
    EXPECT_LT(took, 3s);
    EXPECT_TRUE(hasNoChildren());
}

TEST(ShellFaults, aToolThatIgnoresTheSignalIsForced) {
    const auto start = Clock::now();
    const auto outcome = Shell::runToOutcome(command({"hang-whatever-comes"}, 300ms));
    EXPECT_TRUE(outcome.deadlineMissed);
    EXPECT_EQ(outcome.output, "stubborn");
    EXPECT_GE(Clock::now() - start, 500ms); // the deadline, and the patience after the polite signal
    EXPECT_LT(Clock::now() - start, 3s);
    EXPECT_TRUE(hasNoChildren());
}

TEST(ShellFaults, aCharacterCutOffAtTheDeadlineDoesNotSpoilTheRest) {
    const std::string cut = "half: \xE2\x82"; // two bytes of a three-byte character
    EXPECT_EQ(Shell::runToOutcome(command({"print-then-hang", cut}, 200ms)).output, "half: ");
}

TEST(ShellFaults, theWholeGroupEndsAtTheDeadline) {
    const auto outcome = Shell::runToOutcome(command({"hang-with-grandchild"}, 200ms));
    ASSERT_FALSE(outcome.output.empty());
    EXPECT_TRUE(vanishes(std::stoi(outcome.output)));
}

TEST(ShellFaults, aGrandchildThatHoldsTheOutputIsNotWaitedFor) {
    const auto start = Clock::now();
    const auto outcome = Shell::runToOutcome(command({"leave-grandchild", "5"}));
    EXPECT_TRUE(outcome.ok()); // the tool's own exit status decides
    EXPECT_LT(Clock::now() - start, 2s);
    const pid_t grandchild = std::stoi(outcome.output);
    EXPECT_EQ(::kill(grandchild, 0), 0); // nobody's business to end it
    ::kill(grandchild, SIGKILL);
}

TEST(ShellFaults, aToolThatClosesItsOutputIsStillWaitedFor) {
    EXPECT_EQ(Shell::runToOutcome(command({"close-output-then-exit", "4"})).exitStatus, 4);
}

TEST(ShellFaults, aToolThatWritesPastTheCapIsEnded) {
    const auto outcome = Shell::runToOutcome(command({"write", "200000000"}, 60s));
    EXPECT_TRUE(outcome.outputTooLarge);
    EXPECT_FALSE(outcome.completed());
    EXPECT_LT(outcome.output.size(), Shell::outputCap + (size_t{1} << 20));
    EXPECT_TRUE(hasNoChildren());
}

TEST(ShellFaults, anInterruptEndsAllToolsAndSaysSo) {
    int interrupt[2];
    ASSERT_EQ(::pipe(interrupt), 0);
    ASSERT_EQ(::write(interrupt[1], "!", 1), 1);
    Shell::Run first(command({"print-then-hang", "x"}));
    Shell::Run second(command({"hang-whatever-comes"}));
    const std::array<Shell::Run*, 2> both{&first, &second};
    const auto start = Clock::now();
    Shell::await(both, &first, interrupt[0]);
    EXPECT_LT(Clock::now() - start, 3s);
    EXPECT_TRUE(first.finished() && second.finished());
    const auto outcome = first.take();
    EXPECT_TRUE(outcome.interrupted);
    EXPECT_FALSE(outcome.completed());
    EXPECT_TRUE(second.take().interrupted);
    EXPECT_TRUE(hasNoChildren());
    ::close(interrupt[0]);
    ::close(interrupt[1]);
}

TEST(ShellFaults, aRunThatIsDroppedTakesItsToolDown) {
    {
        const Shell::Run dropped(command({"print-then-hang", "x"}));
    }
    EXPECT_TRUE(hasNoChildren());
}

TEST(ShellFaults, aRunThatWasMovedFromLeavesTheToolToTheOther) {
    Shell::Run source(command({"print", "moved"}));
    Shell::Run target(std::move(source));
    const std::array<Shell::Run*, 1> runs{&target};
    Shell::await(runs);
    EXPECT_EQ(target.take().output, "moved");
}
