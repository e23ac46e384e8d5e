#pragma once

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/platform/Facts.h"

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace VintrelCore::Platform {

/// What the sockets in the network of one process are called. Internal to platform/linux/.
class SocketNames {
public:
    /// Refers to the folder of the process. The tables are read when a socket is first asked for.
    explicit SocketNames(const FileDescriptor& process) : m_process(process) {}

    /// By the inode. Absent for one that is in no table, such as one that is not bound yet.
    [[nodiscard]] std::optional<OpenDescriptor> find(uint64_t inode);

private:
    void readTables();

    const FileDescriptor& m_process;
    bool m_hasRead = false;
    std::unordered_map<uint64_t, OpenDescriptor> m_sockets;
};

} // namespace VintrelCore::Platform
