#include "VintrelCore/base/File.h"

#include "VintrelCore/base/FileDescriptor.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::File {

namespace {

std::optional<std::string> readAll(const FileDescriptor& file, size_t maxBytes) {
    std::string bytes;
    while (bytes.size() <= maxBytes) {
        constexpr size_t chunk = 4096;
        const size_t had = bytes.size();
        bytes.resize(had + chunk);
        const ssize_t count = ::read(file.get(), bytes.data() + had, chunk);
        bytes.resize(had + static_cast<size_t>(count > 0 ? count : 0));
        if (count == 0) {
            return bytes;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
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
    return readAll(file, maxBytes);
}

std::optional<std::string> readKernelFile(const std::string& path, size_t maxBytes) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file ? readAll(file, maxBytes) : std::nullopt;
}

bool exists(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0;
}

} // namespace VintrelCore::File
