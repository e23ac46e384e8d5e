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

/// The facts about a container that stopping it requires.
struct ContainerStop {
    static constexpr int32_t usualTimeout = 10; ///< seconds; what engines go by unless told otherwise

    std::string id;  ///< never empty
    int32_t pid = 0; ///< of its first process, by the engine's own count; 0 when it does not run
    /// When that was started, in seconds since the Unix epoch; absent when the engine did not say it in UTC.
    std::optional<int64_t> startedAt{};
    /// Seconds that it has between the polite signal and the forced one.
    int32_t timeout = usualTimeout;

    bool operator==(const ContainerStop&) const = default;
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
inline constexpr std::string_view inspectStopFormat =
    "{{.ID}}\t{{.State.Pid}}\t{{.State.StartedAt}}\t{{.Config.StopTimeout}}";

/// The containers in a listing in `psFormat`, in its order.
[[nodiscard]] std::vector<Container> parsePS(std::string_view output);

/// One line of such a listing.
[[nodiscard]] std::optional<Container> parseLine(std::string_view line);

/// From output in `statsFormat`.
[[nodiscard]] StatsMap parseStats(std::string_view output);

/// From output in `inspectOwnerFormat`; containers that do not run have no entry.
[[nodiscard]] OwnerMap parseContainerOwners(std::string_view output);

/// From output in `inspectStopFormat`, in its order.
[[nodiscard]] std::vector<ContainerStop> parseStops(std::string_view output);

} // namespace DockerCore
} // namespace VintrelCore
