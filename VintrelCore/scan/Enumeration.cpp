#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ItemMaker.h"
#include "VintrelCore/scan/NamedOnly.h"
#include "VintrelCore/scan/Protection.h"
#include "VintrelCore/scan/RecordPipeline.h"
#include "VintrelCore/scan/RunnerRows.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <utility>

namespace VintrelCore::ScanCore {

namespace {

/// Makes rows of lines or of records, and leaves out what is not to be listed.
class Pipeline {
public:
    explicit Pipeline(const EnumerateOptions& options)
        : m_options(options),
          m_ignored(UnicodeText::needles(options.ignoredNames)),
          m_registered(options.registeredPIDs ? *options.registeredPIDs : PortRegistry::listeningPIDs()),
          m_maker({.elapsedThreshold = options.elapsedThreshold,
                   .registeredPIDs = m_registered,
                   .customRules = options.customRules,
                   .startTimeProvider = options.startTimeProvider,
                   .memoryProvider = options.memoryProvider}) {}

    [[nodiscard]] std::vector<ProcessItem> itemsOf(std::string_view psOutput) const {
        std::vector<ProcessItem> items;
        while (const auto text = Text::takeLine(psOutput)) {
            const auto line = parsePSLine(*text);
            auto item = line ? m_maker.make(*line) : std::nullopt;
            if (item && !isDropped(*item)) {
                items.push_back(*std::move(item));
            }
        }
        return withoutDisabledKinds(collapseWrappers(items));
    }

    [[nodiscard]] std::vector<ProcessItem> itemsOf(std::span<const SnapshotRecord> records,
                                                   const ProcessLookup& lookup) const {
        const RunnerRows::Predicate drops = [this](const ProcessItem& item) { return isDropped(item); };
        return withoutDisabledKinds(RunnerRows(m_maker, lookup, drops).of(records));
    }

private:
    [[nodiscard]] bool isDropped(const ProcessItem& item) const {
        return m_options.dismissedPIDs.contains(item.pid) ||
               std::ranges::any_of(m_ignored,
                                   [&item](const auto& needle) { return needle.isIn(item.command); });
    }

    /// After merging, so that a runner disappears together with what it runs.
    [[nodiscard]] std::vector<ProcessItem> withoutDisabledKinds(std::vector<ProcessItem> items) const {
        std::erase_if(
            items, [this](const ProcessItem& item) { return m_options.disabledKinds.contains(item.kind); });
        return items;
    }

    const EnumerateOptions& m_options;
    std::vector<UnicodeText::Needle> m_ignored;
    PIDSet m_registered;
    ItemMaker m_maker;
};

/// Whether any process of the row works there.
bool isInScope(const ProcessItem& item, const IgnoreRule& rule, const CwdResolver::CwdMap& cwds) {
    if (!rule.pathPrefix) {
        return true;
    }
    std::string_view folder = *rule.pathPrefix;
    if (folder.ends_with('/')) {
        folder.remove_suffix(1);
    }
    // Unlike a protected folder, "/" is one that every absolute path lies below.
    return std::ranges::any_of(allPIDsOf({&item, 1}), [&](int32_t pid) {
        const auto cwd = cwds.find(pid);
        return cwd != cwds.end() && Path::isAtOrBelow(cwd->second.fullPath, folder);
    });
}

/// Whether the words are in what the row shows, or in the command of any process of it.
bool isNamedIn(const ProcessItem& item, const UnicodeText::Needle& needle) {
    return needle.isIn(item.command) || needle.isIn(item.runnerCommand) ||
           std::ranges::any_of(item.folded,
                               [&needle](const auto& process) { return needle.isIn(process.command); });
}

} // namespace

std::vector<ProcessItem> enumerate(const EnumerateOptions& options) {
    if (options.psOutput) {
        return Pipeline(options).itemsOf(*options.psOutput);
    }
    if (options.records) {
        return candidatesIn(*options.records, options, {});
    }
    const auto began = Platform::startTimeOfNow();
    const auto records = snapshotRecords(runPS(), Platform::kernelView());
    return candidatesIn(records, options, ProcessLookup::since(began));
}

std::vector<ProcessItem> candidatesIn(std::span<const SnapshotRecord> records,
                                      const EnumerateOptions& options, const ProcessLookup& lookup) {
    auto items = Pipeline(options).itemsOf(records, lookup);
    NamedOnly::raise(items, records, lookup);
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
    std::vector<ProcessItem> kept;
    for (const ProcessItem& item : items) {
        bool isIgnored = false;
        for (size_t index = 0; index < rules.size() && !isIgnored; ++index) {
            isIgnored = isInScope(item, rules[index], cwds) && isNamedIn(item, needles[index]);
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
