#include "VintrelCore/base/FileLock.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Path.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace VintrelCore {

namespace {

/// When somebody took the lock last: they leave the time on the file.
std::filesystem::file_time_type takenAt(const std::string& path) {
    std::error_code error; // the earliest time then
    return std::filesystem::last_write_time(path, error);
}

} // namespace

std::optional<FileLock> FileLock::take(const std::string& path, std::chrono::milliseconds patience) {
    constexpr int interval = 5; // milliseconds; waiting without end would need a thread to be cut short
    constexpr mode_t forTheUserAlone = 0600;
    File::makeFolders(std::string(Path::parent(path)));
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, forTheUserAlone));
    if (!file) {
        return std::nullopt;
    }
    auto since = takenAt(path);
    auto end = std::chrono::steady_clock::now() + patience;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        const bool isTaken = errno == EWOULDBLOCK || errno == EINTR;
        if (const auto now = takenAt(path); now != since) {
            since = now; // somebody else's turn: who asks now and then may miss many of them
            end = std::chrono::steady_clock::now() + patience;
        }
        if (!isTaken || std::chrono::steady_clock::now() >= end) {
            return std::nullopt;
        }
        ::poll(nullptr, 0, interval);
    }
    ::futimens(file.get(), nullptr);
    return FileLock(std::move(file));
}

} // namespace VintrelCore
