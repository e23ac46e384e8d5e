#include "VintrelCore/platform/ProcessDescriptors.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/ProcFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace VintrelCore::Platform {

namespace {

constexpr size_t maxStatusBytes = size_t{16} << 10;

/// Leaves some for records, pipes and the log: a batch may be larger than the limit.
bool isAmongTheLastDescriptors(const FileDescriptor& descriptor) {
    constexpr rlim_t reserve = 32;
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
           static_cast<rlim_t>(descriptor.get()) + reserve >= limit.rlim_cur;
}

/// Whether /proc knows the process behind a descriptor by this number, or knows that it has ended. When /proc
/// belongs to another process namespace, the record of that number is another process's.
bool isKnownAs(int32_t pid, const FileDescriptor& process) {
    constexpr int32_t ended = -1;
    const auto info =
        File::readKernelFile("/proc/self/fdinfo/" + std::to_string(process.get()), maxStatusBytes);
    const auto known = info ? ProcFiles::parsePID(*info) : std::nullopt;
    return known == pid || known == ended;
}

/// The same as far as it can be told without a descriptor.
bool isOwnNamespaceInProc() {
    std::array<char, 16> number{};
    const ssize_t length = ::readlink("/proc/self", number.data(), number.size());
    const std::string_view text(number.data(), static_cast<size_t>(std::max<ssize_t>(length, 0)));
    return Text::parseInteger<int32_t>(text) == ::getpid();
}

/// Whether a number is a process's, and not a mere thread's: a signal to that would reach its process.
bool isProcess(int32_t pid) {
    if (::kill(pid, 0) != 0 && errno == ESRCH) {
        return false;
    }
    const auto status = File::readKernelFile("/proc/" + std::to_string(pid) + "/status", maxStatusBytes);
    const auto group = status ? ProcFiles::parseThreadGroup(*status) : std::nullopt;
    return !group || *group == pid;
}

} // namespace

OpenedProcess openProcess(int32_t pid) {
    // By number, as glibc 2.36 declares these calls without C linkage.
    FileDescriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    if (!descriptor && (errno == ESRCH || errno == EINVAL || errno == ENOENT)) {
        return {.isNobody = true};
    }
    if (descriptor && !isAmongTheLastDescriptors(descriptor)) {
        const bool isStranger = !isKnownAs(pid, descriptor);
        return {.descriptor = std::move(descriptor), .isStranger = isStranger};
    }
    return {.isNobody = !isProcess(pid), .isStranger = !isOwnNamespaceInProc()};
}

int signalThrough(const FileDescriptor& process, int signal) {
    return ::syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0) == 0 ? 0 : errno;
}

} // namespace VintrelCore::Platform
