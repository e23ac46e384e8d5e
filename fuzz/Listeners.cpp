#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/PortRegistry.h"
#include "fuzz/Fuzzing.h"

#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

void checkLine(std::string_view line, const PortRegistry::PortSet& ports) {
    const auto listener = PortRegistry::parseListenerLine(line, ports);
    if (!listener) {
        return;
    }
    require(ports.contains(listener->port), "only ports of the set count");
    require(!PortRegistry::parseListenerLine(line, PortRegistry::PortSet{}), "none counts without a set");
    const std::string plain = "node " + std::to_string(listener->pid) +
                              " dev 21u IPv6 0x12 0t0 TCP [::1]:" + std::to_string(listener->port) +
                              " (LISTEN)";
    require(PortRegistry::parseListenerLine(plain, ports) == listener,
            "and in a line of the usual form as well");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view output = Fuzzing::textOf(data, size);
    const auto ports = PortRegistry::mergedPorts(PortRegistry::registeredPorts, std::nullopt);
    std::string_view rest = output;
    while (const auto line = Text::takeLine(rest)) {
        checkLine(*line, ports);
    }
    const auto listening = PortRegistry::listeningPorts(output);
    const auto pids = PortRegistry::listeningPIDs(output);
    require(pids.size() == listening.size(), "the same processes, with and without their ports");
    for (const auto& [pid, held] : listening) {
        require(pids.contains(pid) && !held.empty(), "a listener listens somewhere");
        for (const int port : held) {
            require(output.contains(":" + std::to_string(port)) || output.contains('+') ||
                        output.contains(":0"),
                    "a port stands in the output");
        }
    }
    return 0;
}
