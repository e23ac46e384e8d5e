#include "VintrelCore/context/PortRegistry.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/platform/Platform.h"

#include <array>
#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

namespace VintrelCore::PortRegistry {

namespace {

/// Whether a number is whole, however it is written: 3000.0 and 3e3 are integers, too.
bool isInteger(const nlohmann::json& entry) {
    constexpr double limit = 0x1p63; // beyond it the parser has made a float of digits, too
    return entry.is_number_integer() ||
           (entry.is_number_float() && std::trunc(entry.get<double>()) == entry.get<double>() &&
            std::abs(entry.get<double>()) < limit);
}

/// Absent for a number that does not fit into an int.
std::optional<int> portOf(const nlohmann::json& entry) {
    using Limits = std::numeric_limits<int>;
    const auto value = entry.get<double>(); // holds every int exactly
    const bool isInt = value >= Limits::min() && value <= Limits::max();
    return isInt ? std::optional(static_cast<int>(value)) : std::nullopt;
}

/// The integers of the user's file; absent when it is no object of integer arrays.
std::optional<PortSet> parseUserPorts(const std::string& bytes) {
    if (bytes.contains('\0')) {
        return std::nullopt; // the parser would take it for the end
    }
    const auto document = nlohmann::json::parse(bytes, nullptr, /*allow_exceptions=*/false);
    if (!document.is_object()) {
        return std::nullopt;
    }
    PortSet ports;
    for (const auto& list : document) {
        if (!list.is_array()) {
            return std::nullopt;
        }
        for (const auto& entry : list) {
            if (!isInteger(entry)) {
                return std::nullopt;
            }
            if (const auto port = portOf(entry)) {
                ports.insert(*port);
            }
        }
    }
    return ports;
}

} // namespace

const PortSet registeredPorts{5182, 8001, 5181, 8011, 3001, 8003, 4000, 8000, 4002, 5501, 5173, 5120, 5899,
                              8899, 8004, 8005, 5188, 3002, 4321, 5184, 8006, 5183, 3003, 5185, 8007};

std::string userPortsFileURL() {
    const std::string folder = Platform::dataFolder();
    return folder.empty() ? folder : folder + "/Vintrel/ports.json";
}

PortSet mergedPorts(const PortSet& builtIn, const std::optional<std::string>& userJSON) {
    PortSet ports = builtIn;
    if (auto added = userJSON ? parseUserPorts(*userJSON) : std::nullopt) {
        ports.merge(*added);
    }
    return ports;
}

PortSet portsOfNow() {
    constexpr size_t largestFile = size_t{1} << 20;
    return mergedPorts(registeredPorts, File::read(userPortsFileURL(), largestFile));
}

std::optional<Listener> parseListenerLine(std::string_view line, const std::optional<PortSet>& ports) {
    // COMMAND PID USER FD TYPE DEVICE SIZE/OFF NODE NAME
    std::array<std::string_view, 9> columns;
    for (std::string_view& column : columns) {
        column = Text::takeWord(line);
    }
    const std::string_view address = columns.back();
    const auto colon = address.rfind(':'); // the last one: IPv6 addresses have more
    const auto pid = Text::parseInteger<int32_t>(columns[1]);
    if (!pid || colon == std::string_view::npos) {
        return std::nullopt;
    }
    const auto port = Text::parseInteger<int>(address.substr(colon + 1));
    if (!port || !(ports ? ports->contains(*port) : portsOfNow().contains(*port))) {
        return std::nullopt;
    }
    return Listener{.pid = *pid, .port = *port};
}

std::vector<std::string> lsofArguments() {
    return {"-nPi", "-sTCP:LISTEN"};
}

std::unordered_map<int32_t, PortSet> listeningPorts(const std::optional<std::string_view>& lsofOutput) {
    const std::string own = lsofOutput ? std::string() : Lsof::ask(lsofArguments()).output;
    const std::optional<PortSet> ports = portsOfNow();
    std::unordered_map<int32_t, PortSet> listening;
    std::string_view rest = lsofOutput.value_or(own);
    while (const auto line = Text::takeLine(rest)) {
        if (const auto listener = parseListenerLine(*line, ports)) {
            listening[listener->pid].insert(listener->port);
        }
    }
    return listening;
}

std::unordered_set<int32_t> listeningPIDs(const std::optional<std::string_view>& lsofOutput) {
    std::unordered_set<int32_t> pids;
    for (const auto& [pid, ports] : listeningPorts(lsofOutput)) {
        pids.insert(pid);
    }
    return pids;
}

} // namespace VintrelCore::PortRegistry
