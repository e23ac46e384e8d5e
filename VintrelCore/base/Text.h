#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Plain text work that needs no Unicode tables: trimming, splitting, numbers, ASCII case, UTF-8 validity.
namespace VintrelCore::Text {

/// Without Unicode white space (line breaks included) at both ends. A view into `text`.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// Without spaces and tabs at both ends. A view into `text`.
[[nodiscard]] std::string_view trimmedBlanks(std::string_view text);

/// The pieces between separators; empty pieces are kept, so there is always at least one. Views into `text`.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

/// Takes the next line that is not empty off the front of `rest`; absent when there is none left.
[[nodiscard]] std::optional<std::string_view> takeLine(std::string_view& rest);

/// Takes the next run of characters that are no `blanks` off the front of `rest`; "" when there is none left.
[[nodiscard]] std::string_view takeWord(std::string_view& rest, std::string_view blanks = " ");

/// With A to Z made small; everything else, other scripts included, stays.
[[nodiscard]] std::string asciiLowered(std::string_view text);

[[nodiscard]] bool isASCII(std::string_view text);
[[nodiscard]] bool isValidUTF8(std::string_view bytes);

/// `bytes` without a character that was cut off at the end; for output that stopped in the middle.
[[nodiscard]] std::string_view withoutCutCharacter(std::string_view bytes);

/// A decimal number with a point, whatever the locale; absent for anything else, infinities and hexadecimals
/// included.
[[nodiscard]] std::optional<double> parseDecimal(std::string_view text);

/// A decimal integer with an optional sign; absent for anything else, an overflow included.
template <std::signed_integral Integer>
[[nodiscard]] std::optional<Integer> parseInteger(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    Integer value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

} // namespace VintrelCore::Text
