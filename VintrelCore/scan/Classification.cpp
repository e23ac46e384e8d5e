#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/Interpreters.h"
#include "VintrelCore/scan/ItemMaker.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ToldText.h"
#include "VintrelCore/scan/WhatRuns.h"

#include <algorithm>
#include <span>
#include <utility>

namespace VintrelCore::ScanCore {

namespace {

/// Node tools rename themselves: "node (vitest 1)" is classified as "node vitest 1".
std::optional<ProcessKind> detectKindOfTitle(std::string_view command) {
    constexpr std::string_view opening = "node (";
    if (!command.starts_with(opening)) {
        return detectKind(command);
    }
    const std::string_view name = command.substr(opening.size());
    const auto closing = name.find(')');
    if (closing == std::string_view::npos) {
        return detectKind(command);
    }
    std::string plain = "node ";
    plain.append(name.substr(0, closing)).append(name.substr(closing + 1));
    return detectKind(Text::trimmedBlanks(plain));
}

/// A bare node process that a shell started alone is what the shell was told to run.
ProcessKind moreSpecific(ProcessKind kind, const SnapshotRecord& record, const ProcessLookup& lookup) {
    if (kind != ProcessKind::node || record.onlyChildOf == 0) {
        return kind;
    }
    const auto arguments = lookup.argumentsInSnapshot(record.onlyChildOf);
    const auto text = arguments ? ToldText::textOfOneProgram(*arguments) : std::nullopt;
    return text ? detectKind(*text).value_or(kind) : kind;
}

/// A browser that Playwright's server drives may have its profile beside Playwright's browsers.
bool isPlaywrightMCPBrowser(const SnapshotRecord& record, const ProcessLookup& lookup) {
    if (!record.command.contains("/ms-playwright")) {
        return false; // as nearly all
    }
    const auto arguments = lookup.argumentsInSnapshot(record.pid);
    return arguments ? WhatRuns::isPlaywrightMCPBrowser(*arguments)
                     : WhatRuns::isPlaywrightMCPBrowser(record.command);
}

/// A title that names no interpreter, although one runs: "webpack" is classified as "node webpack".
std::optional<ProcessKind> detectKindOfInterpreter(const SnapshotRecord& record,
                                                   const ProcessLookup& lookup) {
    if (!Interpreters::canBeTitle(record.command)) {
        return std::nullopt;
    }
    const auto executable = lookup.executableOf(record.pid);
    const std::string interpreter(executable ? Interpreters::interpreterIn(*executable) : "");
    if (interpreter.empty() || !lookup.wasInSnapshot(record.pid)) {
        return std::nullopt;
    }
    return detectKind(interpreter + " " + record.command);
}

std::optional<ProcessKind> kindOf(const SnapshotRecord& record, const ProcessLookup& lookup) {
    if (isPlaywrightMCPBrowser(record, lookup)) {
        return ProcessKind::chromeHelper;
    }
    auto kind = detectKindOfTitle(record.command);
    if (!kind) {
        kind = detectKindOfInterpreter(record, lookup);
    }
    return kind ? std::optional(moreSpecific(*kind, record, lookup)) : std::nullopt;
}

} // namespace

RiskTier riskTier(ProcessKind kind, bool hasTTY, bool isOrphan, bool isOld) {
    const bool isStray = !hasTTY && isOrphan && isOld;
    switch (riskGroup(kind)) {
    case RiskGroup::alwaysHigh:
        return RiskTier::high;
    case RiskGroup::devServer:
        return isStray ? RiskTier::moderate : RiskTier::high;
    case RiskGroup::testAutomation:
        return isStray ? RiskTier::easy : RiskTier::moderate;
    case RiskGroup::none:
        return RiskTier::moderate; // the user's own rules never make anything sweepable without review
    }
    return RiskTier::high;
}

RiskTier riskTierOfListener(RiskTier tier) {
    return std::max(tier, RiskTier::moderate);
}

std::optional<ProcessItem> makeItem(std::string_view line, const ItemOptions& options) {
    const auto fields = parsePSLine(line);
    if (!fields) {
        return std::nullopt;
    }
    const MemoryProvider asPrinted;
    return ItemMaker({.elapsedThreshold = options.elapsedThreshold,
                      .registeredPIDs = options.registeredPIDs,
                      .customRules = options.customRules,
                      .startTimeProvider = options.startTimeProvider,
                      .memoryProvider = asPrinted})
        .make(*fields);
}

std::optional<ProcessItem> ItemMaker::make(const PSLine& line) const {
    return makeWith(line, [&line] { return detectKind(line.args); });
}

std::optional<ProcessItem> ItemMaker::make(const SnapshotRecord& record, const ProcessLookup& lookup) const {
    return makeWith(record, [&] { return kindOf(record, lookup); });
}

ProcessItem ItemMaker::makeOfKind(const SnapshotRecord& record, ProcessKind kind) const {
    return makeWith(record, [kind] { return std::optional(kind); }).value_or(ProcessItem{});
}

RiskTier ItemMaker::tierOf(const ProcessItem& row) const {
    const bool isOld = row.elapsed >= m_inputs.elapsedThreshold;
    const RiskTier tier = riskTier(row.kind, row.hasTTY(), row.isOrphan(), isOld);
    const auto isRegistered = [this](const FoldedProcess& process) {
        return m_inputs.registeredPIDs.contains(process.pid);
    };
    const bool listens =
        m_inputs.registeredPIDs.contains(row.pid) || std::ranges::any_of(row.folded, isRegistered);
    return listens ? riskTierOfListener(tier) : tier;
}

template <typename Detect>
std::optional<ProcessItem> ItemMaker::makeWith(const SnapshotRecord& record, Detect detect) const {
    const PSLine line{.pid = record.pid,
                      .ppid = record.ppid,
                      .etime = record.elapsed,
                      .tty = record.tty,
                      .pcpu = record.cpuPercent,
                      .rss = record.rss,
                      .args = record.command};
    return makeWith(line, detect);
}

template <typename Detect>
std::optional<ProcessItem> ItemMaker::makeWith(const PSLine& line, Detect detect) const {
    auto customLabel = customLabelOf(line.args);
    const std::optional<ProcessKind> kind = customLabel ? std::optional(ProcessKind::custom) : detect();
    if (!kind) {
        return std::nullopt;
    }

    ProcessItem item{.pid = line.pid,
                     .ppid = line.ppid,
                     .command = std::string(line.args),
                     .elapsed = parseElapsed(line.etime),
                     .tty = std::string(line.tty),
                     .kind = *kind,
                     .cpuPercent = Text::parseDecimal(line.pcpu).value_or(0),
                     .rssKB = memoryOf(line),
                     .startTime = startTimeOf(line.pid),
                     .customLabel = std::move(customLabel)};
    item.riskTier = tierOf(item);
    return item;
}

std::optional<std::string> ItemMaker::customLabelOf(std::string_view command) const {
    const CustomRule* const rule = m_customRules.firstMatch(command);
    return rule != nullptr ? std::optional(rule->label) : std::nullopt;
}

std::optional<ProcStartTime> ItemMaker::startTimeOf(int32_t pid) const {
    return m_inputs.startTimeProvider ? m_inputs.startTimeProvider(pid) : std::nullopt;
}

int64_t ItemMaker::memoryOf(const PSLine& line) const {
    const auto better = m_inputs.memoryProvider ? m_inputs.memoryProvider(line.pid) : std::nullopt;
    return better ? *better : Text::parseInteger<int64_t>(line.rss).value_or(0);
}

} // namespace VintrelCore::ScanCore
