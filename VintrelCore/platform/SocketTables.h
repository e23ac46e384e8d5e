#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Parsers for the tables of sockets below /proc/PID/net. Source of the formats: the manual page proc(5).
/// Lines that are malformed are skipped.
namespace VintrelCore::SocketTables {

struct Socket {
    uint64_t inode = 0; ///< the number by which descriptors name it
    /// "*:5173", "localhost:40000->localhost:5173"; of a local one its path, if any, and its sort, as in
    /// "/run/x.sock type=STREAM". Addresses and ports are numbers but for "localhost": no service of names is
    /// asked, which may not answer.
    std::string name;

    bool operator==(const Socket&) const = default;
};

/// A socket that listens over TCP.
struct ListeningSocket {
    uint64_t inode = 0;
    int port = 0;

    bool operator==(const ListeningSocket&) const = default;
};

/// Those in "tcp" or "tcp6".
[[nodiscard]] std::vector<ListeningSocket> parseListening(std::string_view table);

/// The sockets in "tcp", "udp" and the like, of either version of addresses.
[[nodiscard]] std::vector<Socket> parseInternet(std::string_view table);

/// The sockets in "unix".
[[nodiscard]] std::vector<Socket> parseLocal(std::string_view table);

/// The inode of "socket:[4711]", as a descriptor is named; absent when it is no socket.
[[nodiscard]] std::optional<uint64_t> parseDescriptor(std::string_view descriptor);

} // namespace VintrelCore::SocketTables
