// Whom this program may not end: other users' processes, the system's first one, and itself. The tests run
// as a user of their own who has no other process, so that a mistake hits nobody.
#include "VintrelCore/terminate/KillCore.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/NeedsRoot.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using KillCore::KillOutcome;
using KillCore::KillResult;

namespace {

/// The result as a text, and whether it came without a wait.
std::string endAtOnce(const ProcessItem& item) {
    KillResult result;
    const double taken = secondsOf([&] { result = endOne(item, endlessWait()); });
    return describe(result) + (taken < noWait ? "" : ", after a wait");
}

} // namespace

TEST(KillPermission, anotherUsersProcessIsNeitherSignalledNorWaitedFor) {
    VINTREL_NEEDS_ROOT();
    Subject subject(OnSIGTERM::leaves);
    const ProcessItem item = subject.item();
    const std::string told = asStranger([&] { return endAtOnce(item); });
    EXPECT_EQ(told, "notKilled, notPermitted, left " + std::to_string(subject.pid()));
    EXPECT_TRUE(subject.isAlive());
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

TEST(KillPermission, anotherUsersProcessWithoutARecordedStartIsNotPermittedEither) {
    VINTREL_NEEDS_ROOT();
    Subject subject(OnSIGTERM::leaves);
    const std::string told = asStranger([&] { return endAtOnce({.pid = subject.pid()}); });
    EXPECT_EQ(told, "notKilled, notPermitted, left " + std::to_string(subject.pid()));
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

TEST(KillPermission, killItselfSaysNotKilledAndDoesNotWait) {
    VINTREL_NEEDS_ROOT();
    Subject subject(OnSIGTERM::leaves);
    const ProcessItem item = subject.item();
    const std::string told = asStranger([&]() -> std::string {
        KillOutcome outcome = KillOutcome::confirmed;
        const double taken = secondsOf([&] { outcome = KillCore::kill(item, {}); });
        return std::string(outcome == KillOutcome::notKilled ? "notKilled" : "confirmed") +
               (taken < KillCore::gracePeriod ? "" : ", after a wait");
    });
    EXPECT_EQ(told, "notKilled");
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

TEST(KillPermission, nothingOfARowIsSignalledWhenItsRunnerMayNotBe) {
    VINTREL_NEEDS_ROOT();
    Subject runner(OnSIGTERM::leaves);
    ProcessItem item = runner.item();
    const std::string told = asStranger([&] {
        Subject mine(OnSIGTERM::leaves);
        item.folded = {mine.folded()};
        const KillResult result = endOne(item, endlessWait());
        return std::string(result.outcome == KillOutcome::notKilled ? "notKilled, " : "confirmed, ") +
               (mine.isAlive() && mine.noted().empty() ? "untouched" : "signalled");
    });
    EXPECT_EQ(told, "notKilled, untouched");
    EXPECT_EQ(runner.noted(), std::vector<int>());
}

TEST(KillPermission, anotherUsersFoldedProcessIsLeft) {
    VINTREL_NEEDS_ROOT();
    Subject theirs(OnSIGTERM::leaves);
    const FoldedProcess folded = theirs.folded();
    const std::string told = asStranger([&] {
        Subject mine(OnSIGTERM::leaves);
        ProcessItem item = mine.item();
        item.folded = {folded};
        const KillResult result = endOne(item, shortWait());
        return std::string(result.outcome == KillOutcome::confirmed ? "confirmed, " : "notKilled, ") +
               (result.left == std::vector{folded.pid} ? "theirs is left, " : "left is wrong, ") +
               (mine.wait() == 0 ? "mine has ended" : "mine has not left");
    });
    EXPECT_EQ(told, "confirmed, theirs is left, mine has ended");
    EXPECT_TRUE(theirs.isAlive());
    EXPECT_EQ(theirs.noted(), std::vector<int>());
}

TEST(KillRefusal, numbersThatAreNoOrdinaryProcess) {
    VINTREL_NEEDS_ROOT();
    for (const int32_t pid : {0, -1, 1, -2, std::numeric_limits<int32_t>::min()}) {
        for (const bool knowsStart : {false, true}) {
            const std::string told = asStranger([&] {
                // In the same group and of the same user: whoever is signalled here was not meant.
                Subject bystander(OnSIGTERM::leaves);
                ProcessItem item{.pid = pid};
                if (knowsStart) {
                    item.startTime = KillCore::startTime(1);
                }
                const std::string result = endAtOnce(item);
                return result.substr(0, result.find(", left")) +
                       (bystander.isAlive() && bystander.noted().empty() ? "" : ", signalled a bystander");
            });
            EXPECT_EQ(told, "notKilled, refused") << pid;
        }
    }
}

TEST(KillRefusal, ofTheWholeGroupByANegativeNumber) {
    VINTREL_NEEDS_ROOT();
    const std::string told = asStranger([] {
        Subject leader(OnSIGTERM::leaves, [] { ::setpgid(0, 0); });
        const std::string result = endAtOnce({.pid = -leader.pid()});
        return result.substr(0, result.find(", left")) + (leader.noted().empty() ? "" : ", signalled");
    });
    EXPECT_EQ(told, "notKilled, refused");
}

TEST(KillRefusal, theProgramItself) {
    for (const bool knowsStart : {false, true}) {
        const std::string told = inChild([&] {
            ProcessItem item{.pid = ::getpid()};
            if (knowsStart) {
                item.startTime = KillCore::startTime(::getpid());
            }
            return endAtOnce(item).substr(0, std::string("notKilled, refused").size());
        });
        EXPECT_EQ(told, "notKilled, refused");
    }
}

TEST(KillRefusal, killItselfRefusesAsWell) {
    VINTREL_NEEDS_ROOT();
    for (const int32_t pid : {0, -1, 1}) {
        const std::string told = asStranger([&]() -> std::string {
            return KillCore::kill({.pid = pid}, {}) == KillOutcome::notKilled ? "notKilled" : "confirmed";
        });
        EXPECT_EQ(told, "notKilled") << pid;
    }
}

TEST(KillRefusal, ofTheFirstProcessAsAFoldedOne) {
    VINTREL_NEEDS_ROOT();
    const std::string told = asStranger([] {
        Subject runner(OnSIGTERM::leaves);
        ProcessItem item = runner.item();
        item.folded = {{.pid = 1, .startTime = KillCore::startTime(1)},
                       {.pid = 0, .startTime = item.startTime},
                       {.pid = -1, .startTime = item.startTime}};
        Subject bystander(OnSIGTERM::leaves);
        const KillResult result = endOne(item, shortWait());
        return std::string(result.outcome == KillOutcome::confirmed ? "confirmed" : "notKilled") +
               (bystander.isAlive() && bystander.noted().empty() ? "" : ", signalled a bystander") +
               (runner.wait() == 0 ? ", the runner has ended" : "");
    });
    EXPECT_EQ(told, "confirmed, the runner has ended");
}
