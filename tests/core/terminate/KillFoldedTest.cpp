// A row that stands for several processes: a package runner, its shell and its server.
#include "VintrelCore/terminate/KillCore.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using KillCore::Moment;

namespace {

const KillResult confirmedEnd{.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};

std::vector<int32_t> sorted(std::vector<int32_t> pids) {
    std::ranges::sort(pids);
    return pids;
}

/// The three processes of a row.
struct Row {
    explicit Row(OnSIGTERM behaviour = OnSIGTERM::leaves)
        : runner(behaviour), shell(behaviour), server(behaviour) {}

    [[nodiscard]] ProcessItem item() const {
        ProcessItem item = runner.item();
        item.folded = {shell.folded(), server.folded()};
        return item;
    }

    void expectUntouched() {
        for (Subject* const subject : {&runner, &shell, &server}) {
            EXPECT_TRUE(subject->isAlive());
            EXPECT_EQ(subject->noted(), std::vector<int>());
        }
    }

    Subject runner;
    Subject shell;
    Subject server;
};

void expectUntouched(Subject& subject) {
    EXPECT_TRUE(subject.isAlive());
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

void expectAsked(Subject& subject) {
    EXPECT_EQ(subject.wait(), 0);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

} // namespace

TEST(EndingARow, endsAllOfIt) {
    Row row;
    EXPECT_EQ(endOne(row.item(), shortWait()), confirmedEnd);
    expectAsked(row.runner);
    expectAsked(row.shell);
    expectAsked(row.server);
}

TEST(EndingARow, endsAllOfItWithinTheRealGracePeriod) {
    Row row(OnSIGTERM::stays);
    const double seconds =
        secondsOf([&] { EXPECT_EQ(KillCore::kill(row.item(), {}), KillOutcome::confirmed); });
    EXPECT_GE(seconds, KillCore::gracePeriod);
    EXPECT_LT(seconds, 2.5 * KillCore::gracePeriod) << "one wait serves the whole row";
    EXPECT_EQ(row.runner.wait(), -SIGKILL);
    EXPECT_EQ(row.shell.wait(), -SIGKILL);
    EXPECT_EQ(row.server.wait(), -SIGKILL);
}

TEST(EndingARow, goesFromTheTopDown) {
    Row row;
    std::vector<int32_t> compared;
    auto world = shortWait();
    world.at = [&](Moment moment, int32_t pid) {
        if (moment == Moment::afterComparison) {
            compared.push_back(pid);
        }
    };
    EXPECT_EQ(endOne(row.item(), world), confirmedEnd);
    EXPECT_EQ(compared, (std::vector{row.runner.pid(), row.shell.pid(), row.server.pid()}));
}

TEST(EndingARow, aShellThatStartedItIsNeverAskedBeforeTheRowIsChecked) {
    Row row;
    ProcessItem item = row.item();
    item.folded[0].as = FoldedAs::starter;
    std::vector<int32_t> compared;
    auto world = shortWait();
    world.at = [&](Moment moment, int32_t pid) {
        if (moment == Moment::afterComparison) {
            compared.push_back(pid);
        }
    };
    EXPECT_EQ(endOne(item, world), confirmedEnd);
    EXPECT_EQ(compared, (std::vector{row.runner.pid(), row.shell.pid(), row.server.pid()}));
    expectAsked(row.shell);

    Row other;
    ProcessItem changed = other.item();
    changed.folded[0].as = FoldedAs::starter;
    --changed.startTime->sec;
    EXPECT_EQ(endOne(changed, endlessWait()).detail, KillDetail::notTheSame);
    other.expectUntouched();
}

TEST(EndingARow, aShellThatStartedItDoesNotGoOnToItsNextCommand) {
    for (int run = 0; run < 20; ++run) {
        const TemporaryFolder folder;
        Process shell(
            {.argv = {"/bin/sh", "-c", "sh -c 'echo $$; exec sleep 100'; touch next"}, .cwd = folder.path()});
        const int32_t tool = std::stoi(shell.readLine());
        const Ended atTheLatest(tool);
        const ProcessItem item{.pid = tool,
                               .startTime = KillCore::startTime(tool),
                               .folded = {{.pid = shell.pid(),
                                           .startTime = KillCore::startTime(shell.pid()),
                                           .as = FoldedAs::starter}}};
        EXPECT_EQ(endOne(item, shortWait(0.1)), confirmedEnd);
        EXPECT_EQ(shell.wait(), -SIGTERM);
        ASSERT_FALSE(std::filesystem::exists(folder.path() / "next")) << run;
    }
}

TEST(EndingARow, forcesWhoeverStays) {
    Subject runner(OnSIGTERM::leaves);
    Subject server(OnSIGTERM::stays);
    ProcessItem item = runner.item();
    item.folded = {server.folded()};
    EXPECT_EQ(endOne(item, shortWait()), confirmedEnd);
    EXPECT_EQ(runner.wait(), 0);
    EXPECT_EQ(server.wait(), -SIGKILL);
}

TEST(EndingARow, goesOnBelowARunnerThatStays) {
    Subject runner(OnSIGTERM::stays);
    Subject server(OnSIGTERM::leaves);
    ProcessItem item = runner.item();
    item.folded = {server.folded()};
    EXPECT_EQ(endOne(item, shortWait()), confirmedEnd);
    EXPECT_EQ(runner.wait(), -SIGKILL);
    expectAsked(server);
}

TEST(EndingARow, leavesAFoldedProcessAloneWhoseStartChanged) {
    Row row;
    ProcessItem item = row.item();
    --item.folded[0].startTime->sec;
    const KillResult result = endOne(item, shortWait());
    EXPECT_EQ(result.outcome, KillOutcome::confirmed);
    EXPECT_TRUE(result.left.empty()) << "it was none of the row's any more";
    expectUntouched(row.shell);
    expectAsked(row.runner);
    expectAsked(row.server);
}

TEST(EndingARow, leavesAFoldedProcessAloneWhoseStartIsUnknown) {
    Row row;
    ProcessItem item = row.item();
    item.folded[1].startTime.reset();
    const KillResult result = endOne(item, shortWait());
    EXPECT_EQ(result.outcome, KillOutcome::confirmed);
    EXPECT_EQ(result.left, std::vector{row.server.pid()});
    expectUntouched(row.server);
    expectAsked(row.runner);
    expectAsked(row.shell);
}

TEST(EndingARow, withoutARecordedStartOfTheRunnerStillChecksTheOthers) {
    Row row;
    ProcessItem item = row.item();
    item.startTime.reset();
    ++item.folded[0].startTime->usec;
    EXPECT_EQ(endOne(item, shortWait()).outcome, KillOutcome::confirmed);
    expectUntouched(row.shell);
    expectAsked(row.runner);
    expectAsked(row.server);
}

TEST(EndingARow, doesNothingWhenTheRunnerIsNotTheSame) {
    Row row;
    ProcessItem item = row.item();
    --item.startTime->sec;
    KillResult result;
    EXPECT_LT(secondsOf([&] { result = endOne(item, endlessWait()); }), noWait);
    EXPECT_EQ(result.outcome, KillOutcome::notKilled);
    EXPECT_EQ(result.detail, KillDetail::notTheSame);
    row.expectUntouched();
}

TEST(EndingARow, doesNothingWhenTheRunnerIsGone) {
    Row row;
    const ProcessItem item = row.item();
    row.runner.vanish();
    KillResult result;
    EXPECT_LT(secondsOf([&] { result = endOne(item, endlessWait()); }), noWait);
    EXPECT_EQ(result.outcome, KillOutcome::notKilled);
    EXPECT_EQ(result.detail, KillDetail::alreadyGone);
    EXPECT_EQ(sorted(result.left), sorted({row.shell.pid(), row.server.pid()})) << "they do run on";
    expectUntouched(row.shell);
    expectUntouched(row.server);
}

TEST(EndingARow, takesAFoldedProcessThatIsGoneForGone) {
    Row row;
    const ProcessItem item = row.item();
    row.shell.vanish();
    row.server.becomeZombie();
    EXPECT_EQ(endOne(item, shortWait()), confirmedEnd);
    expectAsked(row.runner);
}

TEST(EndingARow, letsAFoldedProcessGoOnThatWasStopped) {
    Row row;
    row.server.stop();
    EXPECT_EQ(endOne(row.item(), shortWait(1)), confirmedEnd);
    expectAsked(row.server);
}

TEST(EndingARow, neverEndsTheProgramItselfAsAFoldedProcess) {
    Subject runner(OnSIGTERM::leaves);
    ProcessItem item = runner.item();
    item.folded = {{.pid = ::getpid(), .startTime = KillCore::startTime(::getpid())}};
    ASSERT_TRUE(item.folded[0].startTime);
    const std::string told = inChild([&] {
        // The test itself stays out of danger: this copy of it is "the program".
        item.folded[0] = {.pid = ::getpid(), .startTime = KillCore::startTime(::getpid())};
        const KillResult result = endOne(item, shortWait());
        return std::string(result.left == std::vector<int32_t>{::getpid()} ? "itself is left" : "else");
    });
    EXPECT_EQ(told, "itself is left");
    expectAsked(runner);
}

TEST(EndingARow, sparesAnUnrelatedChildOfTheRunnerAndASiblingInItsGroup) {
    int notes[2] = {-1, -1};
    ASSERT_EQ(::pipe2(notes, O_CLOEXEC), 0);
    FileDescriptor heard(notes[0]);
    FileDescriptor said(notes[1]);
    Subject runner(OnSIGTERM::leaves, [&] {
        ::setpgid(0, 0);
        const pid_t child = forked();
        if (child == 0) {
            const pid_t self = ::getpid();
            if (::write(said.get(), &self, sizeof self) == sizeof self) {
                Subject::live(OnSIGTERM::leaves, said.get());
            }
        }
    });
    said.close();
    pid_t child = 0;
    char ready = 1;
    ASSERT_EQ(::read(heard.get(), &child, sizeof child), ssize_t{sizeof child});
    ASSERT_EQ(::read(heard.get(), &ready, 1), 1);
    const Ended unrelated(child);
    Subject sibling(OnSIGTERM::leaves, [&] { ::setpgid(0, runner.pid()); });
    Subject server(OnSIGTERM::leaves, [&] { ::setpgid(0, runner.pid()); });
    ASSERT_EQ(::getpgid(child), runner.pid());
    ASSERT_EQ(::getpgid(sibling.pid()), runner.pid());

    ProcessItem item = runner.item();
    item.folded = {server.folded()};
    EXPECT_EQ(endOne(item, shortWait()), confirmedEnd);
    expectAsked(runner);
    expectAsked(server);
    expectUntouched(sibling);
    const auto facts = Platform::kernelView().factsOf(child);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->state, 'S');
    ::fcntl(heard.get(), F_SETFL, O_NONBLOCK);
    char signal = 0;
    EXPECT_EQ(::read(heard.get(), &signal, 1), -1) << "it got signal " << int{signal};
}
