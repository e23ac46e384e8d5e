#include "VintrelCore/scan/Protection.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/TimedQuestion.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

namespace VintrelCore {

namespace {

/// The folder that an entry names; "" when it is not a path.
std::string pathOf(const std::string& entry, const std::string& home) {
    const bool isBelowHome = entry == "~" || entry.starts_with("~/");
    const std::string path = isBelowHome ? home + entry.substr(1) : entry;
    return path.starts_with('/') ? path : std::string();
}

bool isReached(const SlowMounts& mounts, const std::vector<std::string>& entries, const std::string& home) {
    return mounts.areReachedFrom(home) || std::ranges::any_of(entries, [&](const std::string& entry) {
               return mounts.areReachedFrom(pathOf(entry, home));
           });
}

std::optional<Protection> followed(std::vector<std::string> entries, const std::string& home) {
    Protection protection{.entries = std::move(entries), .home = resolvedFolder(home)};
    auto forms = Protection::resolve(protection.entries, protection.home);
    if (!forms) {
        return std::nullopt;
    }
    protection.resolved = *std::move(forms);
    return protection;
}

/// The path does not exist, or this account cannot work there.
bool leadsNowhere(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
           error == std::errc::too_many_symbolic_link_levels || error == std::errc::filename_too_long ||
           error == std::errc::permission_denied;
}

/// The home folder, then pairs of entry and resolved form, each terminated by a zero byte, which no path
/// contains. "" when there is no protection.
std::string inWords(const std::optional<Protection>& protection) {
    if (!protection) {
        return {};
    }
    std::string words = protection->home + '\0';
    for (const auto& [entry, form] : protection->resolved) {
        words += entry;
        words += '\0';
        words += form;
        words += '\0';
    }
    return words;
}

bool lives(int32_t pid, const std::optional<ProcStartTime>& startTime) {
    const auto record = Platform::processRecord(pid);
    return record && !record->isZombie && (!startTime || record->startTime == *startTime);
}

} // namespace

std::optional<Protection> Protection::found(std::vector<std::string> entries, const std::string& home,
                                            const SlowMounts& mounts, int interrupt) {
    if (!isReached(mounts, entries, home)) {
        return followed(std::move(entries), home);
    }
    Platform::TimedQuestion question([&] { return inWords(followed(entries, home)); });
    const auto answer = question.wait(interrupt);
    if (!answer || answer->empty()) {
        return std::nullopt;
    }
    const auto words = Text::split(*answer, '\0');
    Protection protection{.entries = std::move(entries), .home = std::string(words.front())};
    for (size_t word = 1; word + 1 < words.size(); word += 2) {
        protection.resolved.emplace(words[word], words[word + 1]);
    }
    return protection;
}

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

std::optional<Protection::Forms> Protection::resolve(std::span<const std::string> entries,
                                                     const std::string& home) {
    Forms forms;
    for (const std::string& entry : entries) {
        const std::string path = pathOf(entry, home);
        if (path.empty()) {
            continue;
        }
        std::error_code error;
        const std::string form = std::filesystem::weakly_canonical(path, error).string();
        if (error && !leadsNowhere(error)) {
            return std::nullopt;
        }
        if (!error && form != path) {
            forms.insert_or_assign(entry, form);
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

ScanCore::PIDSet ofOtherAccounts(std::span<const ProcessItem> items, const Platform::KernelView& kernel) {
    ScanCore::PIDSet others;
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
