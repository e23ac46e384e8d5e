#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/platform/Facts.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// One process in the table of all.
struct ProcessNode {
    int32_t ppid = 0;
    std::string label; ///< the short name of its program

    bool operator==(const ProcessNode&) const = default;
};

/// Who started a process: the chain of its parents, by way of ps. No state.
namespace AncestryResolver {

using ProcessTable = std::unordered_map<int32_t, ProcessNode>;

struct Entry {
    int32_t pid = 0;
    ProcessNode node{};

    bool operator==(const Entry&) const = default;
};

/// All processes by pid. ps runs only without prepared output; empty when it fails.
[[nodiscard]] ProcessTable processTable(const std::optional<std::string_view>& psOutput = std::nullopt);

/// The same from a scan's facts.
[[nodiscard]] ProcessTable tableOf(std::span<const Platform::ProcessFacts> processes);

/// The command behind `processTable`, for callers that want to be able to stop it.
[[nodiscard]] Shell::Command psCommand();

/// One line of "pid ppid command"; absent when it is malformed.
[[nodiscard]] std::optional<Entry> parseLine(std::string_view line);

/// The last component of a path, or the text itself when it has none.
[[nodiscard]] std::string compactLabel(std::string_view text);

/// The labels of a parent and its parents, nearest first, as far as the table knows them.
[[nodiscard]] std::vector<std::string> ancestorChain(int32_t ofPPID, const ProcessTable& in);

} // namespace AncestryResolver
} // namespace VintrelCore
