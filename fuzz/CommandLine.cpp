#include "VintrelCore/base/Text.h"
#include "VintrelCore/command/CLICore.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <string>
#include <vector>

using namespace VintrelCore;
using Fuzzing::require;

/// Input: an argument on each line.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest = Fuzzing::textOf(data, size);
    std::vector<std::string> arguments;
    while (!rest.empty()) {
        arguments.emplace_back(Fuzzing::takeUpTo(rest, "\n"));
    }
    const auto parsed = CLICore::parse(arguments);
    using Name = CLICore::Command::Name;
    if (!parsed) {
        require(!arguments.empty(), "no arguments are no mistake");
        const std::string& fault = parsed.error().text;
        const bool isMissing = parsed.error().reason == CLICore::ParseError::Reason::missingPID;
        require(isMissing ? fault.empty() : std::ranges::find(arguments, fault) != arguments.end(),
                "the word at fault is one that was typed");
        require(CLICore::message(parsed.error()).contains(fault), "a message names it");
        return 0;
    }
    require((parsed->pid >= 1) == (parsed->name == Name::kill), "only kill has a pid");
    require(!parsed->safeOnly || parsed->name == Name::list, "only list is limited");
    if (parsed->name == Name::kill) {
        require(arguments.size() == 2 && Text::parseInteger<int32_t>(arguments[1]) == parsed->pid,
                "the one asked for");
    }
    return 0;
}
