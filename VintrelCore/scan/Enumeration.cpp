#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/scan/ItemMaker.h"
#include "VintrelCore/scan/RunnerRows.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <utility>

namespace VintrelCore::ScanCore {

namespace {

std::vector<ProcessItem> itemsOfLines(std::string_view psOutput, const ItemMaker& maker) {
    std::vector<ProcessItem> items;
    while (const auto text = Text::takeLine(psOutput)) {
        const auto line = parsePSLine(*text);
        if (auto item = line ? maker.make(*line) : std::nullopt) {
            items.push_back(*std::move(item));
        }
    }
    return items;
}

} // namespace

std::vector<ProcessItem> enumerate(const EnumerateOptions& options) {
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
    const auto ignored = UnicodeText::needles(options.ignoredNames);
    const auto isDropped = [&](const ProcessItem& item) {
        return options.dismissedPIDs.contains(item.pid) ||
               std::ranges::any_of(ignored,
                                   [&item](const auto& needle) { return needle.isIn(item.command); });
    };
    std::vector<ProcessItem> items;
    if (options.psOutput) {
        items = itemsOfLines(*options.psOutput, maker);
        std::erase_if(items, isDropped);
        items = collapseWrappers(items);
    } else {
        items = RunnerRows(maker, isDropped).of(options.records.value_or(own));
    }
    // After merging, so that a runner disappears together with what it runs.
    std::erase_if(items, [&](const ProcessItem& item) { return options.disabledKinds.contains(item.kind); });
    return items;
}

void applyRegisteredPorts(std::vector<ProcessItem>& items, const PIDSet& registeredPIDs) {
    for (ProcessItem& item : items) {
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
