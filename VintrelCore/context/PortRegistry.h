#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Which processes listen on a known development port. The ports are a fixed list and what the user adds in a
/// file.
namespace VintrelCore::PortRegistry {

using PortSet = std::set<int>;

/// The built-in ports.
extern const PortSet registeredPorts;

/// The user's own ports: a JSON object, free text to arrays of integers. "" without a home folder.
[[nodiscard]] std::string userPortsFileURL();

/// The built-in ports and those of the user's file; the built-in ones alone when the bytes are no such JSON.
[[nodiscard]] PortSet mergedPorts(const PortSet& builtIn, const std::optional<std::string>& userJSON);

/// The built-in ports and those that the user's file adds now.
[[nodiscard]] PortSet portsOfNow();

struct Listener {
    int32_t pid = 0;
    int port = 0;

    bool operator==(const Listener&) const = default;
};

/// One line of lsof's columns: absent for headings, short lines, and ports that are not in the set (without
/// one, the merged set of now). Source of the format: the manual page lsof(8), "output".
[[nodiscard]] std::optional<Listener> parseListenerLine(std::string_view line,
                                                        const std::optional<PortSet>& ports = std::nullopt);

/// The registered ports on which each process listens; lsof runs only without prepared output.
[[nodiscard]] std::unordered_map<int32_t, PortSet>
listeningPorts(const std::optional<std::string_view>& lsofOutput = std::nullopt);

/// The keys of `listeningPorts`.
[[nodiscard]] std::unordered_set<int32_t>
listeningPIDs(const std::optional<std::string_view>& lsofOutput = std::nullopt);

/// The arguments behind them, for callers that overlap lsof with other tools.
[[nodiscard]] std::vector<std::string> lsofArguments();

} // namespace VintrelCore::PortRegistry
