#pragma once

#include "VintrelCore/model/ProcStartTime.h"

#include <cstdint>

/// Moments as the kernel's records of processes have them: ticks since boot. Internal to platform/linux/.
namespace VintrelCore::Platform::KernelClock {

[[nodiscard]] int64_t ticksPerSecond();

[[nodiscard]] int64_t microsecondsSinceBoot();

/// Whole ticks.
[[nodiscard]] int64_t ticksSinceBoot();

/// Stays the same within one run of this program, whatever happens to the clock on the wall.
[[nodiscard]] ProcStartTime timeOfTicks(int64_t ticks);

} // namespace VintrelCore::Platform::KernelClock
