#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/SlowMounts.h"

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>

namespace VintrelCore {

/// Looks for the repositories around working directories. What is on a mount that may not answer is looked
/// for by a copy of this process, one for each directory's mount, for a second in all; everything else
/// directly.
class RepositorySearch {
public:
    /// Waits for the slow mounts among the directories, which are named without links, as the kernel does it.
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
