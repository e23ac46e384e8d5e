#include "VintrelCore/base/Text.h"
#include "VintrelCore/docker/DockerCore.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

bool isTrimmed(std::string_view text) {
    return Text::trimmed(text) == text;
}

void checkContainer(const Container& container) {
    require(!container.id.empty() && isTrimmed(container.id), "a container has an id");
    const auto& project = container.composeProject;
    require(!project || (!project->empty() && isTrimmed(*project)), "a project has a name");
    const std::string line = container.id + "\t" + container.name + "\t" + container.image + "\t" +
                             container.status + "\t" + container.ports + "\t" + project.value_or("");
    require(DockerCore::parseLine(line) == container, "its columns say the same again");
    require(DockerCore::parseLine(line + "\tmore") == container, "whatever stands behind them");
    require(!DockerCore::parseLine(line.substr(0, line.rfind('\t'))), "and all of them are needed");
}

void checkListing(std::string_view output) {
    std::vector<Container> expected;
    std::string_view rest = output;
    while (const auto line = Text::takeLine(rest)) {
        if (const auto container = DockerCore::parseLine(*line)) {
            checkContainer(*container);
            expected.push_back(*container);
        }
    }
    require(DockerCore::parsePS(output) == expected, "each line is a container or nothing, in order");
}

void checkStats(std::string_view output) {
    for (const auto& [id, stats] : DockerCore::parseStats(output)) {
        require(!id.empty() && isTrimmed(id) && isTrimmed(stats.cpu) && isTrimmed(stats.memory),
                "stats are trimmed, and somebody's");
        const auto again = DockerCore::parseStats(id + "\t" + stats.cpu + "\t" + stats.memory);
        require(again.size() == 1 && again.at(id) == stats, "and say the same again");
    }
}

void checkOwners(std::string_view output) {
    for (const auto& [pid, name] : DockerCore::parseContainerOwners(output)) {
        require(pid != 0 && !name.empty(), "an owner runs and has a name");
        const auto again = DockerCore::parseContainerOwners(std::to_string(pid) + "\t/" + name + "\n");
        require(again == DockerCore::OwnerMap{{pid, name}}, "and is the same again");
    }
}

void checkStops(std::string_view output) {
    for (const ContainerStop& stop : DockerCore::parseStops(output)) {
        require(!stop.id.empty(), "a container has an id");
        require(stop.timeout >= 0, "it is not waited for ever");
        ContainerStop expected = stop;
        expected.startedAt.reset();
        const std::string line =
            stop.id + "\t" + std::to_string(stop.pid) + "\t\t" + std::to_string(stop.timeout);
        require(DockerCore::parseStops(line) == std::vector{expected}, "its columns say the same again");
        require(DockerCore::parseStops(line + "\tmore").empty(), "and there are no others");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view output = Fuzzing::textOf(data, size);
    checkListing(output);
    checkStats(output);
    checkOwners(output);
    checkStops(output);
    const std::string padded = "\n" + std::string(output) + "\n\n";
    require(DockerCore::parsePS(padded) == DockerCore::parsePS(output) &&
                DockerCore::parseStats(padded) == DockerCore::parseStats(output) &&
                DockerCore::parseContainerOwners(padded) == DockerCore::parseContainerOwners(output) &&
                DockerCore::parseStops(padded) == DockerCore::parseStops(output),
            "empty lines change nothing");
    return 0;
}
