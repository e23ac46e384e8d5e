#include "VintrelCore/base/File.h"

#include "VintrelCore/base/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::File {

namespace {

std::optional<std::string> readAll(const FileDescriptor& file, size_t maxBytes, bool isWholeWhenShort) {
    std::string bytes;
    std::array<char, 4'096> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    while (bytes.size() <= maxBytes) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        bytes.append(buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        const bool isShort = count > 0 && static_cast<size_t>(count) < buffer.size();
        if (count == 0 || (isShort && isWholeWhenShort)) {
            return bytes.size() <= maxBytes ? std::optional(std::move(bytes)) : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> read(const std::string& path, size_t maxBytes) {
    // Non-blocking: opening a named pipe would wait for a writer.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return readAll(file, maxBytes, false);
}

std::optional<std::string> readKernelFile(const std::string& path, size_t maxBytes) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    // The kernel fills what it can: less than there was room for is the end. Asking again costs as much as
    // reading.
    return file ? readAll(file, maxBytes, true) : std::nullopt;
}

bool exists(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0;
}

} // namespace VintrelCore::File
