#include "VintrelCore/scan/IgnoreRule.h"

#include "VintrelCore/base/Text.h"

namespace VintrelCore {

namespace {

constexpr std::string_view separator = " @ ";

}

std::optional<IgnoreRule> IgnoreRule::parse(std::string_view line) {
    const auto position = line.find(separator);
    const std::string_view substring = Text::trimmed(line.substr(0, position));
    if (substring.empty()) {
        return std::nullopt;
    }
    IgnoreRule rule{.substring = std::string(substring)};
    if (position != std::string_view::npos) {
        const std::string_view path = Text::trimmed(line.substr(position + separator.size()));
        if (!path.empty()) {
            rule.pathPrefix = path;
        }
    }
    return rule;
}

std::string IgnoreRule::serialize(const IgnoreRule& rule) {
    return rule.pathPrefix ? rule.substring + std::string(separator) + *rule.pathPrefix : rule.substring;
}

} // namespace VintrelCore
