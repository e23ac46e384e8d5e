#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/platform/Platform.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The facts that a scan works with. One type has two sources: the kernel where it provides all of them
/// (`kernelFacts`), and ps and lsof elsewhere (`scan/ToolFacts.h`). Both give the same values in the same
/// format, so code above this header does not depend on the source.
namespace VintrelCore::Platform {

/// One process in the table.
struct ProcessFacts {
    int32_t pid = 0;
    int32_t ppid = 0;
    std::string elapsed; ///< formatted as ps does, like the next four
    std::string tty;
    std::string cpuPercent;
    std::string rss; ///< KiB; may be off by some pages for each processor (`Facts::residentKB` is exact)
    std::string command;
    std::string name{};    ///< the short name of its program, as ps prints it
    bool isZombie = false; ///< its main thread has ended and is not reaped yet

    bool operator==(const ProcessFacts&) const = default;
};

/// Why an answer is missing or incomplete.
struct Shortfall {
    Shell::Fault fault = Shell::Fault::none;
    std::string source{};      ///< the tool or path that failed
    bool metDeadMount = false; ///< a mount does not answer; do not access files there
    bool interrupted = false;  ///< the caller stopped it

    bool operator==(const Shortfall&) const = default;
};

/// The working directories of processes, as the kernel names them: a deleted one ends with " (deleted)". A
/// process that has ended or that may not be inspected has no entry.
struct Folders {
    std::unordered_map<int32_t, std::string> byPID{};
    Shortfall shortfall{};
};

/// The ports on which processes listen over TCP, in this program's network.
struct Listeners {
    std::unordered_map<int32_t, std::set<int>> byPID{};
    Shortfall shortfall{};
};

/// An open file descriptor.
struct OpenDescriptor {
    std::string type; ///< in lsof's words: "REG" for a regular file, "IPv4", "IPv6", "unix" for sockets, ...
    std::string name;

    bool operator==(const OpenDescriptor&) const = default;
};

/// A snapshot of the process table, and further facts about its processes. Not thread-safe.
///
/// Later queries are about the processes in the table. They return nothing for a process that has ended
/// since, even if its pid has been reused.
class Facts {
public:
    Facts() = default;
    Facts(const Facts&) = delete;
    Facts& operator=(const Facts&) = delete;
    virtual ~Facts() = default;

    /// Every process that can be seen, by rising pid. Empty with a fault, and only then.
    [[nodiscard]] virtual std::span<const ProcessFacts> processes() = 0;

    /// The fault that `processes` ran into, if any.
    [[nodiscard]] virtual Shortfall shortfall() = 0;

    /// The kernel's view for correcting the table's parent column. It refers to this object.
    [[nodiscard]] virtual KernelView kernelView() = 0;

    /// When a process of the table started.
    [[nodiscard]] virtual std::optional<ProcStartTime> startTime(int32_t pid) = 0;

    /// The exact arguments, the program's name first; empty for a kernel thread. Absent when they cannot be
    /// read.
    [[nodiscard]] virtual std::optional<std::vector<std::string>> arguments(int32_t pid) = 0;

    /// The executable of a process; it ends with " (deleted)" when the file is gone.
    [[nodiscard]] virtual std::optional<std::string> executable(int32_t pid) = 0;

    /// The value of a variable in a process's environment; "" when it is not set, absent when the environment
    /// cannot be read.
    [[nodiscard]] virtual std::optional<std::string> environmentValue(int32_t pid, std::string_view name) = 0;

    /// Resident memory in KiB, exactly.
    [[nodiscard]] virtual std::optional<int64_t> residentKB(int32_t pid) = 0;

    [[nodiscard]] virtual Folders folders(std::span<const int32_t> pids) = 0;

    /// The processes that listen on any of `ports`. The `candidates` are searched first, all other processes
    /// only while a listening socket has no owner yet. A candidate is reported with every such port,
    /// including shared sockets.
    [[nodiscard]] virtual Listeners listeners(const std::set<int>& ports,
                                              std::span<const int32_t> candidates) = 0;

    /// The open descriptors of the processes, in the order of `pids`, each in ascending order.
    [[nodiscard]] virtual std::vector<OpenDescriptor> openDescriptors(std::span<const int32_t> pids) = 0;
};

/// Reads the process table from the kernel. Null on systems where ps and lsof have to provide it.
[[nodiscard]] std::unique_ptr<Facts> kernelFacts();

} // namespace VintrelCore::Platform
