#include "VintrelCore/context/PortRegistry.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <string>

using namespace VintrelCore;
using Fuzzing::require;
using PortRegistry::PortSet;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string json(Fuzzing::textOf(data, size));
    const PortSet& builtIn = PortRegistry::registeredPorts;
    const PortSet merged = PortRegistry::mergedPorts(builtIn, json);
    require(std::ranges::includes(merged, builtIn), "no built-in port is lost");

    PortSet added = PortRegistry::mergedPorts({}, json);
    require(std::ranges::includes(merged, added), "the user's ports are there");
    added.insert(builtIn.begin(), builtIn.end());
    require(added == merged, "and no others");
    return 0;
}
