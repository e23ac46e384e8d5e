#include "VintrelCore/scan/RunnerRows.h"

#include "VintrelCore/base/Saturating.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ToldText.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace VintrelCore::ScanCore {

std::vector<ProcessItem> RunnerRows::of(std::span<const SnapshotRecord> records) {
    std::unordered_set<int32_t> onlyChildren;
    for (const SnapshotRecord& record : records) {
        onlyChildren.insert(record.onlyChildren.begin(), record.onlyChildren.end());
        ++m_childCount[record.ppid];
        if (ProcessItem::isTTYAttached(record.tty)) {
            m_parentsOfTerminals.insert(record.ppid);
        }
    }
    for (const SnapshotRecord& record : records) {
        if (onlyChildren.contains(record.pid)) {
            m_records.emplace(record.pid, &record);
        }
        add(record);
    }
    mergeFromTheBottom();
    std::vector<ProcessItem> items;
    for (Row& row : m_rows) {
        if (row.isCandidate && !row.isTaken) {
            rate(row);
            items.push_back(std::move(row.item));
        }
    }
    return items;
}

void RunnerRows::rate(Row& row) const {
    row.item.riskTier = m_maker.tierOf(row.item);
    if (row.item.riskTier == RiskTier::easy) {
        row.item.reviewReason = row.reason ? row.reason : reasonToKeep(row.item);
        row.item.riskTier = row.item.reviewReason ? RiskTier::moderate : RiskTier::easy;
    }
}

/// Parents are corrected for orphans alone, and what a runner started is none: only here a host of a terminal
/// is noticed.
std::optional<ReviewReason> RunnerRows::reasonToKeep(const ProcessItem& item) const {
    if (item.folded.empty()) {
        return std::nullopt;
    }
    const auto hosts = [this](int32_t pid) {
        return m_parentsOfTerminals.contains(pid) || m_lookup.holdsTerminal(pid);
    };
    const auto goesOn = [this](const FoldedProcess& process) {
        const bool isShell = ToldText::isToldText(process.command);
        const auto arguments = isShell ? m_lookup.argumentsInSnapshot(process.pid) : std::nullopt;
        return isShell && !(arguments && ToldText::isToldOneThing(*arguments));
    };
    if (hosts(item.pid) || std::ranges::any_of(item.folded, hosts, &FoldedProcess::pid)) {
        return ReviewReason::hostsTerminal;
    }
    if (std::ranges::any_of(item.folded, goesOn)) {
        return ReviewReason::scriptMayDoMore;
    }
    return runsBeforeAnother(item) ? std::optional(ReviewReason::anotherMayFollow) : std::nullopt;
}

/// "npm run deploy" runs the script "predeploy" first, and "npm publish" others.
bool RunnerRows::runsBeforeAnother(const ProcessItem& item) const {
    std::vector<std::string_view> commands{item.ownCommand()};
    std::ranges::transform(item.folded, std::back_inserter(commands), &FoldedProcess::command);
    if (std::ranges::none_of(commands, RunnerShells::isPackageRunner)) {
        return false;
    }
    const auto script = m_lookup.runnersScriptOf(item.shownPID());
    if (!script) {
        return true; // it cannot be known
    }
    const auto isTold = [&script](std::string_view command) {
        const auto words = CommandWords::wordsOf(command);
        const bool isShort = *script == "test" && std::ranges::find(words, "t") != words.end();
        return isShort || std::ranges::find(words, *script) != words.end();
    };
    return !script->empty() && *script != "npx" && std::ranges::none_of(commands, isTold);
}

void RunnerRows::add(const SnapshotRecord& record) {
    auto item = m_maker.make(record, m_lookup);
    const bool isCandidate = item.has_value();
    if (isCandidate) {
        m_candidates.insert(record.pid);
    } else if (record.isRunner) {
        item = m_maker.makeOfKind(record, ProcessKind::npm); // until it is known what it runs
    }
    if (!item || m_isDropped(*item)) {
        return;
    }
    Row row{.item = *std::move(item),
            .record = &record,
            .isRunner = record.pid != 1 && (record.isRunner || RunnerShells::isPackageRunner(record.command)),
            .isCandidate = isCandidate,
            .reason = reasonOf(record)};
    takeShells(row, record.shellsAbove, FoldedAs::starter);
    takeShells(row, record.foldedShells, FoldedAs::part);
    m_rowOf.emplace(record.pid, m_rows.size());
    if (record.ppid > 1) { // else it is nobody's child
        m_children[record.ppid].push_back(m_rows.size());
    }
    m_rows.push_back(std::move(row));
}

std::optional<ReviewReason> RunnerRows::reasonOf(const SnapshotRecord& record) {
    if (record.startedSeveral) {
        return ReviewReason::startedOthers;
    }
    return record.mayRunMore ? std::optional(ReviewReason::scriptMayDoMore) : std::nullopt;
}

/// One reason is enough: the first stays.
void RunnerRows::note(Row& row, std::optional<ReviewReason> reason) {
    row.reason = row.reason ? row.reason : reason;
}

void RunnerRows::takeShells(Row& row, std::span<const FoldedShell> shells, FoldedAs as) {
    for (const FoldedShell& shell : shells) {
        if (m_isDropped({.pid = shell.pid, .command = shell.command})) {
            note(row, ReviewReason::partIsIgnored);
            continue;
        }
        row.item.folded.push_back({.pid = shell.pid,
                                   .startTime = m_maker.startTimeOf(shell.pid),
                                   .as = as,
                                   .command = shell.command});
        if (auto label = m_maker.customLabelOf(shell.command); label && !row.item.customLabel) {
            row.item.kind = ProcessKind::custom;
            row.item.customLabel = std::move(label);
            row.isCandidate = true;
        }
    }
}

RunnerRows::Row* RunnerRows::rowOf(int32_t pid) {
    const auto row = m_rowOf.find(pid);
    return row != m_rowOf.end() ? &m_rows[row->second] : nullptr;
}

/// Each runner comes after those among its children, as a queue: a snapshot is not taken in one instant, so
/// that parents may form a ring, and such runners never come.
void RunnerRows::mergeFromTheBottom() {
    std::unordered_map<int32_t, int> awaited; // how many runners a runner has to wait for
    for (const Row& row : m_rows) {
        awaited[row.item.ppid] += row.isRunner ? 1 : 0;
    }
    std::vector<Row*> ready;
    for (Row& row : m_rows) {
        if (row.isRunner && awaited[row.item.pid] == 0) {
            ready.push_back(&row);
        }
    }
    while (!ready.empty()) {
        Row& runner = *ready.back();
        ready.pop_back();
        merge(runner);
        Row* const parent = rowOf(runner.item.ppid);
        if (--awaited[runner.item.ppid] == 0 && parent != nullptr && parent->isRunner) {
            ready.push_back(parent);
        }
    }
}

void RunnerRows::merge(Row& runner) {
    size_t taken = takeOnlyChildren(runner);
    if (Row* const child = onlyCandidateBelow(runner)) {
        take(runner.item, child->item, FoldedAs::shown);
        takeKind(runner.item, child->item);
        note(runner, child->reason);
        runner.isCandidate = true;
        child->isTaken = true;
        ++taken;
    }
    const auto children = m_childCount.find(runner.item.pid);
    if (children != m_childCount.end() && children->second > taken) {
        note(runner, ReviewReason::startedOthers);
    }
}

size_t RunnerRows::takeOnlyChildren(Row& runner) {
    size_t taken = 0;
    for (const int32_t pid : runner.record->onlyChildren) {
        Row* const row = rowOf(pid);
        const auto record = m_records.find(pid);
        const bool isCandidate = m_candidates.contains(pid) || (row != nullptr && row->isCandidate);
        if (isCandidate || record == m_records.end() || row == &runner) {
            continue;
        }
        if (row != nullptr) {
            take(runner.item, row->item, FoldedAs::part); // a runner of which nothing is known
            note(runner, row->reason);
            row->isTaken = true;
            ++taken;
            continue;
        }
        const ProcessItem item = m_maker.makeOfKind(*record->second, ProcessKind::npm);
        if (!m_isDropped(item)) {
            take(runner.item, item, FoldedAs::part);
            note(runner, ReviewReason::runsUnknownProgram); // the runner's own words may name anything
            ++taken;
        }
    }
    return taken;
}

RunnerRows::Row* RunnerRows::onlyCandidateBelow(const Row& runner) {
    Row* only = nullptr;
    const auto children = m_children.find(runner.item.pid);
    for (const size_t index : children != m_children.end() ? children->second : std::vector<size_t>()) {
        Row& row = m_rows[index];
        if (row.isCandidate && !row.isTaken) {
            if (only != nullptr) {
                return nullptr;
            }
            only = &row;
        }
    }
    return only;
}

void RunnerRows::takeKind(ProcessItem& runner, const ProcessItem& child) {
    runner.runnerCommand = runner.ownCommand();
    runner.command = child.command;
    if (child.customLabel || !runner.customLabel) {
        runner.kind = child.kind;
        runner.customLabel = child.customLabel;
    }
}

void RunnerRows::take(ProcessItem& runner, const ProcessItem& child, FoldedAs as) {
    // In a row that begins with a runner, what another runner within it shows is shown.
    const bool showsOther = child.shownPID() != child.pid;
    runner.folded.push_back({.pid = child.pid,
                             .startTime = child.startTime,
                             .as = showsOther ? FoldedAs::part : as,
                             .command = child.ownCommand()});
    runner.folded.insert(runner.folded.end(), child.folded.begin(), child.folded.end());
    runner.cpuPercent += child.cpuPercent;
    runner.rssKB = Saturating::sum(runner.rssKB, child.rssKB);
    if (!runner.hasTTY() && child.hasTTY()) {
        runner.tty = child.tty; // a person may be at work there
    }
}

} // namespace VintrelCore::ScanCore
