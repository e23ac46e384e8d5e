#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Parsers for the files of a process below /proc. Source of the formats: the manual pages proc(5) and
/// cgroups(7).
namespace VintrelCore::ProcFiles {

struct Stat {
    char state = '?';
    int32_t parent = 0;
    int32_t processGroupID = 0;
    int32_t sessionID = 0;
    uint32_t terminal = 0; ///< the device's number, as in stat(2); 0 for none
    int32_t threadCount = 1;
    uint64_t usedTicks = 0;  ///< of processor time, its own and the kernel's for it, in clock ticks
    uint64_t startTicks = 0; ///< clock ticks between boot and the start of the process
    bool hasMemory = true; ///< false for the kernel's own, and for what is about to end: no arguments either
    int64_t residentPages = 0;
};

/// Parses "stat". Fields are counted from the last ')': the name before it may hold anything, ") S 1 (" and
/// line breaks included. Absent when the record is cut off before the start or malformed.
[[nodiscard]] std::optional<Stat> parseStat(std::string_view record);

/// The short name of the program in "stat", any bytes: a view into the record. Absent when it is malformed.
[[nodiscard]] std::optional<std::string_view> parseName(std::string_view record);

/// The arguments in "cmdline", each of which ends with a zero byte; the last need not.
[[nodiscard]] std::vector<std::string> parseArguments(std::string_view record);

struct Mount {
    std::string point; ///< the folder
    std::string type;  ///< of the file system

    bool operator==(const Mount&) const = default;
};

/// Those in "mountinfo", in its order; lines that are malformed are skipped.
[[nodiscard]] std::vector<Mount> parseMounts(std::string_view mountinfo);

/// Whether a file system of that type depends on a program or another machine, which may not answer.
[[nodiscard]] bool asksOthers(std::string_view fileSystem);

/// The real user id from "status"; absent when it is not there.
[[nodiscard]] std::optional<int32_t> parseUserID(std::string_view status);

/// The process that a thread belongs to, from "status"; absent when it is not there.
[[nodiscard]] std::optional<int32_t> parseThreadGroup(std::string_view status);

/// Whether a process is process 1 of a namespace below the one in which "status" was read.
[[nodiscard]] bool parseIsNamespacesFirst(std::string_view status);

/// Whether a process lives in a namespace of processes below the one in which "status" was read.
[[nodiscard]] bool parseIsInInnerNamespace(std::string_view status);

/// The process behind a descriptor for processes, from its "fdinfo"; absent when it is not there.
[[nodiscard]] std::optional<int32_t> parsePID(std::string_view descriptorInfo);

/// The value of a variable in "environ" (proc(5)); "" when it is not there.
[[nodiscard]] std::string_view environmentValue(std::string_view environment, std::string_view name);

/// The process that systemd started a unit with, from "environ" (systemd.exec(5), SYSTEMD_EXEC_PID); absent
/// when it is not there.
[[nodiscard]] std::optional<int32_t> parseUnitProcess(std::string_view environment);

/// The control group from "cgroup": systemd's own hierarchy where there is one, else the unified one; "" for
/// neither.
[[nodiscard]] std::string parseControlGroup(std::string_view cgroups);

} // namespace VintrelCore::ProcFiles
