#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "fuzz/Fuzzing.h"

#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

std::string asciiUppered(std::string_view text) {
    std::string uppered(text);
    for (char& byte : uppered) {
        byte = byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
    }
    return uppered;
}

void checkASCII(const UnicodeText::Needle& needle, std::string_view haystack) {
    const bool found = needle.isIn(haystack);
    // A letter with an accent, so that the haystack is searched by the general way.
    require(needle.isIn(std::string(haystack) + "é") == found, "both ways of searching find the same");
    require(!found || needle.isIn("(" + std::string(haystack) + ")"),
            "a longer text contains what a part contains");
}

} // namespace

/// Input: what to look for, a line feed, and where.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view haystack = Fuzzing::textOf(data, size);
    const std::string_view text = Fuzzing::takeUpTo(haystack, "\n");
    for (const std::string_view language : {"en", "tr", "az", ""}) {
        const UnicodeText::Needle needle(text, language);
        const bool found = needle.isIn(haystack);
        require(!needle.isIn(""), "nothing is found in an empty text");
        require(!text.empty() || !found, "the empty text is found nowhere");
        if (!text.empty() && Text::isValidUTF8(text)) {
            require(needle.isIn(text), "a text contains itself");
        }
        if (!text.empty() && Text::isASCII(text) && Text::isASCII(haystack)) {
            checkASCII(needle, haystack);
        }
    }
    if (!text.empty() && Text::isASCII(text)) {
        require(UnicodeText::Needle(text, "en").isIn(asciiUppered(text)), "case does not matter");
        require(UnicodeText::Needle(asciiUppered(text), "en").isIn(text), "on either side");
    }
    return 0;
}
