#include "VintrelCore/scan/ScanRules.h"

#include <utility>

namespace VintrelCore {

bool ScanRules::goByFolders() const {
    return !protectedProjects.empty() || !SortedIgnores::parse(ignoredNames).scoped.empty();
}

SortedIgnores SortedIgnores::parse(const std::vector<std::string>& lines) {
    SortedIgnores sorted;
    for (const std::string& line : lines) {
        if (auto rule = IgnoreRule::parse(line); rule && rule->pathPrefix) {
            sorted.scoped.push_back(*std::move(rule));
        } else if (rule) {
            sorted.names.push_back(std::move(rule->substring));
        }
    }
    return sorted;
}

} // namespace VintrelCore
