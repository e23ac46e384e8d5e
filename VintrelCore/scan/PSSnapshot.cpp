#include "VintrelCore/base/Shell.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"

#include <array>

namespace VintrelCore::ScanCore {

Shell::Command psCommand() {
    constexpr std::chrono::seconds deadline{5};
    // Every process of every user, lines uncut, no heading.
    return {.executable = Platform::psPath(),
            .arguments = {"-axww", "-o", "pid=,ppid=,etime=,tty=,pcpu=,rss=,args="},
            .deadline = deadline};
}

std::string runPS() {
    return Shell::runToOutcome(psCommand()).output;
}

std::optional<PSLine> parsePSLine(std::string_view line) {
    constexpr std::string_view blanks = " \t";
    line = Text::trimmedBlanks(line);
    std::array<std::string_view, 6> fields;
    for (std::string_view& field : fields) {
        field = Text::takeWord(line, blanks);
    }
    const std::string_view args = Text::trimmedBlanks(line);
    const auto pid = Text::parseInteger<int32_t>(fields[0]);
    const auto ppid = Text::parseInteger<int32_t>(fields[1]);
    if (args.empty() || !pid || !ppid) {
        return std::nullopt;
    }
    return PSLine{.pid = *pid,
                  .ppid = *ppid,
                  .etime = fields[2],
                  .tty = fields[3],
                  .pcpu = fields[4],
                  .rss = fields[5],
                  .args = args};
}

double parseElapsed(std::string_view etime) {
    const auto number = [](std::string_view text) {
        return static_cast<double>(Text::parseInteger<int64_t>(text).value_or(0));
    };
    std::string_view clock = Text::trimmed(etime);
    double days = 0;
    if (const auto hyphen = clock.find('-'); hyphen != std::string_view::npos) {
        days = number(clock.substr(0, hyphen));
        clock.remove_prefix(hyphen + 1);
    }
    double seconds = 0;
    int pieces = 0; // hours, minutes, seconds, the first ones left out when zero
    for (size_t end = 0; end != std::string_view::npos; ++pieces) {
        end = clock.find(':');
        seconds = seconds * 60 + number(clock.substr(0, end));
        clock.remove_prefix(end == std::string_view::npos ? clock.size() : end + 1);
    }
    if (pieces > 3) {
        seconds = 0;
    }
    return days * 24 * 60 * 60 + seconds;
}

} // namespace VintrelCore::ScanCore
