#include "VintrelCore/base/UnicodeText.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>
#include <unicode/utypes.h>

namespace VintrelCore::UnicodeText {

namespace {

/// The code point at `position`, which moves past it; a negative one for a byte that is no UTF-8.
UChar32 takeCodePoint(std::string_view text, size_t& position) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(text.data());
    UChar32 codePoint = 0;
    U8_NEXT(bytes, position, text.size(), codePoint);
    return codePoint;
}

/// Whether the code point is a character by itself beside any other of this kind. Spares the text of almost
/// every table the opening of a break iterator.
bool standsAlone(UChar32 codePoint) {
    constexpr UChar32 firstCombining = 0x300;
    const bool isPunctuation =
        codePoint >= 0x2010 && codePoint <= 0x2027; // dashes, quotation marks, the ellipsis
    return codePoint >= 0 && codePoint != '\r' && (codePoint < firstCombining || isPunctuation);
}

struct Prefix {
    size_t characters = 0;
    size_t bytes = 0;
};

/// The longest run of whole characters from the start of `text`, at most `limit` of them.
Prefix prefixOf(std::string_view text, size_t limit) {
    Prefix prefix;
    size_t position = 0;
    while (position < text.size() && prefix.characters < limit) {
        if (!standsAlone(takeCodePoint(text, position))) {
            break;
        }
        prefix = {.characters = prefix.characters + 1, .bytes = position};
    }
    if (prefix.bytes == text.size()) {
        return prefix;
    }
    if (prefix.characters == limit) {
        size_t next = prefix.bytes;
        if (standsAlone(takeCodePoint(text, next))) {
            return prefix;
        }
    }

    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    UText* const utf8 = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    if (U_FAILURE(status)) { // no Unicode data to ask: bytes are the best guess
        return {.characters = std::min(limit, text.size()), .bytes = std::min(limit, text.size())};
    }
    breaks->setText(utf8, status);
    prefix = {};
    for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE && prefix.characters < limit;
         end = breaks->next()) {
        prefix = {.characters = prefix.characters + 1, .bytes = static_cast<size_t>(end)};
    }
    utext_close(utf8);
    return prefix;
}

bool isCombining(const std::u16string& text, size_t position) {
    const icu::UnicodeString view(/*isTerminated=*/false, text.data(), static_cast<int32_t>(text.size()));
    return u_getCombiningClass(view.char32At(static_cast<int32_t>(position))) != 0;
}

} // namespace

size_t characterCount(std::string_view text) {
    return prefixOf(text, std::numeric_limits<size_t>::max()).characters;
}

std::string_view firstCharacters(std::string_view text, size_t count) {
    return text.substr(0, prefixOf(text, count).bytes);
}

std::string printable(std::string_view text) {
    std::string shown;
    size_t position = 0;
    while (position < text.size()) {
        const size_t start = position;
        const UChar32 codePoint = takeCodePoint(text, position);
        const bool isBreak =
            (codePoint >= '\t' && codePoint <= '\r') || codePoint == 0x2028 || codePoint == 0x2029;
        const bool isObeyed = codePoint < 0 || u_charType(codePoint) == U_CONTROL_CHAR ||
                              u_hasBinaryProperty(codePoint, UCHAR_BIDI_CONTROL) != 0;
        shown += isBreak ? " " : isObeyed ? "?" : text.substr(start, position - start);
    }
    return shown;
}

size_t terminalColumns(std::string_view text) {
    constexpr UChar32 firstCombining = 0x300; // and there are no wide ones before it
    size_t columns = 0;
    size_t position = 0;
    while (position < text.size()) {
        const UChar32 codePoint = takeCodePoint(text, position);
        const bool takesNone =
            u_hasBinaryProperty(codePoint, UCHAR_GRAPHEME_EXTEND) != 0 ||
            u_charType(codePoint) == U_FORMAT_CHAR; // such as the joiner of an emoji family
        if (codePoint >= firstCombining && takesNone) {
            continue;
        }
        const auto width = u_getIntPropertyValue(codePoint, UCHAR_EAST_ASIAN_WIDTH);
        columns += (width == U_EA_WIDE || width == U_EA_FULLWIDTH) ? 2 : 1;
    }
    return columns;
}

std::string userLanguage() {
    return icu::Locale::getDefault().getLanguage();
}

Needle::Needle(std::string_view text, std::string_view language)
    : m_keepsDottedI(language == "tr" || language == "az"), m_folded(folded(text)) {
    const bool isTouchedByTheI = m_keepsDottedI && text.find_first_of("iI") != std::string_view::npos;
    if (Text::isASCII(text) && !isTouchedByTheI) {
        m_plain = Text::asciiLowered(text);
    }
}

std::u16string Needle::folded(std::string_view text) const {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const composing = icu::Normalizer2::getNFCInstance(status);
    auto result = icu::UnicodeString::fromUTF8(text);
    if (U_SUCCESS(status)) {
        // Composed first, too: a dotted I in two parts must fold as one letter.
        result = composing->normalize(result, status);
        result.foldCase(m_keepsDottedI ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT);
        result = composing->normalize(result, status);
    }
    return {result.getBuffer(), static_cast<size_t>(result.length())};
}

bool Needle::isIn(std::string_view haystack) const {
    if (m_folded.empty()) {
        return false;
    }
    if (!m_plain.empty() && Text::isASCII(haystack)) {
        const auto same = [](char left, char right) {
            const bool isCapital = static_cast<unsigned char>(left - 'A') < 26;
            return static_cast<char>(left | (isCapital ? 0x20 : 0)) == right;
        };
        return !std::ranges::search(haystack, m_plain, same).empty();
    }
    const std::u16string text = folded(haystack);
    for (size_t start = text.find(m_folded); start != std::u16string::npos;
         start = text.find(m_folded, start + 1)) {
        const size_t end = start + m_folded.size();
        const bool cutsIntoStart = start > 0 && isCombining(text, start);
        const bool cutsIntoEnd = end < text.size() && isCombining(text, end);
        if (!cutsIntoStart && !cutsIntoEnd) {
            return true;
        }
    }
    return false;
}

} // namespace VintrelCore::UnicodeText
