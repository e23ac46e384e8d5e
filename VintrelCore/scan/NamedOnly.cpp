#include "VintrelCore/scan/NamedOnly.h"

#include "VintrelCore/scan/Interpreters.h"
#include "VintrelCore/scan/ToldText.h"
#include "VintrelCore/scan/WhatRuns.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace VintrelCore::NamedOnly {

namespace {

using WhatRuns::Found;

using RecordsByPID = std::unordered_map<int32_t, const SnapshotRecord*>;

RecordsByPID indexed(std::span<const SnapshotRecord> records) {
    RecordsByPID byPID;
    byPID.reserve(records.size());
    for (const SnapshotRecord& record : records) {
        byPID.emplace(record.pid, &record);
    }
    return byPID;
}

/// By the line as ps printed it. A very long one may have been cut, and then it hides what else runs.
Found foundInLine(ProcessKind kind, std::string_view line) {
    constexpr size_t longest = size_t{64} << 10;
    return line.size() <= longest ? WhatRuns::foundInLine(kind, line) : Found::nowhere;
}

bool isInterpreter(int32_t pid, const ProcessLookup& lookup) {
    const auto executable = lookup.executableOf(pid);
    return executable && !Interpreters::interpreterIn(*executable).empty() && lookup.wasInSnapshot(pid);
}

/// For a process whose own words say no more than which interpreter it is: its shell tells what it runs.
Found foundInShell(ProcessKind kind, const SnapshotRecord& record, const ProcessLookup& lookup) {
    const bool isNamedByShell = record.onlyChildOf != 0 && ScanCore::detectKind(record.command) != kind;
    if (!isNamedByShell || !isInterpreter(record.pid, lookup)) {
        return Found::nowhere;
    }
    const auto arguments = lookup.argumentsInSnapshot(record.onlyChildOf);
    const bool isAlone = arguments && ToldText::textOfOneProgram(*arguments);
    return isAlone ? WhatRuns::foundIn(kind, *arguments) : Found::nowhere;
}

Found foundIn(ProcessKind kind, const SnapshotRecord& record, const ProcessLookup& lookup) {
    const auto arguments = lookup.argumentsInSnapshot(record.pid);
    const Found found = arguments ? WhatRuns::foundIn(kind, *arguments) : foundInLine(kind, record.command);
    return found == Found::nowhere ? foundInShell(kind, record, lookup) : found;
}

} // namespace

void raise(std::span<ProcessItem> items, std::span<const SnapshotRecord> records,
           const ProcessLookup& lookup) {
    const auto isEasy = [](const ProcessItem& item) { return item.riskTier == RiskTier::easy; };
    if (std::ranges::none_of(items, isEasy)) {
        return;
    }
    const RecordsByPID byPID = indexed(records);
    for (ProcessItem& item : items) {
        if (!isEasy(item)) {
            continue;
        }
        const auto record = byPID.find(item.shownPID()); // a row may show another process than its runner
        const bool isKnown = record != byPID.end();
        const Found found = isKnown ? foundIn(item.kind, *record->second, lookup) : Found::nowhere;
        item.riskTier = WhatRuns::tierOf(item.riskTier, found);
        if (!isEasy(item)) {
            item.reviewReason = ReviewReason::namedOnly;
        }
    }
}

} // namespace VintrelCore::NamedOnly
