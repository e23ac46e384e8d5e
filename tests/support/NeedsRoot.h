#pragma once

#include <cstdlib>

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

/// For tests that need what a machine or an account may lack. Without it they say that they did not run, and
/// where everything has to run (CI=true) that is a failure.
#define VINTREL_NEEDS(condition, what)                                                                       \
    if (!(condition)) {                                                                                      \
        if (std::getenv("CI") != nullptr) {                                                                  \
            FAIL() << "needs " what ", and everything has to run here";                                      \
        }                                                                                                    \
        GTEST_SKIP() << "needs " what;                                                                       \
    }                                                                                                        \
    static_assert(true)

/// For tests of what only root can bring about: mounts, other accounts.
#define VINTREL_NEEDS_ROOT() VINTREL_NEEDS(::geteuid() == 0, "root")

namespace VintrelTests {

/// Whether a process without privileges gets some in a user namespace of its own, which many systems refuse.
inline bool hasUserNamespaces() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(::unshare(CLONE_NEWUSER) == 0 && ::chroot("/") == 0 ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

} // namespace VintrelTests

/// For tests of what root can bring about, and everybody else in a user namespace. Likewise.
#define VINTREL_NEEDS_ROOT_OR_USER_NAMESPACES()                                                              \
    if (::geteuid() != 0 && !VintrelTests::hasUserNamespaces()) {                                            \
        VINTREL_NEEDS_ROOT();                                                                                \
    }                                                                                                        \
    static_assert(true)
