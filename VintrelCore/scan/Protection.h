#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ScanCore.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// The folders that the user protects. lsof names directories with links resolved, so an entry counts in that
/// form, too: more forms can only protect more.
struct Protection {
    using Forms = std::unordered_map<std::string, std::string>;

    std::vector<std::string> entries{}; ///< as the user wrote them
    std::string home{};                 ///< the folder that "~" stands for, as `resolvedFolder` gives it
    Forms resolved{};                   ///< entries that lead elsewhere, by what was written

    bool operator==(const Protection&) const = default;

    /// Whether a working directory lies in what this one entry protects.
    [[nodiscard]] bool covers(const std::string& entry, std::string_view fullPath) const;

    /// Whether the row, or anything folded into it, works in a protected folder. Who is in none that is known
    /// is not protected.
    [[nodiscard]] bool covers(const ProcessItem& item, const CwdResolver::CwdMap& cwds) const;

    /// Follows the entries' links on disk, which blocks where a mount does not answer.
    [[nodiscard]] static Forms resolve(std::span<const std::string> entries, const std::string& home);
};

/// Those of the rows and of what is folded into them that have no entry among `cwds` because they have ended.
[[nodiscard]] ScanCore::PIDSet endedAmong(std::span<const ProcessItem> items,
                                          const CwdResolver::CwdMap& cwds);

/// Those of the rows and of what is folded into them that belong to another account for certain: lsof
/// cannot tell their folders. None for root, which can look into all.
[[nodiscard]] ScanCore::PIDSet ofOtherAccounts(std::span<const ProcessItem> items);

/// Whether any of the rows, or of what is folded into them, may be this account's own and live: lsof can tell
/// the folders of those. `ended` and `others` as the functions above give them.
[[nodiscard]] bool doesAnyOfOnesOwnLive(std::span<const ProcessItem> items, const ScanCore::PIDSet& ended,
                                        const ScanCore::PIDSet& others);

/// Whether the folder of the row, or of anything folded into it, is unknown, as that of a program with file
/// capabilities is to its own user. Whether it is protected cannot be told then. What has ended works
/// nowhere.
[[nodiscard]] bool isFolderUnknown(const ProcessItem& item, const CwdResolver::CwdMap& cwds,
                                   const ScanCore::PIDSet& ended);

/// The path with links resolved; what does not exist (any more) stays as it stands.
[[nodiscard]] std::string resolvedFolder(const std::string& path);

/// The pids of rows and of what is folded into them, rows in order.
[[nodiscard]] std::vector<int32_t> allPIDsOf(std::span<const ProcessItem> items);

} // namespace VintrelCore
