#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore::Platform {

/// Names terminals by device number, as ps prints them: "pts/3", "tty1", or "?" for none. A terminal whose
/// name cannot be found is named by its number, because its processes are on a terminal all the same.
/// Internal to platform/linux/.
class TerminalNames {
public:
    /// The name of a process's controlling terminal. The process's descriptors may help to find it.
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
