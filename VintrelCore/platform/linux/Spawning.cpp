#include "VintrelCore/platform/Spawning.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace VintrelCore::Platform {

std::optional<std::array<FileDescriptor, 2>> openPipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    return std::array{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

short inheritNothingElse(posix_spawn_file_actions_t& actions) {
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    return 0;
}

FileDescriptor watchEndOf(int32_t pid) {
    // By number: glibc 2.36 declares pidfd_open without C linkage. The descriptor is close-on-exec by itself.
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

std::span<const std::string_view> forcedToolEnvironment() {
    // Under C.UTF-8 ps and lsof print nothing but valid UTF-8, and numbers with a point.
    static constexpr std::array<std::string_view, 1> entries{"LC_ALL=C.UTF-8"};
    return entries;
}

std::span<const std::string_view> unwantedToolEnvironment() {
    // They change the width, the columns or the dialect of what ps prints.
    static constexpr auto names = std::to_array<std::string_view>(
        {"COLUMNS", "PS_FORMAT", "PS_PERSONALITY", "CMD_ENV", "I_WANT_A_BROKEN_PS", "LIBPROC_HIDE_KERNEL"});
    return names;
}

} // namespace VintrelCore::Platform
