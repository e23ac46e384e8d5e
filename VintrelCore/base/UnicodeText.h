#pragma once

#include <cstddef>
#include <functional>
#include <ranges>
#include <string>
#include <string_view>
#include <vector>

/// Text as people read it: characters are grapheme clusters, and searching disregards case in the user's
/// locale.
namespace VintrelCore::UnicodeText {

/// How many characters a reader sees: an emoji family, or a letter with its accents, is one.
[[nodiscard]] size_t characterCount(std::string_view text);

/// The first `count` characters, or all when there are fewer. A view into `text`.
[[nodiscard]] std::string_view firstCharacters(std::string_view text, size_t count);

/// The text with a blank in place of tabs and line breaks, and "?" in place of other control characters, of
/// marks that turn the writing direction, and of bytes that are no UTF-8: what a terminal would obey rather
/// than show.
[[nodiscard]] std::string printable(std::string_view text);

/// How many columns of a terminal the text takes: wide characters take two, combining ones none.
[[nodiscard]] size_t terminalColumns(std::string_view text);

/// The language of the user's locale, as a lower-case ISO 639 code; "" when the locale names none.
[[nodiscard]] std::string userLanguage();

/// A text to look for inside others, prepared once.
///
/// Two texts match when their case foldings are canonically equivalent: "STRASSE" finds "straße", and "é"
/// finds its two-part spelling. A match never takes a letter without its accents, so "e" does not find "é".
/// In Turkish and Azeri the dotted and the dotless i are different letters; elsewhere "i" and "I" are one,
/// and "İ" is neither.
class Needle {
public:
    explicit Needle(std::string_view text, std::string_view language = userLanguage());

    /// Whether `haystack` contains the needle. Nothing contains the empty needle.
    [[nodiscard]] bool isIn(std::string_view haystack) const;

private:
    [[nodiscard]] std::u16string folded(std::string_view text) const;

    bool m_keepsDottedI;
    std::string m_plain;     // lower-cased; "" unless ASCII may be compared byte by byte
    std::u16string m_folded; // the general form; "" for the empty needle
};

/// Needles for the texts that `projection` takes from each entry, in order.
template <typename Range, typename Projection = std::identity>
[[nodiscard]] std::vector<Needle> needles(const Range& entries, Projection projection = {}) {
    std::vector<Needle> prepared;
    if (!std::ranges::empty(entries)) {
        const std::string language = userLanguage();
        for (const auto& entry : entries) {
            prepared.emplace_back(std::invoke(projection, entry), language);
        }
    }
    return prepared;
}

} // namespace VintrelCore::UnicodeText
