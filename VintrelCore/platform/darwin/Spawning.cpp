#include "VintrelCore/platform/Spawning.h"

#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

namespace VintrelCore::Platform {

std::optional<std::array<FileDescriptor, 2>> openPipe() {
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0) {
        return std::nullopt;
    }
    std::array<FileDescriptor, 2> pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    for (const FileDescriptor& end : pipe) {
        ::fcntl(end.get(), F_SETFD, FD_CLOEXEC); // another thread's child may slip in between: see below
    }
    return pipe;
}

short inheritNothingElse(posix_spawn_file_actions_t& actions) {
    // Closes whatever is not named here, also what had no chance to be marked close-on-exec.
    posix_spawn_file_actions_addinherit_np(&actions, STDIN_FILENO);
    return POSIX_SPAWN_CLOEXEC_DEFAULT;
}

FileDescriptor watchEndOf(int32_t pid) {
    FileDescriptor queue(::kqueue());
    struct kevent change{};
    EV_SET(&change, static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0, nullptr);
    if (!queue || ::kevent(queue.get(), &change, 1, nullptr, 0, nullptr) != 0) {
        return {}; // it has ended already, or the system refuses: the caller looks by itself
    }
    ::fcntl(queue.get(), F_SETFD, FD_CLOEXEC);
    return queue;
}

std::span<const std::string_view> forcedToolEnvironment() {
    static constexpr std::array<std::string_view, 2> entries{"LC_CTYPE=UTF-8", "LC_NUMERIC=C"};
    return entries;
}

std::span<const std::string_view> unwantedToolEnvironment() {
    // LC_ALL would override the two above.
    static constexpr std::array<std::string_view, 3> names{"LC_ALL", "COLUMNS", "PS_FORMAT"};
    return names;
}

} // namespace VintrelCore::Platform
