// What every tool can count on, tried with a real child process.
#include "VintrelCore/base/Shell.h"

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

using namespace VintrelCore;
using VintrelTests::ScopedEnvironment;
using VintrelTests::TemporaryFolder;

namespace {

const std::string tool = VINTREL_TEST_TOOL;

std::string outputOf(const std::vector<std::string>& arguments) {
    return Shell::run(tool, arguments).output;
}

} // namespace

TEST(Shell, givesTheOutputAndSucceedsOnExitStatusZero) {
    const auto result = Shell::run(tool, {"print", "two words\nand a line"});
    EXPECT_EQ(result.output, "two words\nand a line");
    EXPECT_TRUE(result.ok);
}

TEST(Shell, givesTheOutputButFailsOnAnotherExitStatus) {
    const auto outcome = Shell::runToOutcome({.executable = tool, .arguments = {"exit", "3"}});
    EXPECT_EQ(outcome.exitStatus, 3);
    EXPECT_TRUE(outcome.completed());
    EXPECT_FALSE(outcome.ok());
    EXPECT_FALSE(Shell::run(tool, {"exit", "3"}).ok);
}

TEST(Shell, takesArgumentsAsTheyAreWithoutAnyShell) {
    EXPECT_EQ(outputOf({"print", "$HOME `id` * ; echo 'no'"}), "$HOME `id` * ; echo 'no'");
    EXPECT_EQ(outputOf({"print", ""}), "");
}

TEST(Shell, doesNotSearchPath) {
    EXPECT_FALSE(Shell::run("true", {}).ok);
}

TEST(Shell, failsForAMissingProgram) {
    const auto outcome = Shell::runToOutcome({.executable = "/nowhere/to/be/found"});
    EXPECT_FALSE(outcome.launched);
    EXPECT_FALSE(outcome.completed());
    EXPECT_EQ(outcome.output, "");
}

TEST(Shell, failsForAFileThatIsNotExecutable) {
    const TemporaryFolder folder;
    const auto result = Shell::run(folder.write("script", "#!/bin/sh\necho no\n"), {});
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.output, "");
}

TEST(Shell, discardsStandardError) {
    const auto result = Shell::run(tool, {"errors"});
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(result.ok);
}

TEST(Shell, tellsErrorsIfWished) {
    const auto outcome =
        Shell::runToOutcome({.executable = tool, .arguments = {"errors"}, .isToTellErrors = true});
    EXPECT_NE(outcome.output, "");
    EXPECT_TRUE(outcome.ok());
}

TEST(Shell, tellsWhyAnAnswerIsMissing) {
    using Shell::Fault;
    const auto faultOf = [](const Shell::Command& command) { return Shell::runToOutcome(command).fault(); };
    EXPECT_EQ(faultOf({.executable = tool, .arguments = {"exit", "3"}}), Fault::none)
        << "an exit status may mean anything";
    EXPECT_EQ(faultOf({.executable = "/nowhere/tool"}), Fault::notLaunched);
    EXPECT_EQ(faultOf({.executable = tool,
                       .arguments = {"print-then-hang", "x"},
                       .deadline = std::chrono::milliseconds(100)}),
              Fault::tooSlow);
    EXPECT_EQ(faultOf({.executable = "/bin/sh", .arguments = {"-c", "kill -KILL $$"}}), Fault::broken);
}

TEST(Shell, readsFiftyMegabytesWhileTheChildRuns) {
    const auto result = Shell::run(tool, {"write", "50000000"});
    EXPECT_EQ(result.output.size(), 50'000'000U);
    EXPECT_TRUE(result.ok);
}

TEST(Shell, givesNothingForOutputThatIsNotUTF8) {
    EXPECT_EQ(outputOf({"print-hex", "61c3a4"}), "a\u00e4");
    EXPECT_EQ(outputOf({"print-hex", "61c3"}), "");        // cut off
    EXPECT_EQ(outputOf({"print-hex", "61ff62"}), "");      // no lead byte
    EXPECT_EQ(outputOf({"print-hex", "eda080"}), "");      // a surrogate
    EXPECT_EQ(outputOf({"print-hex", "6100"}).size(), 2U); // a zero byte is text
    EXPECT_TRUE(Shell::run(tool, {"print-hex", "ff"}).ok); // and says nothing about success
}

TEST(Shell, givesTheChildNoDescriptorsButTheStandardOnes) {
    const int inheritable = ::open("/dev/null", O_RDONLY); // deliberately without O_CLOEXEC
    ASSERT_GE(::fcntl(inheritable, F_DUPFD, 200), 200);
    EXPECT_EQ(outputOf({"descriptors"}), "0 1 2 ");
    ::close(200);
    ::close(inheritable);
}

TEST(Shell, leavesNoDescriptorsBehind) {
    const auto openNow = [] {
        int count = 0;
        for (int descriptor = 0; descriptor < 256; ++descriptor) {
            count += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
        }
        return count;
    };
    const int before = openNow();
    for (int round = 0; round < 5; ++round) {
        EXPECT_TRUE(Shell::run(tool, {"print", "x"}).ok);
        EXPECT_FALSE(Shell::run("/nowhere", {}).ok);
    }
    EXPECT_EQ(openNow(), before);
}

TEST(Shell, worksWhenTheStandardDescriptorsAreClosed) {
    const int savedInput = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    const int savedOutput = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100);
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    const auto result = Shell::run(tool, {"print", "heard"});
    ::dup2(savedInput, STDIN_FILENO);
    ::dup2(savedOutput, STDOUT_FILENO);
    ::close(savedInput);
    ::close(savedOutput);
    EXPECT_EQ(result.output, "heard");
}

TEST(Shell, givesTheChildAGroupOfItsOwn) {
    EXPECT_EQ(outputOf({"group"}), "leads");
}

TEST(Shell, givesTheChildDefaultSignals) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto ignoredBefore = ::signal(SIGPIPE, SIG_IGN);
    const std::string masks = outputOf({"signals"});
    ::signal(SIGPIPE, ignoredBefore);
    ::sigprocmask(SIG_SETMASK, &before, nullptr);
    // The C library keeps two signals above the standard ones for itself.
    EXPECT_TRUE(masks.starts_with("SigBlk:\t0000000000000000\nSigIgn:\t")) << masks;
    EXPECT_EQ(std::stoull(masks.substr(masks.rfind('\t') + 1), nullptr, 16) & 0x7FFFFFFF, 0U) << masks;
}

TEST(Shell, givesToolsAnEnvironmentThatLeavesTheirOutputAlone) {
    const ScopedEnvironment columns("COLUMNS", "60");
    const ScopedEnvironment format("PS_FORMAT", "pid");
    const ScopedEnvironment personality("PS_PERSONALITY", "bsd");
    const ScopedEnvironment dialect("CMD_ENV", "hpux");
    const ScopedEnvironment locale("LC_ALL", "de_DE.UTF-8");
    const ScopedEnvironment kept("DOCKER_HOST", "unix:///somewhere");
    const std::string environment = "\n" + outputOf({"environment"});
    EXPECT_TRUE(environment.contains("\nLC_ALL=C.UTF-8\n"));
    EXPECT_TRUE(environment.contains("\nDOCKER_HOST=unix:///somewhere\n"));
    for (const char* unwanted :
         {"\nCOLUMNS=", "\nPS_FORMAT=", "\nPS_PERSONALITY=", "\nCMD_ENV=", "\nLC_ALL=de"}) {
        EXPECT_FALSE(environment.contains(unwanted)) << unwanted;
    }
}

TEST(Shell, survivesInterruptedSystemCalls) {
    struct sigaction action{};
    struct sigaction before{};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, &before); // without SA_RESTART
    const itimerval often{.it_interval = {.tv_sec = 0, .tv_usec = 500},
                          .it_value = {.tv_sec = 0, .tv_usec = 500}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    const auto large = Shell::run(tool, {"write", "5000000"});
    const auto status = Shell::runToOutcome({.executable = tool, .arguments = {"exit", "7"}});
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(large.output.size(), 5'000'000U);
    EXPECT_TRUE(large.ok);
    EXPECT_EQ(status.exitStatus, 7);
}

TEST(Shell, drivesSeveralToolsTogether) {
    Shell::Run first({.executable = tool, .arguments = {"print", "first"}});
    Shell::Run second({.executable = tool, .arguments = {"write", "3000000"}});
    Shell::Run missing({.executable = "/nowhere"});
    const std::array<Shell::Run*, 3> all{&first, &second, &missing};
    Shell::await(all);
    EXPECT_EQ(first.take().output, "first");
    EXPECT_EQ(second.take().output.size(), 3'000'000U);
    EXPECT_FALSE(missing.take().launched);
}

TEST(Shell, canWaitForOneToolWhileAnotherGoesOn) {
    Shell::Run quick({.executable = tool, .arguments = {"print", "quick"}});
    Shell::Run slow({.executable = tool, .arguments = {"print-then-hang", "slow"}});
    const std::array<Shell::Run*, 2> both{&quick, &slow};
    Shell::await(both, &quick);
    EXPECT_TRUE(quick.finished());
    EXPECT_FALSE(slow.finished());
    EXPECT_EQ(quick.take().output, "quick");
}
