#include "VintrelCore/scan/CustomRule.h"

#include "VintrelCore/base/Text.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <vector>

using namespace VintrelCore;
using Fuzzing::require;

/// Input: a rule on each line.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<CustomRule> rules;
    for (const std::string_view line : Text::split(Fuzzing::textOf(data, size), '\n')) {
        if (const auto rule = CustomRule::parse(line)) {
            require(!rule->substring.empty() && !rule->label.empty(), "neither part is empty");
            require(!rule->substring.contains('='), "the first sign of equality separates");
            require(Text::trimmed(rule->substring) == rule->substring, "a trimmed substring");
            require(Text::trimmed(rule->label) == rule->label, "a trimmed label");
            require(CustomRule::parse(CustomRule::serialize(*rule)) == rule,
                    "the text form gives the same rule");
            rules.push_back(*rule);
        }
    }
    for (const CustomRule& rule : rules) {
        const auto match = CustomRule::firstMatch(rule.substring, rules);
        require(match.has_value(), "a rule matches its own substring");
        require(CustomRule::firstMatch(rule.substring, std::vector{*match}) == match,
                "and so does the one found");
    }
    require(!CustomRule::firstMatch("", rules), "nothing matches an empty command");
    return 0;
}
