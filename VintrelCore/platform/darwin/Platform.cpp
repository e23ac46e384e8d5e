#include "VintrelCore/platform/Platform.h"

#include <array>

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
