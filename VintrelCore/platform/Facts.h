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

/// What one scan knows of processes. There are two sources behind one type: the kernel, where it tells all of
/// this itself (`kernelFacts`), and the tools ps and lsof elsewhere (`scan/ToolFacts.h`). Both say the same
/// in the same words; nothing above this page knows which of them answered.
namespace VintrelCore::Platform {

/// One process in the table of one moment.
struct ProcessFacts {
    int32_t pid = 0;
    int32_t ppid = 0;
    std::string elapsed; ///< as ps prints it, like the next four
    std::string tty;
    std::string cpuPercent;
    std::string rss; ///< KiB; may be off by some pages for each processor (`Facts::residentKB` is exact)
    std::string command;
    std::string name{};    ///< the short name of its program, as ps prints it
    bool isZombie = false; ///< its first thread has ended, and its parent has not looked yet

    bool operator==(const ProcessFacts&) const = default;
};

/// Why an answer is missing or not whole.
struct Shortfall {
    Shell::Fault fault = Shell::Fault::none;
    std::string source{};      ///< what did not answer: a tool's name, or a place in the file system
    bool metDeadMount = false; ///< a mount does not answer: files there must not be looked at
    bool interrupted = false;  ///< the caller stopped it

    bool operator==(const Shortfall&) const = default;
};

/// The working directories of processes, as the kernel names them: one that was deleted has " (deleted)"
/// behind it. Without an entry for a process that is gone or may not be looked into.
struct Folders {
    std::unordered_map<int32_t, std::string> byPID{};
    Shortfall shortfall{};
};

/// The ports on which processes listen over TCP, in this program's network.
struct Listeners {
    std::unordered_map<int32_t, std::set<int>> byPID{};
    Shortfall shortfall{};
};

/// Something that a process has open under a number.
struct OpenDescriptor {
    std::string type; ///< in lsof's words: "REG" for a regular file, "IPv4", "IPv6", "unix" for sockets, ...
    std::string name;

    bool operator==(const OpenDescriptor&) const = default;
};

/// The facts of one moment and what they lead to. Not for several threads at once.
///
/// What is asked after the table was taken is about the processes of the table: for one that has ended since,
/// or whose number is another one's now, there is no answer.
class Facts {
public:
    Facts() = default;
    Facts(const Facts&) = delete;
    Facts& operator=(const Facts&) = delete;
    virtual ~Facts() = default;

    /// Every process that can be seen, by rising pid. Empty with a fault, and only then.
    [[nodiscard]] virtual std::span<const ProcessFacts> processes() = 0;

    /// What is wrong with `processes`.
    [[nodiscard]] virtual Shortfall shortfall() = 0;

    /// What its parent column has to be corrected with. Refers to this object.
    [[nodiscard]] virtual KernelView kernelView() = 0;

    /// When a process of the table started.
    [[nodiscard]] virtual std::optional<ProcStartTime> startTime(int32_t pid) = 0;

    /// The exact arguments, the program's name first; none for a process of the kernel's own. Absent when
    /// they cannot be had.
    [[nodiscard]] virtual std::optional<std::vector<std::string>> arguments(int32_t pid) = 0;

    /// The file that a process runs, with " (deleted)" behind it when that is gone.
    [[nodiscard]] virtual std::optional<std::string> executable(int32_t pid) = 0;

    /// A variable among those that a process was started with; "" when it is not there, absent when they
    /// cannot be read.
    [[nodiscard]] virtual std::optional<std::string> environmentValue(int32_t pid, std::string_view name) = 0;

    /// Resident memory in KiB, exactly.
    [[nodiscard]] virtual std::optional<int64_t> residentKB(int32_t pid) = 0;

    [[nodiscard]] virtual Folders folders(std::span<const int32_t> pids) = 0;

    /// Who listens on one of the ports; `candidates` are looked at first, and others only for listeners that
    /// none of them holds. Of a candidate every such port is named, also one that it shares.
    [[nodiscard]] virtual Listeners listeners(const std::set<int>& ports,
                                              std::span<const int32_t> candidates) = 0;

    /// What processes have open, one after another, each by rising number.
    [[nodiscard]] virtual std::vector<OpenDescriptor> openDescriptors(std::span<const int32_t> pids) = 0;
};

/// Reads the table from the kernel, now. Null where the kernel does not tell, and the tools have to.
[[nodiscard]] std::unique_ptr<Facts> kernelFacts();

} // namespace VintrelCore::Platform
