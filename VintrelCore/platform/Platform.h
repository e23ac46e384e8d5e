#pragma once

#include "VintrelCore/model/ProcStartTime.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// All that the core asks of an operating system, apart from starting a child (base/ChildProcess.h). Each
/// function fetches raw facts; what they mean is decided elsewhere, in code that every system shares. A port
/// implements this page, platform/Spawning.h and platform/ProcessDescriptors.h, and nothing else.
namespace VintrelCore::Platform {

// Where tools stand. PATH is never searched.

[[nodiscard]] std::string psPath();

/// Places where lsof may stand, best first.
[[nodiscard]] std::span<const std::string_view> lsofCandidates();

/// Places where the container engine's client may stand, best first.
[[nodiscard]] std::span<const std::string_view> dockerCandidates();

// Folders, without a slash at their end.

/// $HOME, else the account's home; "" when there is neither.
[[nodiscard]] std::string homeFolder();

/// Where programs keep a user's settings; Vintrel's own folder stands in it. "" without a home, and where the
/// system has a store of its own for them.
[[nodiscard]] std::string settingsFolder();

/// Where programs keep a user's data; Vintrel's own folder stands in it. "" without a home.
[[nodiscard]] std::string dataFolder();

/// Mount points of file systems that depend on a program or another machine: accessing a file below one may
/// block forever.
[[nodiscard]] std::vector<std::string> mountsThatMayHang();

// Processes.

/// The real user id of this process.
[[nodiscard]] int32_t currentUserID();

/// When a process started, by the kernel's record; absent when there is no such process or its record cannot
/// be read. Stays the same for the whole life of the process within one run of this program, whatever happens
/// to the clock.
[[nodiscard]] std::optional<ProcStartTime> startTime(int32_t pid);

/// The kernel's record of a process, as far as ending it goes by it.
struct ProcessRecord {
    ProcStartTime startTime{};
    bool isStopped = false; ///< by a signal; it handles others only once it goes on
    bool isZombie = false;  ///< all of it has ended, and its parent has not looked yet
    /// Processor time used so far, in seconds; absent where ps itself reports recent use.
    std::optional<double> usedCPU{};

    bool operator==(const ProcessRecord&) const = default;
};

/// Absent when there is no such process or its record cannot be read.
[[nodiscard]] std::optional<ProcessRecord> processRecord(int32_t pid);

/// The moment that a process would note as its start if it started now; absent where such moments move with
/// the clock, and so cannot be compared with earlier ones.
[[nodiscard]] std::optional<ProcStartTime> startTimeOfNow();

/// The arguments that a process was started with, its program's name first, or what it has written over them.
/// None for a process of the kernel's own. Absent when they cannot be read or have more than 128 KiB.
[[nodiscard]] std::optional<std::vector<std::string>> arguments(int32_t pid);

/// The file that a process runs, with " (deleted)" behind it when that is gone; absent when it cannot be
/// read.
[[nodiscard]] std::optional<std::string> executable(int32_t pid);

/// The value of a variable in a process's environment; "" when it is not set, absent when the environment
/// cannot be read.
[[nodiscard]] std::optional<std::string> environmentValue(int32_t pid, std::string_view name);

/// What the kernel knows of a process beyond what ps was asked for.
struct KernelFacts {
    int32_t userID = -1;        ///< the real user id
    char state = '?';           ///< as ps prints it: R, S, D, Z (a zombie), T ...
    int32_t processGroupID = 0; ///< the pid of the process group's leader
    int32_t sessionID = 0;      ///< the pid of the session's leader
    ProcStartTime startTime{};  ///< as `startTime` gives it
    std::string controlGroup{}; ///< the path of its control group; "" where there are none
    /// It is process 1 of a namespace other than this program's, such as a container's or a sandbox's.
    bool isNamespacesFirst = false;
    /// It lives in a pid namespace below this program's, such as a container's or a sandbox's.
    bool isInInnerNamespace = false;
};

/// What the snapshot's parent column has to be corrected with.
struct KernelView {
    /// False where an orphan's parent is always process 1, and so nothing is to be corrected.
    bool correctsParents = false;
    /// False where containers are not to be seen in the kernel's records of their processes.
    bool knowsContainers = false;
    int32_t userID = -1;
    int32_t ownPID = -1; ///< of this program
    std::string ownControlGroup;
    double secondsSinceBoot = 0; ///< no process is older; 0 where it is not known
    /// Absent for a process that is gone or whose records cannot be read.
    std::function<std::optional<KernelFacts>(int32_t pid)> factsOf;
    /// Whether a process holds the side of a terminal that a terminal's window or server holds. False where
    /// its descriptors cannot be read.
    std::function<bool(int32_t pid)> holdsTerminal = [](int32_t) { return false; };
    /// The process with which the service manager started the unit that a process, or the ancestor whose
    /// environment it has, came from. Absent where its environment does not tell.
    std::function<std::optional<int32_t>(int32_t pid)> unitProcessOf = [](int32_t) {
        return std::optional<int32_t>();
    };
    /// When a control group was made; as reliable as the clock then was. Absent where the system does not
    /// keep it.
    std::function<std::optional<ProcStartTime>(const std::string& controlGroup)> controlGroupStart =
        [](const std::string&) { return std::optional<ProcStartTime>(); };
};

/// The real one.
[[nodiscard]] KernelView kernelView();

// This process.

/// Lowers the soft limit of open descriptors to what tools cope with (lsof closes every possible one by one).
/// A lower one stays as it is: children inherit it, and may rely on it.
void limitDescriptors();

/// For as long as it lives, the soft limit of open descriptors is that of `limitDescriptors`, if `count` more
/// descriptors need it, and as far as the hard limit allows. Children that are started meanwhile inherit it.
/// Always the same limit, so that two of these on two threads leave the usual one behind.
class MoreDescriptors {
public:
    explicit MoreDescriptors(size_t count);
    MoreDescriptors(const MoreDescriptors&) = delete;
    MoreDescriptors& operator=(const MoreDescriptors&) = delete;
    ~MoreDescriptors();

private:
    std::optional<uint64_t> m_usual; // what is to be restored
};

} // namespace VintrelCore::Platform
