#pragma once

#include <filesystem>
#include <string_view>

namespace VintrelTests {

/// A folder for one test, with links resolved in its path. Removed at the end, unless the test failed: then
/// it stays, and the test says where.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Makes a folder below this one, with its parents.
    std::filesystem::path makeFolder(const std::filesystem::path& relative) const;

    /// Writes a file below this folder, and makes the folders it stands in.
    std::filesystem::path write(const std::filesystem::path& relative, std::string_view bytes) const;

private:
    std::filesystem::path m_path;
};

} // namespace VintrelTests
