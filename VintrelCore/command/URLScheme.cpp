#include "VintrelCore/command/URLScheme.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace VintrelCore::URLScheme {

namespace {

std::string_view upToAnyOf(std::string_view text, std::string_view ends) {
    return text.substr(0, text.find_first_of(ends));
}

/// The host of "user@host:port"; absent when the port is no number.
std::optional<std::string_view> hostOf(std::string_view authority) {
    const auto at = authority.rfind('@');
    authority.remove_prefix(at == std::string_view::npos ? 0 : at + 1);
    const std::string_view host = upToAnyOf(authority, ":");
    const std::string_view port = authority.substr(std::min(host.size() + 1, authority.size()));
    const bool isNumber = port.find_first_not_of("0123456789") == std::string_view::npos;
    return isNumber ? std::optional(host) : std::nullopt;
}

std::string_view firstPiece(std::string_view path) {
    const auto start = path.find_first_not_of('/');
    return start == std::string_view::npos ? std::string_view() : upToAnyOf(path.substr(start), "/");
}

std::string_view wordOf(std::string_view afterScheme) {
    std::string_view rest = upToAnyOf(afterScheme, "?#");
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::string_view authority = upToAnyOf(rest, "/");
        if (const auto host = hostOf(authority); !host || !host->empty()) {
            return host.value_or("");
        }
        rest.remove_prefix(authority.size());
    }
    return firstPiece(rest);
}

/// The text with its escapes ("%41") decoded; absent when a "%" begins none.
std::optional<std::string> decoded(std::string_view text) {
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            plain += text[at];
            continue;
        }
        const std::string_view digits = text.substr(at + 1, 2);
        uint8_t byte = 0;
        const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() != 2 || error != std::errc{} || stop != digits.data() + digits.size()) {
            return std::nullopt;
        }
        plain += static_cast<char>(byte);
        at += 2;
    }
    return plain;
}

} // namespace

std::optional<Command> parse(std::string_view url) {
    const auto isForbidden = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7f'; };
    const auto colon = url.find(':');
    if (colon == std::string_view::npos || Text::asciiLowered(url.substr(0, colon)) != scheme ||
        std::ranges::any_of(url, isForbidden)) {
        return std::nullopt;
    }
    const std::string word = Text::asciiLowered(decoded(wordOf(url.substr(colon + 1))).value_or(""));
    if (word == "clean") {
        return Command::clean;
    }
    if (word == "scan") {
        return Command::scan;
    }
    return std::nullopt;
}

} // namespace VintrelCore::URLScheme
