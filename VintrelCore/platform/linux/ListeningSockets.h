#pragma once

#include "VintrelCore/platform/SocketTables.h"

#include <optional>
#include <vector>

/// Sockets that listen over TCP, of both versions of the protocol, in the network of this program. Internal
/// to platform/linux/.
namespace VintrelCore::Platform::ListeningSockets {

/// From the kernel's dump of sockets; absent where this program may not ask for one.
[[nodiscard]] std::optional<std::vector<SocketTables::ListeningSocket>> dumped();

/// From /proc/net: slower, as it tells of every connection; absent where that cannot be read either.
[[nodiscard]] std::optional<std::vector<SocketTables::ListeningSocket>> tabled();

} // namespace VintrelCore::Platform::ListeningSockets
