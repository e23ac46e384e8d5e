#pragma once

#include <map>
#include <string>

#include <sys/types.h>

/// What the kernel tells of this process.
namespace Bench::OwnProcess {

/// Processor time of the calling thread, in milliseconds.
[[nodiscard]] double threadTime();

/// The memory that is this process's own, swapped out or not, in KiB. Without clean pages of files: whether
/// those are private depends on which other programs have the same libraries loaded at the moment.
[[nodiscard]] long privateMemory();

/// How often each thread but `observer` has gone to sleep so far, by its number.
[[nodiscard]] std::map<std::string, long> sleeps(pid_t observer);

} // namespace Bench::OwnProcess
