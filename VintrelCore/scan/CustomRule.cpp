#include "VintrelCore/scan/CustomRule.h"

#include "VintrelCore/base/Text.h"

namespace VintrelCore {

std::optional<CustomRule> CustomRule::parse(std::string_view line) {
    const auto separator = line.find('=');
    const std::string_view substring = Text::trimmed(line.substr(0, separator));
    if (substring.empty()) {
        return std::nullopt;
    }
    const std::string_view label =
        separator == std::string_view::npos ? std::string_view() : Text::trimmed(line.substr(separator + 1));
    return CustomRule{.substring = std::string(substring),
                      .label = std::string(label.empty() ? substring : label)};
}

std::string CustomRule::serialize(const CustomRule& rule) {
    return rule.substring + " = " + rule.label;
}

std::optional<CustomRule> CustomRule::firstMatch(std::string_view command,
                                                 std::span<const CustomRule> rules) {
    const CustomRule* const rule = CustomRuleMatcher(rules).firstMatch(command);
    return rule != nullptr ? std::optional(*rule) : std::nullopt;
}

CustomRuleMatcher::CustomRuleMatcher(std::span<const CustomRule> rules)
    : m_rules(rules), m_needles(UnicodeText::needles(rules, &CustomRule::substring)) {}

const CustomRule* CustomRuleMatcher::firstMatch(std::string_view command) const {
    for (size_t index = 0; index < m_rules.size(); ++index) {
        if (m_needles[index].isIn(command)) {
            return &m_rules[index];
        }
    }
    return nullptr;
}

} // namespace VintrelCore
