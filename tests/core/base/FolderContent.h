#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace VintrelTests {

/// All bytes of a regular file; absent when there is none.
inline std::optional<std::string> bytesOf(const std::filesystem::path& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return std::nullopt; // and no pipe is waited for
    }
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// What stands in a folder, sorted; nothing when there is no folder.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

/// The permission bits, links not followed; -1 when there is nothing.
inline int modeOf(const std::filesystem::path& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

/// Sets the mask of new files' permissions until the end of the scope.
class ScopedUmask {
public:
    explicit ScopedUmask(mode_t mask) : m_before(::umask(mask)) {}

    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

    ~ScopedUmask() { ::umask(m_before); }

private:
    mode_t m_before;
};

} // namespace VintrelTests
