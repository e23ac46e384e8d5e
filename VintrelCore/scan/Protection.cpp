#include "VintrelCore/scan/Protection.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace VintrelCore {

bool Protection::covers(const std::string& entry, std::string_view fullPath) const {
    const auto form = resolved.find(entry);
    return CwdResolver::isProtected(fullPath, {&entry, 1}, home) ||
           (form != resolved.end() && CwdResolver::isProtected(fullPath, {&form->second, 1}, home));
}

bool Protection::covers(const ProcessItem& item, const CwdResolver::CwdMap& cwds) const {
    return std::ranges::any_of(allPIDsOf({&item, 1}), [&](int32_t pid) {
        const auto cwd = cwds.find(pid);
        return cwd != cwds.end() && std::ranges::any_of(entries, [&](const std::string& entry) {
                   return covers(entry, cwd->second.fullPath);
               });
    });
}

Protection::Forms Protection::resolve(std::span<const std::string> entries, const std::string& home) {
    Forms forms;
    for (const std::string& entry : entries) {
        const bool isBelowHome = entry == "~" || entry.starts_with("~/");
        const std::string path = isBelowHome ? home + entry.substr(1) : entry;
        if (!path.starts_with('/')) {
            continue;
        }
        if (std::string form = resolvedFolder(path); form != path) {
            forms.insert_or_assign(entry, std::move(form));
        }
    }
    return forms;
}

bool isFolderUnknown(const ProcessItem& item, const CwdResolver::CwdMap& cwds) {
    return std::ranges::any_of(allPIDsOf({&item, 1}), [&cwds](int32_t pid) { return !cwds.contains(pid); });
}

std::string resolvedFolder(const std::string& path) {
    std::error_code error;
    const auto found = std::filesystem::weakly_canonical(path, error);
    return error ? path : found.string();
}

std::vector<int32_t> allPIDsOf(std::span<const ProcessItem> items) {
    std::vector<int32_t> pids;
    for (const ProcessItem& item : items) {
        pids.push_back(item.pid);
        std::ranges::transform(item.folded, std::back_inserter(pids), &FoldedProcess::pid);
    }
    return pids;
}

} // namespace VintrelCore
