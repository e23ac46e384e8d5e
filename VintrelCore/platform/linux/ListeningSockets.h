#pragma once

#include "VintrelCore/platform/SocketTables.h"

#include <optional>
#include <string_view>
#include <vector>

/// Sockets that listen over TCP, of both versions of the protocol, in the network of this program. Internal
/// to platform/linux/.
namespace VintrelCore::Platform::ListeningSockets {

enum class Progress { more, done, refused };

/// Takes over the messages of one datagram of a dump (netlink(7), sock_diag(7)). Refused is also an end that
/// tells of an error, and a dump that the kernel calls inconsistent.
[[nodiscard]] Progress take(std::string_view datagram, std::vector<SocketTables::ListeningSocket>& sockets);

/// From the kernel's dump of sockets; absent where this program may not ask for one.
[[nodiscard]] std::optional<std::vector<SocketTables::ListeningSocket>> dumped();

/// From /proc/net: slower, as it tells of every connection; absent where that cannot be read either.
[[nodiscard]] std::optional<std::vector<SocketTables::ListeningSocket>> tabled();

} // namespace VintrelCore::Platform::ListeningSockets
