#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <array>

#include <sys/mount.h>
#include <sys/param.h>
#include <sys/proc.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace VintrelCore::Platform {

// The record that the kernel fills in; the size is part of its interface on both architectures.
static_assert(sizeof(kinfo_proc) == 648);

namespace {

std::optional<kinfo_proc> kernelRecord(int32_t pid) {
    std::array<int, 4> name{CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    kinfo_proc record{};
    size_t length = sizeof record;
    if (::sysctl(name.data(), name.size(), &record, &length, nullptr, 0) != 0 || length == 0) {
        return std::nullopt;
    }
    return record;
}

} // namespace

std::string psPath() {
    return "/bin/ps";
}

std::span<const std::string_view> lsofCandidates() {
    static constexpr std::array<std::string_view, 1> paths{"/usr/sbin/lsof"};
    return paths;
}

std::span<const std::string_view> dockerCandidates() {
    static constexpr std::array<std::string_view, 2> paths{"/usr/local/bin/docker",
                                                           "/opt/homebrew/bin/docker"};
    return paths;
}

std::string settingsFolder() {
    return {}; // they are in the system's own store
}

std::vector<std::string> mountsThatMayHang() {
    // The system's own list: `getmntinfo` keeps it in memory of its own, for one thread.
    const int count = ::getfsstat(nullptr, 0, MNT_NOWAIT);
    std::vector<struct statfs> mounts(static_cast<size_t>(std::max(count, 0)));
    const int found =
        ::getfsstat(mounts.data(), static_cast<int>(mounts.size() * sizeof(struct statfs)), MNT_NOWAIT);
    mounts.resize(static_cast<size_t>(std::clamp(found, 0, std::max(count, 0))));
    std::vector<std::string> points;
    for (const struct statfs& mount : mounts) {
        if ((mount.f_flags & MNT_LOCAL) == 0) {
            points.emplace_back(mount.f_mntonname);
        }
    }
    return points;
}

std::string dataFolder() {
    const std::string home = homeFolder();
    return home.empty() ? home : home + "/Library/Application Support";
}

std::optional<ProcessRecord> processRecord(int32_t pid) {
    const auto record = kernelRecord(pid);
    if (!record) {
        return std::nullopt;
    }
    const timeval& start = record->kp_proc.p_un.__p_starttime;
    return ProcessRecord{.startTime = {.sec = start.tv_sec, .usec = start.tv_usec},
                         .isStopped = record->kp_proc.p_stat == SSTOP,
                         .isZombie = record->kp_proc.p_stat == SZOMB};
}

std::optional<std::vector<std::string>> arguments(int32_t /*pid*/) {
    return std::nullopt; // what ps prints has to do
}

std::optional<std::string> executable(int32_t /*pid*/) {
    return std::nullopt;
}

std::optional<std::string> environmentValue(int32_t /*pid*/, std::string_view /*name*/) {
    return std::nullopt;
}

std::optional<ProcStartTime> startTimeOfNow() {
    return std::nullopt; // the kernel notes starts by the clock on the wall
}

KernelView kernelView() {
    return {.correctsParents = false,
            .knowsContainers = false,
            .userID = currentUserID(),
            .ownPID = ::getpid(),
            .ownControlGroup = {},
            .factsOf = [](int32_t) { return std::optional<KernelFacts>(); }};
}

} // namespace VintrelCore::Platform
