#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <sys/types.h>

namespace VintrelTests {

/// What a run found. Goes through a pipe as it is.
struct Figures {
    int32_t recycled = 0;    ///< numbers that strangers were given
    int32_t notRecycled = 0; ///< numbers that should have been recycled and were not
    int32_t strangersSignalled = 0;
    int32_t others = 0;        ///< processes whose numbers were left to them
    int32_t othersEnded = 0;   ///< of those, the ones that SIGTERM or SIGKILL ended
    int32_t wrongOutcomes = 0; ///< results that do not fit what happened
    double shortestWait = 0;   ///< of a batch, in seconds
    bool isPrepared = false;   ///< the run could set up what it needs

    Figures& operator+=(const Figures& other);
};

/// Runs work in a process of its own, in a new namespace of pids with a /proc of its own: numbers can be
/// chosen there, and a mistake hits nobody outside. It all ends with the object.
class NamespacedRun {
public:
    /// Starts at once.
    explicit NamespacedRun(const std::function<Figures()>& work);
    NamespacedRun(NamespacedRun&& other) noexcept;
    NamespacedRun& operator=(NamespacedRun&&) = delete;
    NamespacedRun(const NamespacedRun&) = delete;
    NamespacedRun& operator=(const NamespacedRun&) = delete;
    ~NamespacedRun();

    /// Waits for the end. Without figures when it could not be set up, or did not come to its end.
    Figures wait();

    /// Why there can be no such process here; "" when there can be.
    [[nodiscard]] static std::string whyNot();

private:
    pid_t m_pid = 0;
    VintrelCore::FileDescriptor m_figures;
};

} // namespace VintrelTests

/// Without root or namespaces a test says that it did not run, and where everything has to run (CI=true) that
/// is a failure.
#define VINTREL_NEEDS_NAMESPACES()                                                                           \
    if (const std::string reason = VintrelTests::NamespacedRun::whyNot(); !reason.empty()) {                 \
        if (std::getenv("CI") != nullptr) {                                                                  \
            FAIL() << reason << ", and everything has to run here";                                          \
        }                                                                                                    \
        GTEST_SKIP() << reason;                                                                              \
    }                                                                                                        \
    static_assert(true)
