#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/command/CLICore.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

constexpr std::string_view ellipsis = "…";

void checkAt(std::string_view text, size_t characters, size_t max) {
    const std::string cut = CLICore::truncate(text, max);
    if (max < 2 || characters <= max) {
        require(cut == text, "what fits stays");
        return;
    }
    require(UnicodeText::characterCount(cut) <= max, "never more characters than asked for");
    require(cut.ends_with(ellipsis), "an ellipsis marks the cut");
    const auto kept = std::string_view(cut).substr(0, cut.size() - ellipsis.size());
    require(text.starts_with(kept), "what is left is the beginning");
    require(!Text::isValidUTF8(text) || Text::isValidUTF8(cut), "no character is torn apart");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = Fuzzing::textOf(data, size);
    const size_t characters = UnicodeText::characterCount(text);
    require(characters <= text.size() && (characters == 0) == text.empty(), "no character without a byte");
    require(UnicodeText::terminalColumns(text) <= 2 * text.size(), "no character wider than two columns");
    for (const size_t max :
         {size_t{0}, size_t{1}, size_t{2}, size_t{3}, size_t{10}, characters, characters + 1}) {
        checkAt(text, characters, max);
    }
    if (characters > 0) {
        checkAt(text, characters, characters - 1);
    }
    if (Text::isValidUTF8(text)) {
        for (const size_t count : {size_t{0}, size_t{1}, characters / 2, characters}) {
            const auto first = UnicodeText::firstCharacters(text, count);
            require(UnicodeText::characterCount(first) == std::min(count, characters),
                    "as many as asked for");
        }
    }
    return 0;
}
