#pragma once

#include <cstdlib>

#include <gtest/gtest.h>

#include <unistd.h>

/// For tests of what only root can bring about (mounts, other accounts). Without root they say that they did
/// not run, and where everything has to run (CI=true) that is a failure.
#define VINTREL_NEEDS_ROOT()                                                                                 \
    if (::geteuid() != 0) {                                                                                  \
        if (std::getenv("CI") != nullptr) {                                                                  \
            FAIL() << "needs root, and everything has to run here";                                          \
        }                                                                                                    \
        GTEST_SKIP() << "needs root";                                                                        \
    }                                                                                                        \
    static_assert(true)
