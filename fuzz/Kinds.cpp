#include "VintrelCore/base/Text.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/RunnerShells.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ToldText.h"
#include "fuzz/Fuzzing.h"

#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

/// The rules of a token's surroundings, one by one.
bool standsAlone(std::string_view text, const std::string& token) {
    return text.starts_with(token + " ") || text == token || text.contains("/" + token + " ") ||
           text.ends_with("/" + token) || text.contains("." + token + ".") || text.ends_with("." + token) ||
           text.contains(" " + token + " ") || text.ends_with(" " + token);
}

void checkRunner(std::string_view command) {
    const bool isTold = ToldText::isToldText(command);
    require(!isTold || !RunnerShells::isPackageRunner(command), "a shell is no package runner");
    require(!isTold || command.contains(" -"), "a shell is told by an option");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view command = Fuzzing::textOf(data, size);
    const auto kind = ScanCore::detectKind(command);
    require(ScanCore::detectKind(Text::asciiLowered(command)) == kind, "case does not matter");
    require(kind != ProcessKind::custom, "only the user's rules make custom kinds");
    if (kind) {
        require(ProcessKinds::fromRawValue(rawValue(*kind)) == kind, "a kind's name is that kind's");
    }
    for (const char* const token : {"vite", "node", "--watch"}) {
        require(ScanCore::hasTokenBoundary(command, token) == standsAlone(command, token),
                "the rules of a token");
    }
    checkRunner(command);
    const ProcessItem item{.command = std::string(command)};
    require(item.displayPath().size() <= command.size(), "a short form is short");
    return 0;
}
