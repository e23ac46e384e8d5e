#pragma once

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/platform/Facts.h"

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace VintrelCore::Platform {

/// The names of the sockets in one process's network namespace. Internal to platform/linux/.
class SocketNames {
public:
    /// Refers to the folder of the process. The tables are read when a socket is first asked for.
    explicit SocketNames(const FileDescriptor& process) : m_process(process) {}

    /// Finds a socket by its inode. Absent when no table lists it, for example before it is bound.
    [[nodiscard]] std::optional<OpenDescriptor> find(uint64_t inode);

private:
    void readTables();

    const FileDescriptor& m_process;
    bool m_hasRead = false;
    std::unordered_map<uint64_t, OpenDescriptor> m_sockets;
};

} // namespace VintrelCore::Platform
