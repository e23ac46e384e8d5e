#include "VintrelCore/context/AncestryResolver.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Shell.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Platform.h"

#include <chrono>
#include <unordered_set>
#include <utility>

namespace VintrelCore::AncestryResolver {

std::string compactLabel(std::string_view text) {
    const std::string_view last = Path::lastComponent(text);
    return std::string(last.empty() ? text : last);
}

std::optional<Entry> parseLine(std::string_view line) {
    constexpr std::string_view blanks = " \t";
    const auto pid = Text::parseInteger<int32_t>(Text::takeWord(line, blanks));
    const auto ppid = Text::parseInteger<int32_t>(Text::takeWord(line, blanks));
    const std::string_view command = Text::trimmed(line);
    if (!pid || !ppid || command.empty()) {
        return std::nullopt;
    }
    return Entry{.pid = *pid, .node = {.ppid = *ppid, .label = compactLabel(command)}};
}

Shell::Command psCommand() {
    constexpr std::chrono::seconds deadline{5};
    return {
        .executable = Platform::psPath(), .arguments = {"-axo", "pid=,ppid=,comm="}, .deadline = deadline};
}

ProcessTable processTable(const std::optional<std::string_view>& psOutput) {
    Shell::Outcome own;
    if (!psOutput) {
        own = Shell::runToOutcome(psCommand());
    }
    ProcessTable table;
    std::string_view rest = psOutput.value_or(own.ok() ? own.output : std::string_view());
    while (const auto line = Text::takeLine(rest)) {
        if (auto entry = parseLine(*line)) {
            table.insert_or_assign(entry->pid, std::move(entry->node));
        }
    }
    return table;
}

ProcessTable tableOf(std::span<const Platform::ProcessFacts> processes) {
    ProcessTable table;
    table.reserve(processes.size());
    for (const Platform::ProcessFacts& process : processes) {
        if (!process.name.empty()) {
            table.insert_or_assign(process.pid,
                                   ProcessNode{.ppid = process.ppid, .label = compactLabel(process.name)});
        }
    }
    return table;
}

std::vector<std::string> ancestorChain(int32_t ofPPID, const ProcessTable& in) {
    std::vector<std::string> labels;
    std::unordered_set<int32_t> visited; // processes may have changed parents while the table was read
    for (int32_t pid = ofPPID; pid > 0 && visited.insert(pid).second;) {
        const auto found = in.find(pid);
        if (found == in.end()) {
            break;
        }
        labels.push_back(found->second.label);
        pid = found->second.ppid;
    }
    return labels;
}

} // namespace VintrelCore::AncestryResolver
