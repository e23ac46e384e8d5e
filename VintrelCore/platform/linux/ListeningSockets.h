#pragma once

#include "VintrelCore/platform/SocketTables.h"

#include <optional>
#include <string_view>
#include <vector>

/// Sockets that listen over TCP, of both versions of the protocol, in the network of this program. Internal
/// to platform/linux/.
namespace VintrelCore::Platform::ListeningSockets {

enum class Progress { more, done, refused };

/// Adds the sockets in one datagram of a dump (netlink(7), sock_diag(7)). Refused also when the dump ends
/// with an error or the kernel marks it as interrupted.
[[nodiscard]] Progress take(std::string_view datagram, std::vector<SocketTables::ListeningSocket>& sockets);

/// From the kernel's dump of sockets; absent where this program may not ask for one.
[[nodiscard]] std::optional<std::vector<SocketTables::ListeningSocket>> dumped();

/// From /proc/net: slower, as it tells of every connection; absent where that cannot be read either.
[[nodiscard]] std::optional<std::vector<SocketTables::ListeningSocket>> tabled();

} // namespace VintrelCore::Platform::ListeningSockets
