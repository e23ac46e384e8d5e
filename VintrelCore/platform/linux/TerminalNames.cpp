#include "VintrelCore/platform/linux/TerminalNames.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/linux/ProcFolder.h"

#include <array>
#include <charconv>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace VintrelCore::Platform {

namespace {

constexpr std::string_view none = "?";

/// The kernel's packing: minor bits 31 to 20 and 7 to 0, major bits 19 to 8. Source: proc(5), tty_nr.
unsigned majorOf(uint32_t device) {
    return (device >> 8) & 0xFFF;
}

unsigned minorOf(uint32_t device) {
    return (device & 0xFF) | ((device >> 12) & 0xFFF00);
}

bool isDevice(const std::string& path, uint32_t device) {
    struct stat status{};
    return path.starts_with("/dev/") && ::stat(path.c_str(), &status) == 0 &&
           major(status.st_rdev) == majorOf(device) && minor(status.st_rdev) == minorOf(device);
}

/// Names a terminal that cannot be found, so that its processes still count as being on one.
std::string nameByNumber(uint32_t device) {
    constexpr unsigned firstOfPseudoTerminals = 136;
    constexpr unsigned lastOfPseudoTerminals = 143;
    const unsigned kind = majorOf(device);
    const bool isPseudo = kind >= firstOfPseudoTerminals && kind <= lastOfPseudoTerminals;
    return isPseudo ? "pts/" + std::to_string(minorOf(device))
                    : std::to_string(kind) + ":" + std::to_string(minorOf(device));
}

unsigned numberAt(std::string_view text) {
    return static_cast<unsigned>(Text::parseInteger<int32_t>(text).value_or(0));
}

} // namespace

std::string TerminalNames::nameOf(uint32_t device, const FileDescriptor& process) {
    if (device == 0) {
        return std::string(none);
    }
    if (const auto known = m_known.find(device); known != m_known.end()) {
        return known->second;
    }
    const auto found = find(device, process);
    return found ? m_known.emplace(device, *found).first->second : nameByNumber(device);
}

std::vector<TerminalNames::Driver> TerminalNames::readDrivers() {
    constexpr size_t largestTable = size_t{64} << 10;
    std::vector<Driver> drivers;
    const auto table = File::readKernelList("/proc/tty/drivers", largestTable);
    std::string_view rest = table ? *table : std::string_view();
    while (auto line = Text::takeLine(rest)) {
        // pty_slave /dev/pts 136 0-1048575 pty:slave
        static_cast<void>(Text::takeWord(*line));
        const std::string_view path = Text::takeWord(*line);
        const std::string_view major = Text::takeWord(*line);
        const std::string_view minors = Text::takeWord(*line);
        const auto hyphen = minors.find('-');
        drivers.push_back(
            {.path = std::string(path),
             .major = numberAt(major),
             .first = numberAt(minors.substr(0, hyphen)),
             .last = numberAt(hyphen == std::string_view::npos ? minors : minors.substr(hyphen + 1))});
    }
    return drivers;
}

std::optional<std::string> TerminalNames::find(uint32_t device, const FileDescriptor& process) {
    if (m_drivers.empty()) {
        m_drivers = readDrivers();
    }
    std::vector<std::string> paths;
    for (const Driver& driver : m_drivers) {
        const unsigned minor = minorOf(device);
        if (driver.major == majorOf(device) && driver.first <= minor && minor <= driver.last) {
            const std::string offset = std::to_string(minor - driver.first);
            paths.insert(paths.end(),
                         {driver.path + std::to_string(minor), driver.path + "/" + std::to_string(minor),
                          driver.path + offset, driver.path});
        }
    }
    // Descriptors that usually are the terminal: the standard error, and the one that bash keeps for it.
    for (const char* const descriptor : {"fd/2", "fd/255"}) {
        paths.push_back(readLinkBelow(process, descriptor).value_or(""));
    }
    for (const std::string& path : paths) {
        if (isDevice(path, device)) {
            return path.substr(std::string_view("/dev/").size());
        }
    }
    return std::nullopt;
}

} // namespace VintrelCore::Platform
