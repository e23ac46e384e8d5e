#include "VintrelCore/platform/Platform.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Path.h"
#include "VintrelCore/platform/ProcFiles.h"
#include "VintrelCore/platform/linux/KernelClock.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::Platform {

namespace {

constexpr size_t maxRecord = size_t{64} << 10;
constexpr size_t maxArguments = size_t{128} << 10;

std::string procPath(int32_t pid, std::string_view name) {
    return "/proc/" + std::to_string(pid) + "/" + std::string(name);
}

std::optional<std::string> readProcFile(int32_t pid, std::string_view name) {
    return File::readKernelFile(procPath(pid, name), maxRecord);
}

std::optional<ProcFiles::Stat> readStat(int32_t pid) {
    const auto record = readProcFile(pid, "stat");
    return record ? ProcFiles::parseStat(*record) : std::nullopt;
}

ProcStartTime timeOf(const ProcFiles::Stat& stat) {
    return KernelClock::timeOfTicks(static_cast<int64_t>(stat.startTicks));
}

std::optional<KernelFacts> readKernelFacts(int32_t pid) {
    const auto stat = readStat(pid);
    const auto status = readProcFile(pid, "status");
    const auto cgroups = readProcFile(pid, "cgroup");
    const auto userID = status ? ProcFiles::parseUserID(*status) : std::nullopt;
    if (!stat || !userID || !cgroups) {
        return std::nullopt;
    }
    return KernelFacts{.userID = *userID,
                       .state = stat->state,
                       .processGroupID = stat->processGroupID,
                       .sessionID = stat->sessionID,
                       .startTime = timeOf(*stat),
                       .controlGroup = ProcFiles::parseControlGroup(*cgroups),
                       .isNamespacesFirst = ProcFiles::parseIsNamespacesFirst(*status),
                       .isInInnerNamespace = ProcFiles::parseIsInInnerNamespace(*status)};
}

bool isMasterOfTerminals(const std::filesystem::path& file) {
    return file == "/dev/ptmx" || file == "/dev/pts/ptmx"; // the second is what the first leads to
}

bool readHoldsTerminal(int32_t pid) {
    std::error_code error;
    std::filesystem::directory_iterator descriptor("/proc/" + std::to_string(pid) + "/fd", error);
    for (; !error && descriptor != std::filesystem::directory_iterator(); descriptor.increment(error)) {
        std::error_code unreadable; // it may have been closed meanwhile
        if (isMasterOfTerminals(std::filesystem::read_symlink(descriptor->path(), unreadable))) {
            return true;
        }
    }
    return false;
}

std::optional<std::string> readEnvironment(int32_t pid) {
    constexpr size_t maxEnvironment = size_t{256} << 10;
    return File::readKernelFile("/proc/" + std::to_string(pid) + "/environ", maxEnvironment);
}

std::optional<int32_t> readUnitProcess(int32_t pid) {
    const auto environment = readEnvironment(pid);
    return environment ? ProcFiles::parseUnitProcess(*environment) : std::nullopt;
}

/// The folder of a control group of an account other than root's notes when it was made as the time of its
/// last access, which nothing changes afterwards; the folders of root's note when they were last looked up.
std::optional<ProcStartTime> readControlGroupStart(const std::string& controlGroup) {
    // Of several hierarchies, the one that `ProcFiles::parseControlGroup` prefers.
    for (const std::string_view hierarchy :
         {"/sys/fs/cgroup/systemd", "/sys/fs/cgroup/unified", "/sys/fs/cgroup"}) {
        struct stat folder{};
        if (::stat((std::string(hierarchy) + controlGroup).c_str(), &folder) == 0) {
            const ProcStartTime made{.sec = folder.st_atim.tv_sec, .usec = folder.st_atim.tv_nsec / 1'000};
            return folder.st_uid != 0 ? std::optional(made) : std::nullopt;
        }
    }
    return std::nullopt;
}

/// A folder by the base directory rules: the variable's, or else this one below home.
std::string baseFolder(const char* variable, std::string_view belowHome) {
    const char* const configured = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (configured != nullptr && configured[0] == '/') {  // a relative one is to be ignored, say the rules
        return std::string(Path::withoutTrailingSlashes(configured));
    }
    const std::string home = homeFolder();
    return home.empty() ? home : home + std::string(belowHome);
}

} // namespace

std::string psPath() {
    return "/bin/ps";
}

std::span<const std::string_view> lsofCandidates() {
    static constexpr std::array<std::string_view, 2> paths{"/usr/sbin/lsof", "/usr/bin/lsof"};
    return paths;
}

std::span<const std::string_view> dockerCandidates() {
    static constexpr std::array<std::string_view, 3> paths{"/usr/local/bin/docker", "/usr/bin/docker",
                                                           "/snap/bin/docker"};
    return paths;
}

std::string settingsFolder() {
    return baseFolder("XDG_CONFIG_HOME", "/.config");
}

std::vector<std::string> mountsThatMayHang() {
    constexpr size_t largestList = size_t{16} << 20;
    const auto list = File::readKernelList("/proc/self/mountinfo", largestList);
    std::vector<std::string> points;
    for (ProcFiles::Mount& mount : ProcFiles::parseMounts(list.value_or(""))) {
        if (ProcFiles::asksOthers(mount.type)) {
            points.push_back(std::move(mount.point));
        }
    }
    return points;
}

std::string dataFolder() {
    return baseFolder("XDG_DATA_HOME", "/.local/share");
}

std::optional<ProcessRecord> processRecord(int32_t pid) {
    const auto stat = readStat(pid);
    if (!stat) {
        return std::nullopt;
    }
    // Only a first thread that ended before the others is a zombie of a process that runs.
    return ProcessRecord{.startTime = timeOf(*stat),
                         .isStopped = stat->state == 'T',
                         .isZombie = (stat->state == 'Z' && stat->threadCount <= 1) || stat->state == 'X',
                         .usedCPU = static_cast<double>(stat->usedTicks) /
                                    static_cast<double>(KernelClock::ticksPerSecond())};
}

std::optional<std::vector<std::string>> arguments(int32_t pid) {
    const auto record = File::readKernelFile(procPath(pid, "cmdline"), maxArguments);
    return record ? std::optional(ProcFiles::parseArguments(*record)) : std::nullopt;
}

std::optional<std::string> executable(int32_t pid) {
    std::array<char, PATH_MAX> path; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by readlink
    const ssize_t length = ::readlink(procPath(pid, "exe").c_str(), path.data(), path.size());
    return length > 0 ? std::optional(std::string(path.data(), static_cast<size_t>(length))) : std::nullopt;
}

std::optional<std::string> environmentValue(int32_t pid, std::string_view name) {
    const auto environment = readEnvironment(pid);
    return environment ? std::optional(std::string(ProcFiles::environmentValue(*environment, name)))
                       : std::nullopt;
}

std::optional<ProcStartTime> startTimeOfNow() {
    return KernelClock::timeOfTicks(KernelClock::ticksSinceBoot());
}

KernelView kernelView() {
    constexpr double microsecondsPerSecond = 1e6;
    const auto own = File::readKernelFile("/proc/self/cgroup", maxRecord);
    return {.correctsParents = true,
            .knowsContainers = true,
            .userID = currentUserID(),
            .ownPID = ::getpid(),
            .ownControlGroup = own ? ProcFiles::parseControlGroup(*own) : std::string(),
            .secondsSinceBoot =
                static_cast<double>(KernelClock::microsecondsSinceBoot()) / microsecondsPerSecond,
            .factsOf = readKernelFacts,
            .holdsTerminal = readHoldsTerminal,
            .unitProcessOf = readUnitProcess,
            .controlGroupStart = readControlGroupStart};
}

} // namespace VintrelCore::Platform
