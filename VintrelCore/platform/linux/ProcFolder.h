#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// /proc, opened once, and the reads below it. Internal to platform/linux/.
///
/// A process's folder is opened before anything in it is read. The descriptor stays bound to that process:
/// after it has ended, reads fail, even if its pid has been reused.
namespace VintrelCore::Platform {

class ProcFolder {
public:
    ProcFolder();

    /// False where there is no /proc.
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(m_folder); }

    /// The numbers of all processes that can be seen, rising.
    [[nodiscard]] std::vector<int32_t> pids() const;

    /// The folder of a process; none when there is no such process.
    [[nodiscard]] FileDescriptor open(int32_t pid) const;

private:
    FileDescriptor m_folder;
};

/// The first bytes of a file that the kernel writes in one piece, as far as they fit into `buffer`: a view
/// into it. Absent when it cannot be read.
[[nodiscard]] std::optional<std::string_view> readBelow(const FileDescriptor& folder, const char* name,
                                                        std::span<char> buffer);

/// What a link leads to, as text; absent when it cannot be read or does not fit into a path.
[[nodiscard]] std::optional<std::string> readLinkBelow(const FileDescriptor& folder, const char* name);

/// The effective user id of a process, by its folder; absent when it has ended.
[[nodiscard]] std::optional<int32_t> ownerOf(const FileDescriptor& process);

/// Calls `action` with the descriptor folder and each descriptor's name and target, in ascending order. Does
/// nothing for a process that may not be inspected.
void forEachDescriptor(
    const FileDescriptor& process,
    const std::function<void(int folder, const char* number, std::string_view target)>& action);

} // namespace VintrelCore::Platform
