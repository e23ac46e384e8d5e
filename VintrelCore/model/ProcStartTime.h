#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace VintrelCore {

/// When a process started. Together with the pid it is the identity of a process: a pid whose stamp differs
/// is a different process.
struct ProcStartTime {
    int64_t sec = 0;  ///< whole seconds since the Unix epoch
    int64_t usec = 0; ///< microseconds within the second

    bool operator==(const ProcStartTime&) const = default;
    auto operator<=>(const ProcStartTime&) const = default;
};

/// Looks up the start of a process; absent when there is no such process or it cannot be known.
using StartTimeProvider = std::function<std::optional<ProcStartTime>(int32_t pid)>;

} // namespace VintrelCore

template <>
struct std::hash<VintrelCore::ProcStartTime> {
    size_t operator()(const VintrelCore::ProcStartTime& time) const noexcept {
        const size_t seconds = std::hash<int64_t>{}(time.sec);
        return (seconds ^ (seconds >> 29)) * 0x9E3779B97F4A7C15U + std::hash<int64_t>{}(time.usec);
    }
};
