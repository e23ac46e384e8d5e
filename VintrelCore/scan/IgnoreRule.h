#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace VintrelCore {

/// A user's rule for processes not to be shown. As text: the substring alone, or "substring @ path".
struct IgnoreRule {
    std::string substring; ///< looked for in the command line, case disregarded
    std::optional<std::string>
        pathPrefix{}; ///< limits the rule to working directories at or below this folder

    bool operator==(const IgnoreRule&) const = default;

    /// Absent when the substring is empty. A path that is empty after trimming counts as none.
    [[nodiscard]] static std::optional<IgnoreRule> parse(std::string_view line);

    [[nodiscard]] static std::string serialize(const IgnoreRule& rule);
};

} // namespace VintrelCore
