#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Starting one child process: the part of running a tool that every operating system does in its own way.
/// Declared here, because it knows nothing of Vintrel, and implemented under platform/.
namespace VintrelCore::ChildProcess {

/// A child that has not been reaped. Whoever holds it reaps it, unless even SIGKILL does not end it.
struct Child {
    int32_t pid = 0;       ///< also the number of the child's process group, which it leads
    FileDescriptor output; ///< what the child writes to its standard output; reading never blocks
    FileDescriptor
        endOfChild; ///< polls readable once the child has ended; absent where the system refuses one
};

/// Starts `executable` (an absolute path; no shell, no search) with `arguments` behind its own name.
///
/// The child inherits standard input, has its standard output on a pipe, its standard error on the null
/// device (or, if wished, on that pipe) and no other descriptor; default signal actions, nothing blocked, a
/// process group of its own. `environment` holds NAME=value entries. Costs what a vfork does, however much
/// memory the caller has. Absent when it could not start.
[[nodiscard]] std::optional<Child> start(const std::string& executable,
                                         std::span<const std::string> arguments,
                                         std::span<const std::string> environment,
                                         bool isToTellErrors = false);

/// The environment that tools run in: this process's own, less what would change the form of their output,
/// with UTF-8 as character encoding and a point as decimal separator.
[[nodiscard]] std::vector<std::string> toolEnvironment();

} // namespace VintrelCore::ChildProcess
