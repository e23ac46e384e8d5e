#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/SlowMounts.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// The folders that the user protects. Working directories have their links resolved, so an entry counts in
/// that form, too: more forms can only protect more.
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

    /// With all links followed, those of the home folder, too. Where they lead to a mount that may not
    /// answer, a copy of this process follows them, for a second. Absent when that was not enough, or as in
    /// `resolve`.
    [[nodiscard]] static std::optional<Protection> found(std::vector<std::string> entries,
                                                         const std::string& home, const SlowMounts& mounts,
                                                         int interrupt = -1);

    /// Follows the entries' links on disk, which blocks where a mount does not answer. Absent when one leads
    /// to a place that there is and that cannot be looked at, such as a mount whose server has gone.
    [[nodiscard]] static std::optional<Forms> resolve(std::span<const std::string> entries,
                                                      const std::string& home);
};

/// Those of the rows and of what is folded into them that have no entry among `cwds` because they have ended.
[[nodiscard]] ScanCore::PIDSet endedAmong(std::span<const ProcessItem> items,
                                          const CwdResolver::CwdMap& cwds);

/// Those of the rows and of what is folded into them that belong to another account for certain: their
/// folders cannot be told. None for root, which can look into all.
[[nodiscard]] ScanCore::PIDSet ofOtherAccounts(std::span<const ProcessItem> items,
                                               const Platform::KernelView& kernel);

/// Whether any of the rows, or of what is folded into them, may be this account's own and live: the folders
/// of those can be told. `ended` and `others` as the functions above give them.
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
