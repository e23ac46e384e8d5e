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

    /// Resolves all symbolic links, including those in `home`. When they lead to a mount that may not answer,
    /// a forked copy of this process resolves them, for at most a second. Absent on timeout, or when
    /// `resolve` fails.
    [[nodiscard]] static std::optional<Protection> found(std::vector<std::string> entries,
                                                         const std::string& home, const SlowMounts& mounts,
                                                         int interrupt = -1);

    /// Resolves the entries' symbolic links on disk. Blocks where a mount does not answer. Absent when an
    /// existing target cannot be accessed, such as a mount whose server is gone.
    [[nodiscard]] static std::optional<Forms> resolve(std::span<const std::string> entries,
                                                      const std::string& home);
};

/// Those of the rows and of what is folded into them that have no entry among `cwds` because they have ended.
[[nodiscard]] ScanCore::PIDSet endedAmong(std::span<const ProcessItem> items,
                                          const CwdResolver::CwdMap& cwds);

/// The processes among the rows, folded ones included, that certainly belong to another account: their
/// folders cannot be read. Empty for root, which can read all of them.
[[nodiscard]] ScanCore::PIDSet ofOtherAccounts(std::span<const ProcessItem> items,
                                               const Platform::KernelView& kernel);

/// Whether any process among the rows, folded ones included, is alive and may belong to this account, so that
/// its folder should be readable. `ended` and `others` are the results of the functions above.
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
