#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>

#include <locale.h>
#if __has_include(<xlocale.h>)
#include <xlocale.h> // strtod_l stands here where locale.h does not declare it
#endif

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace VintrelCore::Text {

namespace {

std::string_view trimmedOf(std::string_view text, std::string_view unwanted) {
    const auto first = text.find_first_not_of(unwanted);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(unwanted) - first + 1);
}

} // namespace

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view asciiSpace = " \t\n\v\f\r";
    text = trimmedOf(text, asciiSpace);
    const auto* const bytes = reinterpret_cast<const uint8_t*>(text.data());
    int32_t first = 0;
    auto last = static_cast<int32_t>(text.size());
    while (first < last) {
        int32_t next = first;
        UChar32 character = 0;
        U8_NEXT(bytes, next, last, character);
        if (character < 0 || !u_isUWhiteSpace(character)) {
            break;
        }
        first = next;
    }
    while (last > first) {
        int32_t previous = last;
        UChar32 character = 0;
        U8_PREV(bytes, first, previous, character);
        if (character < 0 || !u_isUWhiteSpace(character)) {
            break;
        }
        last = previous;
    }
    return text.substr(static_cast<size_t>(first), static_cast<size_t>(last - first));
}

std::string_view trimmedBlanks(std::string_view text) {
    return trimmedOf(text, " \t");
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const auto end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::optional<std::string_view> takeLine(std::string_view& rest) {
    const auto start = rest.find_first_not_of('\n');
    if (start == std::string_view::npos) {
        rest = {};
        return std::nullopt;
    }
    rest.remove_prefix(start);
    const auto line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(line.size());
    return line;
}

std::string_view takeWord(std::string_view& rest, std::string_view blanks) {
    // Loops in place of find_first_of, which calls a function for every character: this takes apart every
    // line of ps.
    const auto isBlank = [blanks](char byte) {
        bool found = false;
        for (const char blank : blanks) {
            found = found || byte == blank;
        }
        return found;
    };
    const char* const end = rest.data() + rest.size();
    const char* const start = std::find_if_not(rest.data(), end, isBlank);
    const char* const stop = std::find_if(start, end, isBlank);
    rest = {stop, end};
    return {start, stop};
}

std::string asciiLowered(std::string_view text) {
    std::string lowered(text);
    for (char& byte : lowered) {
        // Branch-free, so that the compiler can do many bytes at once: this runs over every command line.
        const bool isCapital = static_cast<unsigned char>(byte - 'A') < 26;
        byte = static_cast<char>(byte | (isCapital ? 0x20 : 0));
    }
    return lowered;
}

bool isASCII(std::string_view text) {
    unsigned char all = 0;
    for (const char byte : text) {
        all |= static_cast<unsigned char>(byte);
    }
    return all < 0x80;
}

bool isValidUTF8(std::string_view bytes) {
    constexpr size_t block = 4096; // ASCII is checked block by block; only the others pay for decoding
    const auto* const data = reinterpret_cast<const uint8_t*>(bytes.data());
    size_t position = 0;
    while (position < bytes.size()) {
        const size_t length = std::min(block, bytes.size() - position);
        if (isASCII(bytes.substr(position, length))) {
            position += length;
            continue;
        }
        const size_t end = position + length;
        while (position < end) {
            UChar32 character = 0;
            U8_NEXT(data, position, bytes.size(), character);
            if (character < 0) {
                return false;
            }
        }
    }
    return true;
}

std::string_view withoutCutCharacter(std::string_view bytes) {
    const auto* const data = reinterpret_cast<const uint8_t*>(bytes.data());
    std::ptrdiff_t length =
        std::ssize(bytes); // signed: the macro looks at what stands before, by subtraction
    U8_TRUNCATE_IF_INCOMPLETE(data, std::ptrdiff_t{0}, length);
    return bytes.substr(0, static_cast<size_t>(length));
}

std::optional<double> parseDecimal(std::string_view text) {
    const bool isPlain = text.find_first_not_of("0123456789.+-eE") == std::string_view::npos;
    std::array<char, 64> terminated{};
    if (text.empty() || !isPlain || text.size() >= terminated.size()) {
        return std::nullopt;
    }
    std::ranges::copy(text, terminated.begin());
    // libstdc++ 12 reads doubles with from_chars, libc++ 17 does not.
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    char* stop = nullptr;
    const double value = strtod_l(terminated.data(), &stop, cLocale);
    if (stop != terminated.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace VintrelCore::Text
