#include "VintrelCore/scan/IgnoreRule.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ScanCore.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

void checkMatching(const IgnoreRule& rule) {
    const std::vector<ProcessItem> items{{.pid = 7, .command = rule.substring}};
    const std::vector<IgnoreRule> rules{rule};
    const auto kept = ScanCore::applyScopedIgnores(items, {}, rules);
    require(kept.empty() != rule.pathPrefix.has_value(), "a path asks for a known working directory");
    if (rule.pathPrefix) {
        const CwdResolver::CwdMap cwds{{7, {.label = "x", .fullPath = *rule.pathPrefix + "/below"}}};
        require(ScanCore::applyScopedIgnores(items, cwds, rules).empty(),
                "a folder below is in the rule's scope");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto rule = IgnoreRule::parse(Fuzzing::textOf(data, size));
    if (!rule) {
        return 0;
    }
    require(!rule->substring.empty() && Text::trimmed(rule->substring) == rule->substring,
            "a trimmed substring");
    if (rule->pathPrefix) {
        require(!rule->pathPrefix->empty() && Text::trimmed(*rule->pathPrefix) == *rule->pathPrefix,
                "a trimmed path");
    }
    // "x @" and a path: there the first separator of the text form stands one character earlier.
    if (!rule->pathPrefix || !rule->substring.ends_with(" @")) {
        require(IgnoreRule::parse(IgnoreRule::serialize(*rule)) == rule, "the text form gives the same rule");
    }
    checkMatching(*rule);
    return 0;
}
