#include "VintrelCore/base/File.h"

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/base/Path.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::File {

namespace {

/// Else, the number of the error.
std::expected<std::string, int> readAll(const FileDescriptor& file, size_t maxBytes, bool isWholeWhenShort) {
    std::string bytes;
    std::array<char, 4'096> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    while (bytes.size() <= maxBytes) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno != EINTR) {
            return std::unexpected(errno);
        }
        bytes.append(buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
        const bool isShort = count > 0 && static_cast<size_t>(count) < buffer.size();
        if ((count == 0 || (isShort && isWholeWhenShort)) && bytes.size() <= maxBytes) {
            return bytes;
        }
    }
    return std::unexpected(EFBIG);
}

} // namespace

std::expected<std::string, int> readOrError(const std::string& path, size_t maxBytes) {
    // Non-blocking: opening a named pipe would wait for a writer.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    if (!file || ::fstat(file.get(), &status) != 0) {
        return std::unexpected(errno);
    }
    return S_ISREG(status.st_mode) ? readAll(file, maxBytes, false) : std::unexpected(EINVAL);
}

std::optional<std::string> read(const std::string& path, size_t maxBytes) {
    auto bytes = readOrError(path, maxBytes);
    return bytes ? std::optional(*std::move(bytes)) : std::nullopt;
}

std::optional<std::string> readKernelFile(const std::string& path, size_t maxBytes) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        return std::nullopt;
    }
    // The kernel fills what it can: less than there was room for is the end. Asking again costs as much as
    // reading.
    auto bytes = readAll(file, maxBytes, true);
    return bytes ? std::optional(*std::move(bytes)) : std::nullopt;
}

std::optional<std::string> readKernelList(const std::string& path, size_t maxBytes) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    auto bytes = file ? readAll(file, maxBytes, false) : std::unexpected(errno);
    return bytes ? std::optional(*std::move(bytes)) : std::nullopt;
}

bool exists(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0;
}

bool isEntry(const std::string& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0;
}

bool makeFolders(const std::string& folder) {
    struct stat status{};
    if (folder.empty() || ::stat(folder.c_str(), &status) == 0) {
        return !folder.empty() && S_ISDIR(status.st_mode);
    }
    constexpr mode_t forTheUserAlone = 0700;
    const std::string parent(Path::parent(folder));
    if (!parent.empty() && !makeFolders(parent)) {
        return false;
    }
    // Somebody else may have made it meanwhile.
    return ::mkdir(folder.c_str(), forTheUserAlone) == 0 ||
           (::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode));
}

} // namespace VintrelCore::File
