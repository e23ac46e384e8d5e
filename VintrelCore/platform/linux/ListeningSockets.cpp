#include "VintrelCore/platform/linux/ListeningSockets.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>

namespace VintrelCore::Platform::ListeningSockets {

namespace {

using Sockets = std::vector<SocketTables::ListeningSocket>;

constexpr unsigned listening =
    10; // TCP_LISTEN, which only the kernel's own headers and libc's rival ones name

struct Question {
    nlmsghdr header;
    inet_diag_req_v2 request;
};

bool ask(const FileDescriptor& netlink, uint8_t family) {
    const Question question{
        .header = {.nlmsg_len = sizeof(Question),
                   .nlmsg_type = SOCK_DIAG_BY_FAMILY,
                   .nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP},
        .request = {.sdiag_family = family, .sdiag_protocol = IPPROTO_TCP, .idiag_states = 1U << listening}};
    return ::send(netlink.get(), &question, sizeof question, 0) == ssize_t{sizeof question};
}

/// A failed dump also ends with NLMSG_DONE; a negative error code follows the header.
Progress progressAtEnd(const nlmsghdr& header, const char* message) {
    int error = 0;
    if (header.nlmsg_len >= NLMSG_LENGTH(sizeof error)) {
        std::memcpy(&error, message + NLMSG_HDRLEN, sizeof error);
    }
    return error < 0 ? Progress::refused : Progress::done;
}

} // namespace

Progress take(std::string_view datagram, Sockets& sockets) {
    const char* bytes = datagram.data();
    size_t length = datagram.size();
    while (length >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, bytes, sizeof header);
        const bool isBroken = header.nlmsg_len < sizeof header || header.nlmsg_len > length;
        if (isBroken || header.nlmsg_type == NLMSG_ERROR || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0) {
            return Progress::refused;
        }
        if (header.nlmsg_type == NLMSG_DONE) {
            return progressAtEnd(header, bytes);
        }
        if (header.nlmsg_len >= NLMSG_LENGTH(sizeof(inet_diag_msg))) {
            inet_diag_msg socket;
            std::memcpy(&socket, bytes + NLMSG_HDRLEN, sizeof socket);
            sockets.push_back({.inode = socket.idiag_inode, .port = ntohs(socket.id.idiag_sport)});
        }
        const size_t step = std::min<size_t>(NLMSG_ALIGN(header.nlmsg_len), length);
        bytes += step;
        length -= step;
    }
    return Progress::more;
}

namespace {

/// Whether the answer came to its end.
bool receive(const FileDescriptor& netlink, Sockets& sockets) {
    std::array<char, size_t{32} << 10>
        buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by recv
    for (;;) {
        const ssize_t length = ::recv(netlink.get(), buffer.data(), buffer.size(), 0);
        if (length <= 0) {
            if (length < 0 && errno == EINTR) {
                continue;
            }
            return false;
        }
        const Progress progress = take({buffer.data(), static_cast<size_t>(length)}, sockets);
        if (progress != Progress::more) {
            return progress == Progress::done;
        }
    }
}

std::optional<std::string> readTable(const char* path) {
    constexpr size_t largestTable = size_t{64} << 20; // some 400,000 connections
    return File::readKernelList(path, largestTable);
}

} // namespace

std::optional<Sockets> dumped() {
    const FileDescriptor netlink(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    // The kernel answers while it is asked; a sandbox in its place may not.
    const timeval patience{.tv_sec = 1, .tv_usec = 0};
    ::setsockopt(netlink.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    Sockets sockets;
    for (const uint8_t family : std::array<uint8_t, 2>{AF_INET, AF_INET6}) {
        if (!netlink || !ask(netlink, family) || !receive(netlink, sockets)) {
            return std::nullopt;
        }
    }
    return sockets;
}

std::optional<Sockets> tabled() {
    const auto table = readTable("/proc/net/tcp");
    if (!table) {
        return std::nullopt;
    }
    Sockets sockets = SocketTables::parseListening(*table);
    constexpr const char* ofTheSixthVersion =
        "/proc/net/tcp6"; // not there where that version is switched off
    const auto sixth = readTable(ofTheSixthVersion);
    if (!sixth && File::exists(ofTheSixthVersion)) {
        return std::nullopt;
    }
    for (const auto& socket : SocketTables::parseListening(sixth.value_or(""))) {
        sockets.push_back(socket);
    }
    return sockets;
}

} // namespace VintrelCore::Platform::ListeningSockets
