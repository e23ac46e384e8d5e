#include "VintrelCore/docker/DockerService.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <unordered_set>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::DockerService {

namespace {

/// An engine may accept and never answer.
constexpr std::chrono::seconds askingDeadline{10};

/// For what changes a container of which nothing is known.
constexpr std::chrono::seconds changingDeadline{30};

/// Added to the container's own stop timeout, for the engine's part of the work.
constexpr std::chrono::seconds stoppingReserve{10};

bool changesAContainer(const Arguments& arguments) {
    constexpr std::array<std::string_view, 3> verbs{"restart", "stop", "rm"};
    return !arguments.empty() && std::ranges::find(verbs, arguments.front()) != verbs.end();
}

bool stopsAContainer(const Arguments& arguments) {
    constexpr size_t wordCount = 2; // the verb and one container
    return arguments.size() == wordCount && (arguments.front() == "stop" || arguments.front() == "restart");
}

Arguments withFormat(Arguments arguments, std::string_view format) {
    arguments.emplace_back("--format");
    arguments.emplace_back(format);
    return arguments;
}

/// Whether a line is a container's number, and not a warning of the client's.
bool isID(std::string_view line) {
    return !line.empty() && line.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// Whether the client says that this account may not talk to the engine. It says so in English, always.
bool isRefusal(std::string_view errors) {
    return errors.contains("permission denied");
}

/// What the client printed; "" when it failed.
std::string answerTo(const Arguments& arguments, int interrupt = -1) {
    Shell::Result result = run(arguments, interrupt);
    return result.ok ? std::move(result.output) : std::string();
}

/// The first word of each line.
std::unordered_set<std::string> idsIn(std::string_view listing) {
    std::unordered_set<std::string> ids;
    while (auto line = Text::takeLine(listing)) {
        ids.emplace(Text::takeWord(*line, " \t"));
    }
    return ids;
}

} // namespace

std::optional<std::string> cliPath(std::span<const std::string_view> candidates) {
    const auto found = std::ranges::find_if(
        candidates, [](std::string_view path) { return isTrustedExecutable(std::string(path)); });
    return found != candidates.end() ? std::optional<std::string>(*found) : std::nullopt;
}

bool isInstalled() {
    return cliPath().has_value();
}

bool isTrustedExecutable(const std::string& path) {
    struct stat target{};
    return ::stat(path.c_str(), &target) == 0 && S_ISREG(target.st_mode) &&
           ::access(path.c_str(), X_OK) == 0 &&
           isTrustedOwnership(target.st_uid, static_cast<uint16_t>(target.st_mode), ::getuid());
}

bool isTrustedOwnership(uint32_t ownerUID, uint16_t permissions, uint32_t currentUID) {
    return (ownerUID == 0 || ownerUID == currentUID) && (permissions & S_IWOTH) == 0;
}

Shell::Command command(std::string client, Arguments arguments) {
    const auto deadline = changesAContainer(arguments) ? changingDeadline : askingDeadline;
    return {.executable = std::move(client), .arguments = std::move(arguments), .deadline = deadline};
}

Shell::Command command(std::string client, Arguments arguments, const ContainerStop& stop) {
    return {.executable = std::move(client),
            .arguments = std::move(arguments),
            .deadline = std::chrono::seconds(stop.timeout) + stoppingReserve};
}

std::optional<std::vector<ContainerStop>>
askAboutStops(const std::string& client, std::span<const std::string> containers, int interrupt) {
    Arguments inspect = withFormat({"inspect"}, DockerCore::inspectStopFormat);
    inspect.insert(inspect.end(), containers.begin(), containers.end());
    // Whatever its exit status: one that is gone must not hide the others.
    const Shell::Outcome outcome = Shell::runToOutcome(command(client, std::move(inspect)), interrupt);
    return outcome.completed() ? std::optional(DockerCore::parseStops(outcome.output)) : std::nullopt;
}

Shell::Result run(const Arguments& arguments, int interrupt) {
    const auto client = cliPath();
    if (!client) {
        return {};
    }
    Shell::Outcome outcome = Shell::runToOutcome(command(*client, arguments), interrupt);
    const bool ok = outcome.ok();
    return {.output = std::move(outcome.output), .ok = ok};
}

void perform(std::span<const Arguments> commands, int interrupt) {
    const auto client = cliPath();
    if (!client) {
        return;
    }
    for (const Arguments& arguments : commands) {
        const auto stops = stopsAContainer(arguments)
                               ? askAboutStops(*client, {&arguments.back(), 1}, interrupt)
                               : std::nullopt;
        // A failure shows in the next listing.
        static_cast<void>(Shell::runToOutcome(stops && stops->size() == 1
                                                  ? command(*client, arguments, stops->front())
                                                  : command(*client, arguments),
                                              interrupt));
    }
}

Arguments restartArguments(const std::string& id) {
    return {"restart", id};
}

Arguments stopArguments(const std::string& idOrName) {
    return {"stop", idOrName};
}

Arguments removeArguments(const std::string& id) {
    return {"rm", id};
}

std::vector<Container> listContainers(int interrupt) {
    std::vector<Container> containers =
        DockerCore::parsePS(answerTo(withFormat({"ps"}, DockerCore::psFormat), interrupt));
    if (!containers.empty()) {
        // Asked after the listing, so that a container that has just started is in neither.
        const auto running = idsIn(answerTo({"ps", "-q"}, interrupt));
        std::erase_if(containers,
                      [&](const Container& container) { return !running.contains(container.id); });
    }
    return containers;
}

DockerCore::StatsMap containerStats(int interrupt) {
    return DockerCore::parseStats(
        answerTo(withFormat({"stats", "--no-stream"}, DockerCore::statsFormat), interrupt));
}

std::vector<Container> removeContainer(const std::string& id, int interrupt) {
    perform(std::array{stopArguments(id), removeArguments(id)}, interrupt);
    return listContainers(interrupt);
}

DockerCore::OwnerMap containerOwners(int interrupt) {
    return askForOwners(interrupt).owners;
}

OwnersAnswer askForOwners(int interrupt) {
    const auto client = cliPath();
    if (!client) {
        return {};
    }
    Shell::Command listing = command(*client, {"ps", "-q"});
    listing.isToTellErrors = true;
    const Shell::Outcome listed = Shell::runToOutcome(listing, interrupt);
    if (!listed.ok()) {
        return {.engine = isRefusal(listed.output) ? EngineState::notPermitted : EngineState::notAnswering,
                .isLate = listed.deadlineMissed};
    }
    Arguments inspect = withFormat({"inspect"}, DockerCore::inspectOwnerFormat);
    const size_t without = inspect.size();
    std::string_view rest = listed.output;
    while (const auto line = Text::takeLine(rest)) {
        if (isID(*line)) {
            inspect.emplace_back(*line);
        }
    }
    if (inspect.size() == without) {
        return {.engine = EngineState::answering};
    }
    // Whatever its exit status: one container that went away in between must not hide the others. But not
    // when it was cut off: half a name is another container's.
    const auto outcome = Shell::runToOutcome(command(*client, inspect), interrupt);
    if (!outcome.completed()) {
        return {.engine = EngineState::notAnswering, .isLate = outcome.deadlineMissed};
    }
    return {.owners = DockerCore::parseContainerOwners(outcome.output), .engine = EngineState::answering};
}

} // namespace VintrelCore::DockerService
