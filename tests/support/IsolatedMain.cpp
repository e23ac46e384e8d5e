// The main function of test programs that run "clean": it ends every safe stray that it can see, so it must
// see nothing but what the tests started. They run in a process namespace of their own; what they leave
// behind ends with it. That takes root: without it no test runs, which is a failure where everything has to
// run (CI=true).
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <gtest/gtest.h>

#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int exitStatus(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::_Exit(EXIT_FAILURE);
}

/// Process 1 of the namespace: looks after orphans until the tests are done.
[[noreturn]] void lookAfter(pid_t tests) {
    for (;;) {
        int status = 0;
        const pid_t ended = ::waitpid(-1, &status, 0);
        if (ended == tests) {
            std::_Exit(exitStatus(status)); // everybody else in the namespace ends with process 1
        }
    }
}

/// Returns in the process that is to run the tests.
void enterNamespace() {
    if (::unshare(CLONE_NEWPID | CLONE_NEWNS) != 0) {
        fail("unshare");
    }
    const pid_t first = ::fork();
    if (first < 0) {
        fail("fork");
    }
    if (first > 0) {
        int status = 0;
        ::waitpid(first, &status, 0);
        std::_Exit(exitStatus(status));
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("proc", "/proc", "proc", 0, nullptr) != 0) {
        fail("mount");
    }
    const pid_t tests = ::fork();
    if (tests < 0) {
        fail("fork");
    }
    if (tests > 0) {
        lookAfter(tests);
    }
    ::setsid();
}

bool isOnlyListing(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        if (std::string_view(argv[index]) == "--gtest_list_tests") {
            return true;
        }
    }
    return false;
}

/// What ctest takes for a test that did not run.
int skip() {
    std::puts("[  SKIPPED ] needs root");
    return std::getenv("CI") != nullptr ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (!isOnlyListing(argc, argv)) {
        if (::geteuid() != 0) {
            return skip();
        }
        enterNamespace();
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
