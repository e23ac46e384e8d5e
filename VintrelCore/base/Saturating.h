#pragma once

#include <cstdint>
#include <limits>

/// Arithmetic that stays within its type: text and files that were made up may hold any number.
namespace VintrelCore::Saturating {

[[nodiscard]] inline int64_t sum(int64_t left, int64_t right) {
    int64_t sum = 0;
    if (!__builtin_add_overflow(left, right, &sum)) {
        return sum;
    }
    return left > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
}

} // namespace VintrelCore::Saturating
