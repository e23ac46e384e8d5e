#include "VintrelCore/docker/DockerCore.h"

#include "VintrelCore/base/Text.h"

#include <chrono>
#include <utility>

namespace VintrelCore::DockerCore {

namespace {

/// "2026-11-22T08:40:10.456947772Z" in seconds since the Unix epoch (RFC 3339).
std::optional<int64_t> parseTime(std::string_view text) {
    constexpr std::string_view form = "0000-00-00T00:00:00";
    if (text.size() <= form.size() || !text.ends_with('Z')) {
        return std::nullopt;
    }
    for (size_t index = 0; index < form.size(); ++index) {
        const bool isDigit = text[index] >= '0' && text[index] <= '9';
        if (form[index] == '0' ? !isDigit : text[index] != form[index]) {
            return std::nullopt;
        }
    }
    const auto number = [text](size_t at, size_t length) {
        return Text::parseInteger<int32_t>(text.substr(at, length)).value_or(0);
    };
    const std::chrono::year_month_day date{std::chrono::year(number(0, 4)),
                                           std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                           std::chrono::day(static_cast<unsigned>(number(8, 2)))};
    if (!date.ok()) {
        return std::nullopt;
    }
    const std::chrono::sys_seconds time = std::chrono::sys_days(date) + std::chrono::hours(number(11, 2)) +
                                          std::chrono::minutes(number(14, 2)) +
                                          std::chrono::seconds(number(17, 2));
    return time.time_since_epoch().count();
}

} // namespace

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

std::vector<ContainerStop> parseStops(std::string_view output) {
    constexpr size_t columnCount = 4;
    std::vector<ContainerStop> stops;
    while (const auto line = Text::takeLine(output)) {
        const auto columns = Text::split(*line, '\t');
        const auto pid =
            columns.size() == columnCount ? Text::parseInteger<int32_t>(columns[1]) : std::nullopt;
        if (!pid || columns[0].empty()) {
            continue;
        }
        // The column is empty without a timeout of its own; -1 means to wait for ever, which we do not.
        const auto timeout = Text::parseInteger<int32_t>(Text::trimmed(columns[3]));
        stops.push_back({.id = std::string(columns[0]),
                         .pid = *pid,
                         .startedAt = parseTime(columns[2]),
                         .timeout = timeout && *timeout >= 0 ? *timeout : ContainerStop::usualTimeout});
    }
    return stops;
}

} // namespace VintrelCore::DockerCore
