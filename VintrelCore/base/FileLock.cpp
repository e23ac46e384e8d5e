#include "VintrelCore/base/FileLock.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Path.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>

namespace VintrelCore {

std::optional<FileLock> FileLock::take(const std::string& path, std::chrono::milliseconds patience) {
    constexpr int interval = 5; // milliseconds; waiting without end would need a thread to be cut short
    constexpr mode_t forTheUserAlone = 0600;
    File::makeFolders(std::string(Path::parent(path)));
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, forTheUserAlone));
    if (!file) {
        return std::nullopt;
    }
    const auto end = std::chrono::steady_clock::now() + patience;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        const bool isTaken = errno == EWOULDBLOCK || errno == EINTR;
        if (!isTaken || std::chrono::steady_clock::now() >= end) {
            return std::nullopt;
        }
        ::poll(nullptr, 0, interval);
    }
    return FileLock(std::move(file));
}

} // namespace VintrelCore
