#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// A running container, in the words of the engine's client.
struct Container {
    std::string id; ///< never empty
    std::string name;
    std::string image;
    std::string status; ///< for people, such as "Up 2 hours"
    std::string ports;  ///< published ports; may be empty
    std::optional<std::string> composeProject{};

    bool operator==(const Container&) const = default;
};

struct ContainerStats {
    std::string cpu;    ///< such as "0.15%"
    std::string memory; ///< what is used of it, such as "12.5MiB"

    bool operator==(const ContainerStats&) const = default;
};

/// The formats that the engine's client is asked for, and their parsers. Malformed lines are skipped. No
/// state.
namespace DockerCore {

/// By container id.
using StatsMap = std::unordered_map<std::string, ContainerStats>;

/// The names of running containers by the pid of their first process.
using OwnerMap = std::unordered_map<int32_t, std::string>;

inline constexpr std::string_view psFormat =
    "{{.ID}}\t{{.Names}}\t{{.Image}}\t{{.Status}}\t{{.Ports}}\t{{.Label \"com.docker.compose.project\"}}";
inline constexpr std::string_view statsFormat = "{{.ID}}\t{{.CPUPerc}}\t{{.MemUsage}}";
inline constexpr std::string_view inspectOwnerFormat = "{{.State.Pid}}\t{{.Name}}";

/// The containers in a listing in `psFormat`, in its order.
[[nodiscard]] std::vector<Container> parsePS(std::string_view output);

/// One line of such a listing.
[[nodiscard]] std::optional<Container> parseLine(std::string_view line);

/// From output in `statsFormat`.
[[nodiscard]] StatsMap parseStats(std::string_view output);

/// From output in `inspectOwnerFormat`; containers that do not run have no entry.
[[nodiscard]] OwnerMap parseContainerOwners(std::string_view output);

} // namespace DockerCore
} // namespace VintrelCore
