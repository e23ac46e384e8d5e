#include "VintrelCore/platform/linux/SocketNames.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/platform/SocketTables.h"

#include <array>
#include <string>
#include <utility>

namespace VintrelCore::Platform {

namespace {

struct Table {
    const char* name;
    const char* type; ///< in lsof's words
};

constexpr std::array<Table, 7> internet{{{.name = "tcp", .type = "IPv4"},
                                         {.name = "udp", .type = "IPv4"},
                                         {.name = "udplite", .type = "IPv4"},
                                         {.name = "raw", .type = "IPv4"},
                                         {.name = "tcp6", .type = "IPv6"},
                                         {.name = "udp6", .type = "IPv6"},
                                         {.name = "raw6", .type = "IPv6"}}};

} // namespace

void SocketNames::readTables() {
    constexpr size_t largestTable = size_t{64} << 20;
    const std::string folder = "/proc/self/fd/" + std::to_string(m_process.get()) + "/net/";
    const auto take = [this](std::vector<SocketTables::Socket> sockets, const char* type) {
        for (SocketTables::Socket& socket : sockets) {
            m_sockets.emplace(socket.inode, OpenDescriptor{.type = type, .name = std::move(socket.name)});
        }
    };
    for (const Table& table : internet) {
        const auto text = File::readKernelList(folder + table.name, largestTable);
        take(SocketTables::parseInternet(text.value_or("")), table.type);
    }
    take(SocketTables::parseLocal(File::readKernelList(folder + "unix", largestTable).value_or("")), "unix");
}

std::optional<OpenDescriptor> SocketNames::find(uint64_t inode) {
    if (!std::exchange(m_hasRead, true)) {
        readTables();
    }
    const auto found = m_sockets.find(inode);
    return found != m_sockets.end() ? std::optional(found->second) : std::nullopt;
}

} // namespace VintrelCore::Platform
