#pragma once

#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/scan/CustomRule.h"
#include "VintrelCore/scan/IgnoreRule.h"
#include "VintrelCore/scan/ScanCore.h"

#include <set>
#include <string>
#include <vector>

namespace VintrelCore {

/// The user's settings that a scan goes by, as the preferences store them.
struct ScanRules {
    double elapsedThreshold = ScanCore::defaultElapsedThreshold; ///< seconds
    std::vector<std::string> ignoredNames{}; ///< ignore rules as text, with or without a path
    std::vector<std::string> protectedProjects{};
    std::set<ProcessKind> disabledKinds{};
    std::vector<CustomRule> customRules{};

    bool operator==(const ScanRules&) const = default;

    /// Whether it matters to any of them in which folder a process works.
    [[nodiscard]] bool goByFolders() const;
};

/// Ignore rules, by when they are applied.
struct SortedIgnores {
    std::vector<std::string> names{}; ///< substrings of the rules without a path
    std::vector<IgnoreRule> scoped{}; ///< those that need working directories

    /// What is no rule is dropped.
    [[nodiscard]] static SortedIgnores parse(const std::vector<std::string>& lines);
};

} // namespace VintrelCore
