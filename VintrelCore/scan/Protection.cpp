#include "VintrelCore/scan/Protection.h"

#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>

namespace VintrelCore {

namespace {

bool lives(int32_t pid, const std::optional<ProcStartTime>& startTime) {
    const auto record = Platform::processRecord(pid);
    return record && !record->isZombie && (!startTime || record->startTime == *startTime);
}

} // namespace

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

ScanCore::PIDSet endedAmong(std::span<const ProcessItem> items, const CwdResolver::CwdMap& cwds) {
    ScanCore::PIDSet ended;
    const auto note = [&](int32_t pid, const std::optional<ProcStartTime>& startTime) {
        if (!cwds.contains(pid) && !lives(pid, startTime)) {
            ended.insert(pid);
        }
    };
    for (const ProcessItem& item : items) {
        note(item.pid, item.startTime);
        for (const FoldedProcess& process : item.folded) {
            note(process.pid, process.startTime);
        }
    }
    return ended;
}

ScanCore::PIDSet ofOtherAccounts(std::span<const ProcessItem> items) {
    ScanCore::PIDSet others;
    const Platform::KernelView kernel = Platform::kernelView();
    if (kernel.userID == 0) { // root can look into every account's processes
        return others;
    }
    for (const int32_t pid : allPIDsOf(items)) {
        const auto facts = kernel.factsOf(pid);
        if (facts && facts->userID != kernel.userID) {
            others.insert(pid);
        }
    }
    return others;
}

bool doesAnyOfOnesOwnLive(std::span<const ProcessItem> items, const ScanCore::PIDSet& ended,
                          const ScanCore::PIDSet& others) {
    return std::ranges::any_of(allPIDsOf(items),
                               [&](int32_t pid) { return !ended.contains(pid) && !others.contains(pid); });
}

bool isFolderUnknown(const ProcessItem& item, const CwdResolver::CwdMap& cwds,
                     const ScanCore::PIDSet& ended) {
    return std::ranges::any_of(allPIDsOf({&item, 1}),
                               [&](int32_t pid) { return !cwds.contains(pid) && !ended.contains(pid); });
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
