#include "VintrelCore/platform/ProcText.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ScanCore.h"
#include "fuzz/Fuzzing.h"

#include <cstdint>
#include <string>

using namespace VintrelCore;
using Fuzzing::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(Fuzzing::textOf(data, size));
    constexpr char32_t last = 0x10FFFF; // the C library prints none beyond it
    const auto isPrintable = [](char32_t character) { return character <= last && character % 7 != 0; };

    const std::string command = ProcText::commandLine(text, isPrintable);
    require(Text::isValidUTF8(command), "a command is text");
    require(!command.contains('\n') && !command.contains('\0'), "a command is one line");
    require(Text::trimmedBlanks(command) == command, "a command has no blanks at its ends");
    const std::string name = ProcText::name(text, isPrintable);
    require(Text::isValidUTF8(name) && !name.contains('\n'), "a name is text on one line");

    int64_t seconds = 0;
    for (const char character : text) {
        seconds = (seconds * 31 + static_cast<unsigned char>(character)) % 100'000'000;
    }
    require(ScanCore::parseElapsed(ProcText::elapsed(seconds)) == static_cast<double>(seconds),
            "what is printed of an age is read as that age");
    const std::string share = ProcText::cpuPercent(static_cast<double>(seconds), static_cast<double>(size));
    require(Text::parseDecimal(share).value_or(-1) >= 0, "a share is a number");
    return 0;
}
