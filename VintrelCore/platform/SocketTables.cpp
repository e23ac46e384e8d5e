#include "VintrelCore/platform/SocketTables.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <span>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace VintrelCore::SocketTables {

namespace {

constexpr std::string_view blanks = " \t";
constexpr size_t digitsOfGroup = 8;
constexpr size_t mostGroups = 4; // of an address of the sixth version

/// Absent when it is no number of that base or too large.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text, int base) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// The kernel prints each group of an address as a number in host byte order.
std::optional<std::string> parseAddress(std::string_view digits) {
    std::array<uint32_t, mostGroups> groups{};
    const size_t count = digits.size() / digitsOfGroup;
    if (digits.size() % digitsOfGroup != 0 || (count != 1 && count != mostGroups)) {
        return std::nullopt;
    }
    for (size_t group = 0; group < count; ++group) {
        const auto number = parseNumber<uint32_t>(digits.substr(group * digitsOfGroup, digitsOfGroup), 16);
        if (!number) {
            return std::nullopt;
        }
        groups.at(group) = *number;
    }
    if (std::ranges::all_of(groups, [](uint32_t group) { return group == 0; })) {
        return "*";
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int family = count == 1 ? AF_INET : AF_INET6;
    if (::inet_ntop(family, groups.data(), text.data(), text.size()) == nullptr) {
        return std::nullopt;
    }
    const std::string address = text.data();
    if (address == "127.0.0.1" || address == "::1") {
        return "localhost";
    }
    return family == AF_INET ? address : "[" + address + "]";
}

/// One end of a connection, "ADDRESS:PORT" in hexadecimal digits.
std::optional<uint16_t> portOf(std::string_view end) {
    const auto colon = end.find(':');
    return colon != std::string_view::npos ? parseNumber<uint16_t>(end.substr(colon + 1), 16) : std::nullopt;
}

std::optional<std::string> nameOf(std::string_view end) {
    const auto address = parseAddress(end.substr(0, end.find(':')));
    const auto port = portOf(end);
    return address && port ? std::optional(*address + ":" + (*port == 0 ? "*" : std::to_string(*port)))
                           : std::nullopt;
}

struct Row {
    std::string_view local;
    std::string_view remote;
    std::string_view state;
    uint64_t inode = 0;
};

/// Absent without an inode.
std::optional<Row> parseRow(std::string_view line) {
    // sl local_address rem_address st tx_queue:rx_queue tr:tm->when retrnsmt uid timeout inode
    std::array<std::string_view, 10> fields;
    for (std::string_view& field : fields) {
        field = Text::takeWord(line, blanks);
    }
    const auto inode = parseNumber<uint64_t>(fields.back(), 10);
    return inode.value_or(0) != 0
               ? std::optional(
                     Row{.local = fields[1], .remote = fields[2], .state = fields[3], .inode = *inode})
               : std::nullopt;
}

std::string_view nameOfSort(std::string_view type) {
    constexpr std::array<std::string_view, 6> names{"", "STREAM", "DGRAM", "RAW", "RDM", "SEQPACKET"};
    const auto number = parseNumber<size_t>(type, 16).value_or(0);
    return number < names.size() ? names.at(number) : std::string_view();
}

} // namespace

std::vector<ListeningSocket> parseListening(std::string_view table) {
    constexpr std::string_view listening = "0A"; // TCP_LISTEN of the kernel
    std::vector<ListeningSocket> sockets;
    while (const auto line = Text::takeLine(table)) {
        const auto row = parseRow(*line);
        const auto port = row ? portOf(row->local) : std::nullopt;
        if (port && row->state == listening) {
            sockets.push_back({.inode = row->inode, .port = *port});
        }
    }
    return sockets;
}

std::vector<Socket> parseInternet(std::string_view table) {
    std::vector<Socket> sockets;
    while (const auto line = Text::takeLine(table)) {
        const auto row = parseRow(*line);
        auto name = row ? nameOf(row->local) : std::nullopt;
        const auto remote = name ? nameOf(row->remote) : std::nullopt;
        if (remote) {
            const bool isConnected = portOf(row->remote) != 0;
            sockets.push_back({.inode = row->inode, .name = *name + (isConnected ? "->" + *remote : "")});
        }
    }
    return sockets;
}

std::vector<Socket> parseLocal(std::string_view table) {
    std::vector<Socket> sockets;
    while (auto line = Text::takeLine(table)) {
        for (int word = 0; word < 4; ++word) { // an address in the kernel, users, the protocol, flags
            static_cast<void>(Text::takeWord(*line, blanks));
        }
        const std::string_view sort = nameOfSort(Text::takeWord(*line, blanks));
        static_cast<void>(Text::takeWord(*line, blanks)); // the state
        const auto inode = parseNumber<uint64_t>(Text::takeWord(*line, blanks), 10);
        if (sort.empty() || inode.value_or(0) == 0) {
            continue;
        }
        const std::string_view path = line->starts_with(' ') ? line->substr(1) : *line;
        sockets.push_back(
            {.inode = *inode,
             .name = std::string(path) + (path.empty() ? "" : " ") + "type=" + std::string(sort)});
    }
    return sockets;
}

std::optional<uint64_t> parseDescriptor(std::string_view descriptor) {
    constexpr std::string_view opening = "socket:[";
    if (!descriptor.starts_with(opening) || !descriptor.ends_with(']')) {
        return std::nullopt;
    }
    descriptor.remove_prefix(opening.size());
    descriptor.remove_suffix(1);
    const auto inode = Text::parseInteger<int64_t>(descriptor);
    return inode && *inode > 0 ? std::optional(static_cast<uint64_t>(*inode)) : std::nullopt;
}

} // namespace VintrelCore::SocketTables
