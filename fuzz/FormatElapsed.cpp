#include "VintrelCore/base/Text.h"
#include "VintrelCore/command/CLICore.h"
#include "fuzz/Fuzzing.h"

#include <bit>
#include <cmath>
#include <string>

using namespace VintrelCore;
using Fuzzing::require;

/// Input: eight bytes of a number, or a number in digits.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    uint64_t bits = 0;
    for (size_t index = 0; index < size && index < sizeof bits; ++index) {
        bits |= uint64_t{data[index]} << (8 * index);
    }
    const double seconds =
        Text::parseDecimal(Fuzzing::textOf(data, size)).value_or(std::bit_cast<double>(bits));
    if (!std::isfinite(seconds)) {
        return 0;
    }
    const std::string text = CLICore::formatElapsed(seconds);
    require(text.find_first_not_of("-0123456789smhd ") == std::string::npos,
            "digits and units, nothing else");
    require(!text.empty() && std::string_view("smh").contains(text.back()), "a unit stands at the end");
    if (seconds >= 0 && seconds < 60) {
        require(text == std::to_string(static_cast<int>(seconds)) + "s", "whole seconds up to a minute");
    }
    require(CLICore::formatRSS(static_cast<int64_t>(bits)).ends_with('B'), "every size has a unit");
    return 0;
}
