#include "VintrelCore/docker/DockerCore.h"

#include "VintrelCore/base/Text.h"

#include <utility>

namespace VintrelCore::DockerCore {

std::optional<Container> parseLine(std::string_view line) {
    constexpr size_t columnCount = 6;
    const auto columns = Text::split(line, '\t');
    if (columns.size() < columnCount || Text::trimmed(columns[0]).empty()) {
        return std::nullopt;
    }
    Container container{.id = std::string(Text::trimmed(columns[0])),
                        .name = std::string(columns[1]),
                        .image = std::string(columns[2]),
                        .status = std::string(columns[3]),
                        .ports = std::string(columns[4])};
    if (const std::string_view project = Text::trimmed(columns[5]); !project.empty()) {
        container.composeProject = project;
    }
    return container;
}

std::vector<Container> parsePS(std::string_view output) {
    std::vector<Container> containers;
    while (const auto line = Text::takeLine(output)) {
        if (auto container = parseLine(*line)) {
            containers.push_back(*std::move(container));
        }
    }
    return containers;
}

StatsMap parseStats(std::string_view output) {
    StatsMap stats;
    while (const auto line = Text::takeLine(output)) {
        const auto columns = Text::split(*line, '\t');
        if (columns.size() < 3 || Text::trimmed(columns[0]).empty()) {
            continue;
        }
        const std::string_view used = columns[2].substr(0, columns[2].find(" / "));
        stats.insert_or_assign(std::string(Text::trimmed(columns[0])),
                               ContainerStats{.cpu = std::string(Text::trimmed(columns[1])),
                                              .memory = std::string(Text::trimmed(used))});
    }
    return stats;
}

OwnerMap parseContainerOwners(std::string_view output) {
    OwnerMap owners;
    while (const auto line = Text::takeLine(output)) {
        const auto columns = Text::split(*line, '\t');
        const auto pid = Text::parseInteger<int32_t>(Text::trimmed(columns[0]));
        if (columns.size() < 2 || !pid || *pid == 0) { // 0: the container does not run
            continue;
        }
        std::string_view name = Text::trimmed(columns[1]);
        if (name.starts_with('/')) {
            name.remove_prefix(1);
        }
        if (!name.empty()) {
            owners.insert_or_assign(*pid, std::string(name));
        }
    }
    return owners;
}

} // namespace VintrelCore::DockerCore
