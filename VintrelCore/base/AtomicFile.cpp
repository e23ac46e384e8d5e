#include "VintrelCore/base/AtomicFile.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/base/Path.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace VintrelCore::AtomicFile {

namespace {

// A new file beside the old one is called NAME.xxxxxx.unfinished until it takes the old one's place.
constexpr std::string_view placeholder = "XXXXXX";
constexpr std::string_view ending = ".unfinished";

/// The folder that `path` stands in, as something that can be opened.
std::string folderOf(const std::string& path) {
    const std::string_view folder = Path::parent(path);
    return folder.empty() ? "." : std::string(folder);
}

bool writeAll(const FileDescriptor& file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return true;
}

bool flush(const FileDescriptor& file) {
    while (file && ::fsync(file.get()) != 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return static_cast<bool>(file);
}

} // namespace

std::optional<std::string> target(const std::string& path) {
    constexpr int mostLinks = 40; // as many as the kernel follows
    std::filesystem::path current = path;
    for (int link = 0; link <= mostLinks; ++link) {
        std::error_code error;
        const auto next = std::filesystem::read_symlink(current, error);
        if (error) {
            return current.string(); // no link
        }
        current = current.parent_path() / next; // an absolute one replaces the whole
    }
    return std::nullopt;
}

bool write(const std::string& path, std::string_view bytes) {
    const std::string folder = folderOf(path);
    static_cast<void>(File::makeFolders(folder)); // without it, the next step fails
    std::string name = path + "." + std::string(placeholder) + std::string(ending);
    // The new file is the user's alone, whatever the mask.
    const FileDescriptor file(::mkostemps(name.data(), static_cast<int>(ending.size()), O_CLOEXEC));
    if (!file) {
        return false;
    }
    // On disk before it takes the old one's place: a crash in between must not leave an empty file.
    if (!writeAll(file, bytes) || !flush(file) || ::rename(name.c_str(), path.c_str()) != 0) {
        ::unlink(name.c_str());
        return false;
    }
    flush(FileDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    return true;
}

void removeLeftovers(const std::string& path) {
    const std::string start = std::string(Path::lastComponent(path)) + ".";
    std::error_code error;
    std::filesystem::directory_iterator entry(folderOf(path), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.size() == start.size() + placeholder.size() + ending.size() && name.starts_with(start) &&
            name.ends_with(ending)) {
            ::unlink(entry->path().c_str());
        }
    }
}

} // namespace VintrelCore::AtomicFile
