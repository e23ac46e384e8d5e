#include "VintrelCore/command/CLICore.h"
#include "VintrelCore/scan/ScanCore.h"
#include "fuzz/Fuzzing.h"

#include <cmath>
#include <string>

using namespace VintrelCore;
using Fuzzing::require;

/// The form that ps prints, for days, hours, minutes and seconds taken from the input.
static void checkProperForm(std::string_view bytes) {
    const auto at = [bytes](size_t index) {
        return index < bytes.size() ? static_cast<unsigned>(static_cast<unsigned char>(bytes[index])) : 0U;
    };
    const unsigned days = at(0) * 256 + at(1);
    const unsigned hours = at(2) % 24;
    const unsigned minutes = at(3) % 60;
    const unsigned seconds = at(4) % 60;
    const auto twoDigits = [](unsigned number) { return (number < 10 ? "0" : "") + std::to_string(number); };

    const std::string clock = twoDigits(minutes) + ":" + twoDigits(seconds);
    const double ofClock = minutes * 60.0 + seconds;
    require(ScanCore::parseElapsed(clock) == ofClock, "minutes and seconds");

    const std::string longer = twoDigits(hours) + ":" + clock;
    const double ofLonger = hours * 3600.0 + ofClock;
    require(ScanCore::parseElapsed(longer) == ofLonger, "hours too");

    const std::string longest = std::to_string(days) + "-" + longer;
    const double ofLongest = days * 86'400.0 + ofLonger;
    require(ScanCore::parseElapsed(longest) == ofLongest, "days too");
    require(!CLICore::formatElapsed(ofLongest).empty(), "every age has a form for people");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = Fuzzing::textOf(data, size);
    const double seconds = ScanCore::parseElapsed(text);
    require(std::isfinite(seconds), "an age is finite");
    require(ScanCore::parseElapsed(" \t" + std::string(text) + "\n ") == seconds,
            "white space changes nothing");
    checkProperForm(text);
    return 0;
}
