#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/scan/ItemMaker.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <utility>

namespace VintrelCore::ScanCore {

namespace {

std::vector<ProcessItem> makeItems(const EnumerateOptions& options) {
    std::vector<SnapshotRecord> own;
    if (!options.psOutput && !options.records) {
        own = snapshotRecords(runPS(), Platform::kernelView());
    }
    const PIDSet registered =
        options.registeredPIDs ? *options.registeredPIDs : PortRegistry::listeningPIDs();
    const ItemMaker maker({.elapsedThreshold = options.elapsedThreshold,
                           .registeredPIDs = registered,
                           .customRules = options.customRules,
                           .startTimeProvider = options.startTimeProvider});
    std::vector<ProcessItem> items;
    const auto add = [&items](std::optional<ProcessItem> item) {
        if (item) {
            items.push_back(*std::move(item));
        }
    };
    if (options.psOutput) {
        std::string_view rest = *options.psOutput;
        while (const auto text = Text::takeLine(rest)) {
            if (const auto line = parsePSLine(*text)) {
                add(maker.make(*line));
            }
        }
        return items;
    }
    for (const SnapshotRecord& record : options.records.value_or(own)) {
        add(maker.make(record));
    }
    return items;
}

} // namespace

std::vector<ProcessItem> enumerate(const EnumerateOptions& options) {
    std::vector<ProcessItem> items = makeItems(options);
    const auto ignored = UnicodeText::needles(options.ignoredNames);
    std::erase_if(items, [&](const ProcessItem& item) {
        const bool isIgnored =
            std::ranges::any_of(ignored, [&item](const auto& needle) { return needle.isIn(item.command); });
        return isIgnored || options.dismissedPIDs.contains(item.pid);
    });
    items = collapseWrappers(items);
    // After collapsing, so that a runner disappears together with what it runs.
    std::erase_if(items, [&](const ProcessItem& item) { return options.disabledKinds.contains(item.kind); });
    return items;
}

void applyRegisteredPorts(std::vector<ProcessItem>& items, const PIDSet& registeredPIDs) {
    for (ProcessItem& item : items) {
        // A merged row has the tier of the child that is folded into it.
        const auto isRegistered = [&](const FoldedProcess& process) {
            return registeredPIDs.contains(process.pid);
        };
        if (registeredPIDs.contains(item.pid) || std::ranges::any_of(item.folded, isRegistered)) {
            item.riskTier = riskTierOfListener(item.riskTier);
        }
    }
}

std::vector<ProcessItem> applyScopedIgnores(const std::vector<ProcessItem>& items,
                                            const CwdResolver::CwdMap& cwds,
                                            std::span<const IgnoreRule> rules) {
    const auto needles = UnicodeText::needles(rules, &IgnoreRule::substring);
    const auto isInScope = [&cwds](const ProcessItem& item, const IgnoreRule& rule) {
        if (!rule.pathPrefix) {
            return true;
        }
        std::string_view folder = *rule.pathPrefix;
        if (folder.ends_with('/')) {
            folder.remove_suffix(1);
        }
        // Unlike a protected folder, "/" is one that every absolute path lies below.
        const auto cwd = cwds.find(item.pid);
        return cwd != cwds.end() && Path::isAtOrBelow(cwd->second.fullPath, folder);
    };
    std::vector<ProcessItem> kept;
    for (const ProcessItem& item : items) {
        bool isIgnored = false;
        for (size_t index = 0; index < rules.size() && !isIgnored; ++index) {
            isIgnored = isInScope(item, rules[index]) && needles[index].isIn(item.command);
        }
        if (!isIgnored) {
            kept.push_back(item);
        }
    }
    return kept;
}

std::optional<std::string> parentCommand(int32_t ppid, std::span<const ProcessItem> items) {
    if (ppid < 2) {
        return std::nullopt;
    }
    const auto parent = std::ranges::find(items, ppid, &ProcessItem::pid);
    return parent != items.end() ? std::optional(parent->displayPath()) : std::nullopt;
}

} // namespace VintrelCore::ScanCore
