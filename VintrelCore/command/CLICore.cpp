#include "VintrelCore/command/CLICore.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

namespace VintrelCore::CLICore {

namespace {

using Parsed = std::expected<Command, ParseError>;
using Reason = ParseError::Reason;
using Arguments = std::span<const std::string>;

constexpr std::string_view safe = "--safe";

Parsed failure(Reason reason, std::string text = {}) {
    return std::unexpected(ParseError{.reason = reason, .text = std::move(text)});
}

Parsed parseList(Arguments rest) {
    if (rest.empty()) {
        return Command::list(false);
    }
    if (rest.size() == 1 && rest.front() == safe) {
        return Command::list(true);
    }
    const auto other = std::ranges::find_if(rest, [](const std::string& word) { return word != safe; });
    return failure(Reason::unexpectedArgument, other != rest.end() ? *other : rest.front());
}

Parsed parseClean(Arguments rest) {
    return rest.empty() ? Parsed(Command::clean()) : failure(Reason::unexpectedArgument, rest.front());
}

Parsed parseKill(Arguments rest) {
    if (rest.empty()) {
        return failure(Reason::missingPID);
    }
    if (rest.size() > 1) {
        return failure(Reason::unexpectedArgument, rest[1]);
    }
    const auto pid = Text::parseInteger<int32_t>(rest.front());
    return pid && *pid >= 1 ? Parsed(Command::kill(*pid)) : failure(Reason::invalidPID, rest.front());
}

} // namespace

Parsed parse(Arguments arguments) {
    if (arguments.empty()) {
        return Command::help();
    }
    const std::string& word = arguments.front();
    const Arguments rest = arguments.subspan(1);
    if (word == "help" || word == "--help" || word == "-h") {
        return Command::help();
    }
    if (word == "list") {
        return parseList(rest);
    }
    if (word == "clean") {
        return parseClean(rest);
    }
    if (word == "kill") {
        return parseKill(rest);
    }
    return failure(Reason::unknownCommand, word);
}

std::string message(const ParseError& error) {
    switch (error.reason) {
    case Reason::unknownCommand:
        return "unknown command '" + error.text + "'";
    case Reason::unexpectedArgument:
        return "unexpected argument '" + error.text + "'";
    case Reason::invalidPID:
        return "'" + error.text + "' is not a valid PID";
    case Reason::missingPID:
        return "kill requires a <pid> argument";
    }
    return {};
}

const std::string_view usage = R"(usage: vintrel <command>

  list [--safe]   Scan and print stray candidates (--safe: safe bucket only)
  clean           Kill what the app's "Clean all" would sweep
                  (safe bucket minus protected projects)
  kill <pid>      Kill one scanned candidate by PID (any bucket)
  help            Show this help

Settings (threshold, ignores, custom rules, protected projects) are read
from the Vintrel app's preferences for full rule parity. Nothing is ever
killed without an explicit clean/kill invocation.)";

std::string formatElapsed(double seconds) {
    constexpr int64_t minute = 60;
    constexpr int64_t hour = 60 * minute;
    constexpr int64_t day = 24 * hour;
    constexpr double longest = 1e18; // more than any integer would hold is no age
    const auto s = static_cast<int64_t>(std::clamp(seconds, -longest, longest));
    if (s < minute) {
        return std::to_string(s) + "s";
    }
    if (s < hour) {
        return std::to_string(s / minute) + "m";
    }
    if (s < day) {
        return std::to_string(s / hour) + "h " + std::to_string(s % hour / minute) + "m";
    }
    return std::to_string(s / day) + "d " + std::to_string(s % day / hour) + "h";
}

std::string formatRSS(int64_t kb) {
    constexpr int64_t megabyte = 1024;
    constexpr int64_t gigabyte = 1024 * megabyte;
    if (kb < megabyte) {
        return std::to_string(kb) + " KB";
    }
    if (kb < gigabyte) {
        return std::to_string(kb / megabyte) + " MB";
    }
    std::array<char, 32> digits{}; // to_chars: a point in every locale
    const double gigabytes = static_cast<double>(kb) / static_cast<double>(gigabyte);
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), gigabytes, std::chars_format::fixed, 1);
    return std::string(digits.data(), error == std::errc{} ? end : digits.data()) + " GB";
}

} // namespace VintrelCore::CLICore
