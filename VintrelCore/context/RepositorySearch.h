#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/SlowMounts.h"

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>

namespace VintrelCore {

/// Finds the repositories that contain working directories. On a mount that may not answer, a forked copy of
/// this process searches, one per mount, for at most a second in all; everywhere else this process searches
/// itself.
class RepositorySearch {
public:
    /// Waits for the answers of slow mounts. The directories must be free of symbolic links, as the kernel
    /// reports them.
    RepositorySearch(const CwdResolver::Directories& directories, const SlowMounts& mounts,
                     int interrupt = -1, std::chrono::milliseconds deadline = std::chrono::seconds(1));

    /// The nearest folder upwards that has an entry named ".git".
    [[nodiscard]] std::optional<std::string> rootOf(const std::string& directory) const;

    /// Whether a mount did not answer in time.
    [[nodiscard]] bool metDeadMount() const { return m_metDeadMount; }

private:
    const SlowMounts& m_mounts;
    std::unordered_map<std::string, std::string> m_slow; // those found on slow mounts, by directory
    bool m_metDeadMount = false;
};

} // namespace VintrelCore
