#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>

/// Where the operating systems differ in holding on to a process. Internal to platform/.
namespace VintrelCore::Platform {

struct OpenedProcess {
    FileDescriptor descriptor{}; ///< none where the system has no such thing, or refuses it
    bool isNobody = false;       ///< the number is no process's
    bool isStranger = false;     ///< the records of that number are another process's
};

/// A descriptor for the process that has the number now.
[[nodiscard]] OpenedProcess openProcess(int32_t pid);

/// Signals the process behind a descriptor; 0, or the number of the error.
[[nodiscard]] int signalThrough(const FileDescriptor& process, int signal);

} // namespace VintrelCore::Platform
