#pragma once

#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/scan/CustomRule.h"
#include "VintrelCore/scan/ScanCore.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Vintrel {

/// The user's settings. Kept in the platform's per-user store under organisation and application "Vintrel";
/// on Linux that is the file Vintrel/Vintrel.conf in the configuration folder.
struct Preferences {
    double elapsedThreshold =
        VintrelCore::ScanCore::defaultElapsedThreshold; ///< seconds until a process is old
    double scanInterval = 120;                          ///< seconds between background scans
    std::vector<std::string> ignoredNames{};            ///< ignore rules as text
    std::vector<std::string> protectedProjects{};       ///< folders kept out of "Clean all"
    std::set<VintrelCore::ProcessKind> disabledKinds{}; ///< kinds that scans leave out
    std::vector<VintrelCore::CustomRule> customRules{};
    bool notificationsEnabled = false; ///< announce new strays

    bool operator==(const Preferences&) const = default;

    struct Loaded;

    /// The names under which the values are stored, in their order here.
    enum class Key {
        elapsedThreshold,
        scanInterval,
        ignoredNames,
        protectedProjects,
        disabledKinds,
        customRules,
        notificationsEnabled,
    };

    /// Reads the store, and never writes to it. What is absent, of the wrong type or out of range has its
    /// default.
    [[nodiscard]] static Loaded load();

    /// Writes these of the values to the store and leaves whatever else is there as it is; every reader sees
    /// them at once. A store that is damaged is kept beside its place as "Vintrel.conf.damaged" before it is
    /// replaced. When false is returned, the store is what it was before.
    [[nodiscard]] bool save(const std::set<Key>& keys) const;

    /// Removes what writers left behind that were killed at work.
    static void removeLeftovers();
};

struct Preferences::Loaded {
    Preferences values{};
    /// Why the stored settings could not be had, in a sentence for people; those values are then defaults.
    /// Who would end processes must not go on: what the user protects is not known. That lasts until
    /// protected projects are stored again (also none of them), or the damaged file that was kept is taken
    /// away.
    std::optional<std::string> problem{};
};

} // namespace Vintrel
