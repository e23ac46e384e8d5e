#include "VintrelCore/base/Text.h"

#include "VintrelCore/base/Path.h"
#include "fuzz/Fuzzing.h"

#include <cmath>
#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

/// The length of the character that the bytes start with, by the definition of UTF-8; 0 when it is none.
size_t characterLength(std::string_view bytes) {
    const auto at = [bytes](size_t index) {
        return index < bytes.size() ? static_cast<unsigned>(static_cast<unsigned char>(bytes[index])) : 0U;
    };
    const size_t length = at(0) < 0x80   ? 1
                          : at(0) < 0xC0 ? 0
                          : at(0) < 0xE0 ? 2
                          : at(0) < 0xF0 ? 3
                          : at(0) < 0xF8 ? 4
                                         : 0;
    if (length < 2) {
        return length;
    }
    unsigned codePoint = at(0) & (0x7FU >> length);
    for (size_t index = 1; index < length; ++index) {
        if ((at(index) & 0xC0) != 0x80) {
            return 0;
        }
        codePoint = codePoint << 6 | (at(index) & 0x3F);
    }
    const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
    const unsigned least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    return codePoint < least || codePoint > 0x10FFFF || isSurrogate ? 0 : length;
}

bool isValidByDefinition(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t length = characterLength(bytes);
        if (length == 0) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

void checkTrimming(std::string_view text) {
    for (const std::string_view trimmed : {Text::trimmed(text), Text::trimmedBlanks(text)}) {
        require(trimmed.empty() || Fuzzing::liesIn(trimmed, text), "a view into the text");
    }
    require(Text::trimmed(Text::trimmed(text)) == Text::trimmed(text), "trimming twice changes nothing");
    require(Text::trimmed(" \n" + std::string(text) + "\t\u00a0") == Text::trimmed(text), "white space goes");
}

void checkPieces(std::string_view text) {
    std::string joined;
    size_t count = 0;
    for (const std::string_view piece : Text::split(text, ':')) {
        joined.append(count++ == 0 ? "" : ":").append(piece);
    }
    require(joined == text && count > 0, "the pieces make up the text");
    std::string_view rest = text;
    while (const auto line = Text::takeLine(rest)) {
        require(!line->empty() && !line->contains('\n'), "a line is not empty");
    }
    require(rest.empty(), "no line is left out");
}

void checkNumbers(std::string_view text) {
    if (const auto value = Text::parseDecimal(text)) {
        require(std::isfinite(*value), "a decimal is finite");
    }
    const auto small = Text::parseInteger<int32_t>(text);
    const auto large = Text::parseInteger<int64_t>(text);
    require(!small || large == int64_t{*small}, "both widths agree");
    if (small) {
        require(Text::parseInteger<int32_t>(std::to_string(*small)) == small,
                "a number's digits are that number");
        require(Text::parseDecimal(text.size() < 64 ? text : "0").has_value(), "an integer is a decimal");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = Fuzzing::textOf(data, size);
    const bool isValid = isValidByDefinition(text);
    require(Text::isValidUTF8(text) == isValid, "validity as UTF-8 is defined");
    const std::string far = std::string(4'094, 'x') + std::string(text); // characters across the block's end
    require(Text::isValidUTF8(far) == isValid, "wherever the text stands");
    const auto whole = Text::withoutCutCharacter(text);
    require(text.starts_with(whole) && text.size() - whole.size() < 4, "at most one character is cut off");
    require(!isValid || whole == text, "a whole character stays");

    checkTrimming(text);
    checkPieces(text);
    checkNumbers(text);
    require(Path::lastComponent(text).find('/') == std::string_view::npos, "a component holds no slash");
    require(Path::parent(text).size() <= std::max<size_t>(text.size(), 1),
            "a parent is no longer than its child");
    return 0;
}
