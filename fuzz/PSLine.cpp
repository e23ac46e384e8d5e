#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ScanCore.h"
#include "fuzz/Fuzzing.h"

#include <cmath>
#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

void checkFields(const ScanCore::PSLine& fields, std::string_view line) {
    for (const std::string_view field : {fields.etime, fields.tty, fields.pcpu, fields.rss}) {
        require(!field.empty() && field.find_first_of(" \t") == std::string_view::npos,
                "a field is one word");
        require(Fuzzing::liesIn(field, line), "a field is a part of the line");
    }
    require(!fields.args.empty() && Text::trimmedBlanks(fields.args) == fields.args,
            "the command is trimmed");
    require(Text::trimmedBlanks(line).ends_with(fields.args), "the command is the rest of the line");
}

void checkThatSpacingDoesNotMatter(const ScanCore::PSLine& fields, std::string_view line) {
    const std::string padded = " \t" + std::string(line) + "\t ";
    require(ScanCore::parsePSLine(padded) == fields, "blanks around a line change nothing");

    std::string rebuilt = std::to_string(fields.pid) + "\t" + std::to_string(fields.ppid);
    for (const std::string_view field : {fields.etime, fields.tty, fields.pcpu, fields.rss, fields.args}) {
        rebuilt.append(" ").append(field);
    }
    require(ScanCore::parsePSLine(rebuilt) == fields, "a line put together from its fields has those fields");
}

void checkItem(const ScanCore::PSLine& fields, std::string_view line) {
    const auto item = ScanCore::makeItem(line, {});
    require(item.has_value() == ScanCore::detectKind(fields.args).has_value(), "a kind makes a candidate");
    if (!item) {
        return;
    }
    require(item->pid == fields.pid && item->ppid == fields.ppid && item->command == fields.args,
            "a candidate is the line's process");
    require(std::isfinite(item->elapsed) && std::isfinite(item->cpuPercent), "numbers are finite");
    if (item->bucket() == Bucket::safe) {
        require(!item->hasTTY() && item->isOrphan() && item->elapsed >= ScanCore::defaultElapsedThreshold,
                "only strays are safe");
    }
    const auto listening = ScanCore::makeItem(line, {.registeredPIDs = {fields.pid}});
    require(listening && listening->bucket() != Bucket::safe, "a listener is never safe");
}

void checkCustomItem(const ScanCore::PSLine& fields, std::string_view line) {
    const std::vector<CustomRule> rules{{.substring = std::string(fields.args), .label = "mine"}};
    const auto item = ScanCore::makeItem(line, {.customRules = rules});
    require(item && item->kind == ProcessKind::custom && item->displayLabel() == "mine",
            "a rule names the item");
    require(item->riskTier == RiskTier::moderate, "a rule never makes a process safe");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view line = Fuzzing::textOf(data, size);
    if (const auto fields = ScanCore::parsePSLine(line)) {
        checkFields(*fields, line);
        checkThatSpacingDoesNotMatter(*fields, line);
        checkItem(*fields, line);
        checkCustomItem(*fields, line);
    } else {
        require(!ScanCore::makeItem(line, {}), "a line that does not parse makes no candidate");
    }
    return 0;
}
