#pragma once

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/platform/Platform.h"

#include <cstdint>
#include <optional>

namespace VintrelCore::Platform {

/// What became of a signal.
enum class Delivery {
    delivered,
    gone,         ///< the process has ended; nobody got the signal
    notPermitted, ///< the system refuses it, or to say which process it is; nobody got the signal
};

/// The process that has a number at the moment the handle is made, and no later one of that number.
///
/// Where the system has descriptors for processes, a signal through the handle can reach no other process.
/// Where it has none, or refuses them, the record is read again immediately before each signal, which leaves
/// a gap of microseconds.
class ProcessHandle {
public:
    explicit ProcessHandle(int32_t pid);

    [[nodiscard]] int32_t pid() const { return m_pid; }

    /// Reads the kernel's record of whoever has the number now; absent when nobody has, or it cannot be read.
    /// The first record that was read is what later ones have to agree with where descriptors are refused.
    [[nodiscard]] std::optional<ProcessRecord> record();

    /// Sends a signal to the process, and to no other.
    [[nodiscard]] Delivery send(int signal) const;

    /// Whether the process has ended, as a zombie or altogether.
    [[nodiscard]] bool hasEnded() const;

private:
    [[nodiscard]] bool isStillTheSame() const;

    int32_t m_pid;
    bool m_isNobody = false;   // the number was nobody's
    bool m_isStranger = false; // there is no telling which process it is
    FileDescriptor m_descriptor;
    std::optional<ProcStartTime> m_known;
};

} // namespace VintrelCore::Platform
