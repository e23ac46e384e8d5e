#include "Vintrel/engine/TextLists.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Vintrel::TextLists {

using VintrelCore::CustomRule;
namespace Text = VintrelCore::Text;

std::string text(std::span<const std::string> entries) {
    std::string lines;
    for (size_t index = 0; index < entries.size(); ++index) {
        lines += (index > 0 ? "\n" : "") + entries[index];
    }
    return lines;
}

std::vector<std::string> entries(std::string_view text) {
    std::vector<std::string> entries;
    while (const auto line = Text::takeLine(text)) {
        if (const std::string_view entry = Text::trimmed(*line); !entry.empty()) {
            entries.emplace_back(entry);
        }
    }
    return entries;
}

std::string text(std::span<const CustomRule> rules) {
    std::vector<std::string> lines;
    std::ranges::transform(rules, std::back_inserter(lines), CustomRule::serialize);
    return text(std::span<const std::string>(lines));
}

std::vector<CustomRule> customRules(std::string_view text) {
    std::vector<CustomRule> rules;
    while (const auto line = Text::takeLine(text)) {
        if (auto rule = CustomRule::parse(*line)) {
            rules.push_back(*std::move(rule));
        }
    }
    return rules;
}

} // namespace Vintrel::TextLists
