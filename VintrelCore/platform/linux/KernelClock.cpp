#include "VintrelCore/platform/linux/KernelClock.h"

#include <algorithm>
#include <ctime>

#include <unistd.h>

namespace VintrelCore::Platform::KernelClock {

namespace {

constexpr int64_t microsecondsPerSecond = 1'000'000;

int64_t clockMicroseconds(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * microsecondsPerSecond + time.tv_nsec / 1'000;
}

/// The moment of boot by today's clock. Sampled once: the kernel's ticks never change, but the clock may be
/// set, and an identity must not move with it.
int64_t bootMicroseconds() {
    static const int64_t sampled = clockMicroseconds(CLOCK_REALTIME) - clockMicroseconds(CLOCK_BOOTTIME);
    return sampled;
}

} // namespace

int64_t ticksPerSecond() {
    static const int64_t sampled = std::max<int64_t>(::sysconf(_SC_CLK_TCK), 1);
    return sampled;
}

int64_t microsecondsSinceBoot() {
    return clockMicroseconds(CLOCK_BOOTTIME);
}

int64_t ticksSinceBoot() {
    const int64_t sinceBoot = microsecondsSinceBoot();
    return sinceBoot / microsecondsPerSecond * ticksPerSecond() +
           sinceBoot % microsecondsPerSecond * ticksPerSecond() / microsecondsPerSecond;
}

ProcStartTime timeOfTicks(int64_t ticks) {
    const int64_t sinceBoot = ticks / ticksPerSecond() * microsecondsPerSecond +
                              ticks % ticksPerSecond() * microsecondsPerSecond / ticksPerSecond();
    const int64_t start = bootMicroseconds() + sinceBoot;
    return {.sec = start / microsecondsPerSecond, .usec = start % microsecondsPerSecond};
}

} // namespace VintrelCore::Platform::KernelClock
