#include "VintrelCore/platform/ProcText.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace VintrelCore::ProcText {

namespace {

unsigned char byteAt(std::string_view text, size_t index) {
    return static_cast<unsigned char>(text[index]);
}

bool isPlain(char byte) {
    return byte >= ' ' && byte <= '~';
}

/// The length of a UTF-8 sequence by its first byte; 0 when no sequence begins with it.
size_t lengthByFirst(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC2 || first > 0xF4) {
        return 0;
    }
    return first < 0xE0 ? 2 : (first < 0xF0 ? 3 : 4);
}

/// ps first skips from sequence to sequence by the first bytes alone. From a byte that cannot begin one, it
/// keeps nothing but ASCII.
size_t lengthOfTrusted(std::string_view text) {
    size_t index = 0;
    while (index < text.size()) {
        const size_t length = lengthByFirst(byteAt(text, index));
        if (length == 0 || index + length > text.size()) {
            return index;
        }
        index += length;
    }
    return index;
}

struct Decoded {
    char32_t character = 0;
    size_t length = 0;
};

/// Decodes the multi-byte character at the start of `text`; absent when it is malformed. Like the C library,
/// this accepts code points beyond the last valid one after 0xF4.
std::optional<Decoded> decode(std::string_view text) {
    constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    const size_t length = lengthByFirst(byteAt(text, 0));
    if (length < 2 || length > text.size()) {
        return std::nullopt;
    }
    char32_t character = byteAt(text, 0) & (0x7FU >> length);
    for (size_t index = 1; index < length; ++index) {
        if ((byteAt(text, index) & 0xC0U) != 0x80) {
            return std::nullopt;
        }
        character = character << 6 | (byteAt(text, index) & 0x3FU);
    }
    const bool isHalfOfPair = character >= 0xD800 && character < 0xE000;
    return character < least[length] || isHalfOfPair
               ? std::nullopt
               : std::optional(Decoded{.character = character, .length = length});
}

/// The part that may hold characters of several bytes.
std::string printableOf(std::string_view text, const Printable& isPrintable) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const auto decoded = byteAt(text, 0) < 0x80 ? std::nullopt : decode(text);
        const size_t length = decoded ? decoded->length : 1;
        const bool stays = decoded ? isPrintable(decoded->character) : isPlain(text.front());
        shown += stays ? text.substr(0, length) : "?";
        text.remove_prefix(length);
    }
    return shown;
}

std::string printable(std::string text, const Printable& isPrintable) {
    const auto inASCII = [](char byte) { return isPlain(byte) ? byte : '?'; };
    if (Text::isASCII(text)) {
        std::ranges::transform(text, text.begin(), inASCII);
        return text;
    }
    const size_t trusted = lengthOfTrusted(text);
    // A character that was cut off by the end of the trusted part cannot be made whole by what follows.
    std::ranges::transform(text.begin() + static_cast<std::ptrdiff_t>(trusted), text.end(),
                           text.begin() + static_cast<std::ptrdiff_t>(trusted), inASCII);
    return printableOf(text, isPrintable);
}

void appendTwoDigits(std::string& text, int64_t number) {
    text += static_cast<char>('0' + number / 10);
    text += static_cast<char>('0' + number % 10);
}

} // namespace

std::string commandLine(std::string_view cmdline, const Printable& isPrintable) {
    std::string line(cmdline.substr(0, cmdline.find_last_not_of('\0') + 1));
    if (line.empty()) {
        return cmdline.empty() ? "" : "?";
    }
    std::ranges::replace_if(line, [](char byte) { return byte == '\0' || byte == '\n'; }, ' ');
    const auto end = line.find_last_not_of(' ');
    line.resize(end == std::string::npos ? 0 : end + 1);
    line.erase(0, line.find_first_not_of(' '));
    return printable(std::move(line), isPrintable);
}

std::string name(std::string_view bytes, const Printable& isPrintable) {
    return printable(std::string(bytes), isPrintable);
}

std::string elapsed(int64_t seconds) {
    seconds = std::max<int64_t>(seconds, 0);
    const int64_t minutes = seconds / 60;
    const int64_t hours = minutes / 60;
    const int64_t days = hours / 24;
    std::string text = days > 0 ? std::to_string(days) + "-" : "";
    if (hours > 0) {
        appendTwoDigits(text, hours % 24);
        text += ':';
    }
    appendTwoDigits(text, minutes % 60);
    text += ':';
    appendTwoDigits(text, seconds % 60);
    return text;
}

std::string cpuPercent(double usedSeconds, double lifetimeSeconds) {
    constexpr double wholeInTenths = 1'000;
    const double share = lifetimeSeconds > 0 ? usedSeconds / lifetimeSeconds * wholeInTenths : 0;
    const auto tenths = static_cast<int64_t>(std::max(share, 0.0));
    const std::string whole = std::to_string(tenths / 10);
    return tenths > 999 ? whole : whole + "." + std::to_string(tenths % 10);
}

} // namespace VintrelCore::ProcText
