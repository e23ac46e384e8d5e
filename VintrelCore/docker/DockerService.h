#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/docker/DockerCore.h"
#include "VintrelCore/platform/Platform.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Runs the container engine's client, where there is one that can be trusted. Every call blocks for the
/// client's deadline at the most; a failure of any kind gives an empty result. No state.
namespace VintrelCore::DockerService {

using Arguments = std::vector<std::string>;

/// The first of `candidates` that passes `isTrustedExecutable`; absent when none does. PATH is not searched.
[[nodiscard]] std::optional<std::string>
cliPath(std::span<const std::string_view> candidates = Platform::dockerCandidates());

/// Whether there is a client.
[[nodiscard]] bool isInstalled();

/// Whether a file may be run on the user's behalf: it can be executed, and what it is, links resolved, passes
/// `isTrustedOwnership`.
[[nodiscard]] bool isTrustedExecutable(const std::string& path);

/// The owner is root or the current user, and the file is not writable by everybody.
[[nodiscard]] bool isTrustedOwnership(uint32_t ownerUID, uint16_t permissions, uint32_t currentUID);

/// The client with `arguments`, to be run with a deadline that fits the operation: listing, or changing a
/// container.
[[nodiscard]] Shell::Command command(std::string client, Arguments arguments);

/// `command` for a change that stops a container: the client waits for as long as the engine does, and some
/// more. When it misses even that deadline the engine goes on stopping it.
[[nodiscard]] Shell::Command command(std::string client, Arguments arguments, const ContainerStop& stop);

/// Runs the client; without one nothing is run, and the result is not ok. When the descriptor `interrupt` (if
/// not negative) becomes readable, the client is taken down.
[[nodiscard]] Shell::Result run(const Arguments& arguments, int interrupt = -1);

/// Asks the client about containers, by id or name, before they are stopped. Leaves out those that the engine
/// does not know; absent when no answer came: the client missed its deadline, or was cut off.
[[nodiscard]] std::optional<std::vector<ContainerStop>>
askAboutStops(const std::string& client, std::span<const std::string> containers, int interrupt = -1);

/// Runs each of `commands` in turn, whatever becomes of the ones before. What stops a container has the time
/// that the container takes.
void perform(std::span<const Arguments> commands, int interrupt = -1);

// What to ask the client for.

[[nodiscard]] Arguments restartArguments(const std::string& id);
[[nodiscard]] Arguments stopArguments(const std::string& idOrName);
[[nodiscard]] Arguments removeArguments(const std::string& id);

/// The running containers. A line feed in a label can make a line that looks like another container's: only
/// rows count whose id the client lists on its own, too.
[[nodiscard]] std::vector<Container> listContainers(int interrupt = -1);

/// What each running container uses.
[[nodiscard]] DockerCore::StatsMap containerStats(int interrupt = -1);

/// Stops a container and removes it; then, the running containers.
std::vector<Container> removeContainer(const std::string& id, int interrupt = -1);

/// Which processes are the first ones of running containers. `interrupt` as for `run`.
[[nodiscard]] DockerCore::OwnerMap containerOwners(int interrupt = -1);

/// How the client's engine took a question.
enum class EngineState {
    absent, ///< there is no client
    answering,
    notAnswering, ///< it is not there, or too slow
    notPermitted, ///< this account may not use it
};

struct OwnersAnswer {
    DockerCore::OwnerMap owners{};
    EngineState engine = EngineState::absent;
    /// The client missed its deadline; the engine may still be working.
    bool isLate = false;
};

/// `containerOwners`, and how the engine took it.
[[nodiscard]] OwnersAnswer askForOwners(int interrupt = -1);

} // namespace VintrelCore::DockerService
