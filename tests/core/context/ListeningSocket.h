#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <stdexcept>

#include <netinet/in.h>
#include <sys/socket.h>

namespace VintrelTests {

/// A TCP socket of this process that listens on the loopback interface, on a port that was free.
class ListeningSocket {
public:
    ListeningSocket() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(m_socket.get(), generic, size) != 0 || ::listen(m_socket.get(), 1) != 0 ||
            ::getsockname(m_socket.get(), generic, &size) != 0) {
            throw std::runtime_error("no socket to listen on");
        }
        m_port = ntohs(address.sin_port);
    }

    [[nodiscard]] int port() const { return m_port; }

private:
    VintrelCore::FileDescriptor m_socket;
    int m_port = 0;
};

} // namespace VintrelTests
