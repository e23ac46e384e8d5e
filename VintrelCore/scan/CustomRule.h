#pragma once

#include "VintrelCore/base/UnicodeText.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// A user's rule that names processes which the built-in detection does not know. As text: "substring =
/// label".
struct CustomRule {
    std::string substring; ///< looked for in the command line, case disregarded
    std::string label;     ///< what matching processes are called

    bool operator==(const CustomRule&) const = default;

    /// Absent when nothing stands before the first "=". Without a label the substring is the label.
    [[nodiscard]] static std::optional<CustomRule> parse(std::string_view line);

    [[nodiscard]] static std::string serialize(const CustomRule& rule);

    /// The first rule, in the order given, whose substring the command contains.
    [[nodiscard]] static std::optional<CustomRule> firstMatch(std::string_view command,
                                                              std::span<const CustomRule> rules);
};

/// Custom rules prepared for many commands. Refers to the rules, which must outlive it.
class CustomRuleMatcher {
public:
    explicit CustomRuleMatcher(std::span<const CustomRule> rules);

    /// The first rule that matches; null when none does.
    [[nodiscard]] const CustomRule* firstMatch(std::string_view command) const;

private:
    std::span<const CustomRule> m_rules;
    std::vector<UnicodeText::Needle> m_needles;
};

} // namespace VintrelCore
