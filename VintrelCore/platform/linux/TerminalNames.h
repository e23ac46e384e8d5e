#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore::Platform {

/// The names of terminals by their devices' numbers, as ps prints them: "pts/3", "tty1", "?" for none. One
/// that cannot be found is named by its number: a process that has it is on a terminal. Internal to
/// platform/linux/.
class TerminalNames {
public:
    /// The terminal that a process has, by its record; what the process has open may tell its name.
    [[nodiscard]] std::string nameOf(uint32_t device, const FileDescriptor& process);

private:
    /// A line of /proc/tty/drivers.
    struct Driver {
        std::string path;
        unsigned major = 0;
        unsigned first = 0; ///< its minor numbers
        unsigned last = 0;
    };

    [[nodiscard]] static std::vector<Driver> readDrivers();
    [[nodiscard]] std::optional<std::string> find(uint32_t device, const FileDescriptor& process);

    std::unordered_map<uint32_t, std::string> m_known; // those that were found
    std::vector<Driver> m_drivers;                     // read with the first terminal
};

} // namespace VintrelCore::Platform
