#include "VintrelCore/base/Saturating.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>

namespace VintrelCore::ScanCore {

namespace {

bool isWrapper(std::string_view command) {
    const std::string c = Text::asciiLowered(command);
    const auto names = [&c](std::string_view runner) {
        const std::string name(runner);
        return c.starts_with(name + " ") || c == name || c.contains("/" + name + " ") ||
               c.ends_with("/" + name);
    };
    return names("npm") || names("npx") || c.contains("npm-cli.js") || c.contains("npx-cli.js");
}

ProcessItem merged(const ProcessItem& wrapper, const ProcessItem& child) {
    ProcessItem item = wrapper; // a kill targets the runner
    item.runnerCommand = wrapper.ownCommand();
    item.command = child.command;
    item.kind = child.kind;
    item.riskTier = child.riskTier;
    item.customLabel.reset();
    item.cpuPercent += child.cpuPercent;
    item.rssKB = Saturating::sum(wrapper.rssKB, child.rssKB);
    item.folded.push_back({.pid = child.pid,
                           .startTime = child.startTime,
                           .as = FoldedAs::shown,
                           .command = child.ownCommand()});
    item.folded.insert(item.folded.end(), child.folded.begin(), child.folded.end());
    return item;
}

} // namespace

std::vector<ProcessItem> collapseWrappers(const std::vector<ProcessItem>& items) {
    std::unordered_map<int32_t, std::vector<size_t>> children;
    for (size_t index = 0; index < items.size(); ++index) {
        children[items[index].ppid].push_back(index);
    }
    PIDSet consumed;
    std::unordered_map<size_t, size_t> mergedWith; // wrapper, child
    for (size_t index = 0; index < items.size(); ++index) {
        const ProcessItem& wrapper = items[index];
        const auto found = children.find(wrapper.pid);
        if (found == children.end() || consumed.contains(wrapper.pid) || !isWrapper(wrapper.command)) {
            continue;
        }
        const auto isFree = [&](size_t child) {
            return child != index && !consumed.contains(items[child].pid);
        };
        const auto child = std::ranges::find_if(found->second, isFree);
        if (std::ranges::count_if(found->second, isFree) == 1) {
            consumed.insert({wrapper.pid, items[*child].pid});
            mergedWith.emplace(index, *child);
        }
    }
    std::vector<ProcessItem> collapsed;
    for (size_t index = 0; index < items.size(); ++index) {
        if (const auto pair = mergedWith.find(index); pair != mergedWith.end()) {
            collapsed.push_back(merged(items[index], items[pair->second]));
        } else if (!consumed.contains(items[index].pid)) {
            collapsed.push_back(items[index]);
        }
    }
    return collapsed;
}

} // namespace VintrelCore::ScanCore
