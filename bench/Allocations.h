#pragma once

#include <cstdint>

namespace Bench {

/// How often this program has called operator new so far. What C code allocates by itself is not among it.
[[nodiscard]] uint64_t allocationCount();

} // namespace Bench
