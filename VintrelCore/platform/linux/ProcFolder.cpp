#include "VintrelCore/platform/linux/ProcFolder.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::Platform {

namespace {

constexpr int openFolder = O_DIRECTORY | O_CLOEXEC;

struct CloseListing {
    void operator()(DIR* listing) const { ::closedir(listing); }
};

/// Calls `action` with the folder and the name of each entry.
void forEachEntry(FileDescriptor folder, const std::function<void(int folder, const char* name)>& action) {
    const std::unique_ptr<DIR, CloseListing> listing(::fdopendir(folder.get()));
    if (!listing) {
        return;
    }
    const int number = folder.release();
    while (const dirent* const entry =
               ::readdir(listing.get())) { // NOLINT(concurrency-mt-unsafe): its own listing
        if (entry->d_name[0] != '.') {
            action(number, entry->d_name);
        }
    }
}

std::optional<std::string> readLink(int folder, const char* name) {
    std::array<char, PATH_MAX> target; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by readlinkat
    const ssize_t length = ::readlinkat(folder, name, target.data(), target.size());
    const bool isWhole = length > 0 && static_cast<size_t>(length) < target.size();
    return isWhole ? std::optional(std::string(target.data(), static_cast<size_t>(length))) : std::nullopt;
}

} // namespace

ProcFolder::ProcFolder() : m_folder(::open("/proc", O_RDONLY | openFolder)) {}

std::vector<int32_t> ProcFolder::pids() const {
    std::vector<int32_t> pids;
    forEachEntry(FileDescriptor(::openat(m_folder.get(), ".", O_RDONLY | openFolder)),
                 [&pids](int, const char* name) {
                     if (const auto pid = Text::parseInteger<int32_t>(name)) {
                         pids.push_back(*pid);
                     }
                 });
    std::ranges::sort(pids);
    return pids;
}

FileDescriptor ProcFolder::open(int32_t pid) const {
    std::array<char, 16> name{};
    std::to_chars(name.data(), name.data() + name.size() - 1, pid);
    return FileDescriptor(::openat(m_folder.get(), name.data(), O_PATH | openFolder));
}

std::optional<std::string_view> readBelow(const FileDescriptor& folder, const char* name,
                                          std::span<char> buffer) {
    const FileDescriptor file(::openat(folder.get(), name, O_RDONLY | O_CLOEXEC));
    if (!file) {
        return std::nullopt;
    }
    ssize_t count = -1;
    do {
        count = ::read(file.get(), buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count >= 0 ? std::optional(std::string_view(buffer.data(), static_cast<size_t>(count)))
                      : std::nullopt;
}

std::optional<std::string> readLinkBelow(const FileDescriptor& folder, const char* name) {
    return readLink(folder.get(), name);
}

std::optional<int32_t> ownerOf(const FileDescriptor& process) {
    struct stat status{};
    return ::fstat(process.get(), &status) == 0 ? std::optional(static_cast<int32_t>(status.st_uid))
                                                : std::nullopt;
}

void forEachDescriptor(
    const FileDescriptor& process,
    const std::function<void(int folder, const char* number, std::string_view target)>& action) {
    FileDescriptor descriptors(::openat(process.get(), "fd", O_RDONLY | openFolder));
    forEachEntry(std::move(descriptors), [&action](int folder, const char* number) {
        if (const auto target = readLink(folder, number)) { // it may have been closed meanwhile
            action(folder, number, *target);
        }
    });
}

} // namespace VintrelCore::Platform
