#include "VintrelCore/platform/SocketTables.h"

#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <string>

using namespace VintrelCore;
using Fuzzing::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(Fuzzing::textOf(data, size));
    const auto lines = static_cast<size_t>(std::ranges::count(text, '\n')) + 1;

    const auto listening = SocketTables::parseListening(text);
    const auto internet = SocketTables::parseInternet(text);
    const auto local = SocketTables::parseLocal(text);
    require(listening.size() <= lines && internet.size() <= lines && local.size() <= lines,
            "a line is at most one socket");
    for (const auto& socket : listening) {
        require(socket.inode != 0 && socket.port >= 0 && socket.port < 65'536,
                "ports are numbers of 16 bits");
    }
    for (const auto& socket : internet) {
        require(socket.inode != 0 && socket.name.contains(':') && !socket.name.contains(' '),
                "ends are addresses with ports");
    }
    for (const auto& socket : local) {
        require(socket.inode != 0 && socket.name.contains("type="), "a local socket has a sort");
    }
    const auto inode = SocketTables::parseDescriptor(text);
    require(!inode || text == "socket:[" + std::to_string(*inode) + "]" || text.starts_with("socket:[0"),
            "a descriptor's name is nothing but its inode");

    const std::string row = "0: 0100007F:1435 00000000:0000 0A 0:0 0:0 0 0 0 4711 1\n";
    require(SocketTables::parseListening(row + text).front().inode == 4'711, "a line spoils no other");
    return 0;
}
