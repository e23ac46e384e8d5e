#include "VintrelCore/platform/ProcFiles.h"
#include "fuzz/Fuzzing.h"

#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

/// A whole record around a name and what it says: the fields between are made up.
std::string record(std::string_view name, char state, int32_t session, uint64_t ticks) {
    return "4711 (" + std::string(name) + ") " + state + " 1 2 " + std::to_string(session) +
           " 0 -1 4194560 5 0 0 0 7 8 0 0 20 0 11 0 " + std::to_string(ticks) + " 1153433600 2048 0 0\n";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = Fuzzing::textOf(data, size);
    if (const auto stat = ProcFiles::parseStat(text)) {
        require(text.contains(stat->state), "the state stands in the record");
        if (stat->startTicks <= static_cast<uint64_t>(INT64_MAX)) {
            const auto again =
                ProcFiles::parseStat(record("x", stat->state, stat->sessionID, stat->startTicks));
            require(again && again->state == stat->state && again->sessionID == stat->sessionID &&
                        again->startTicks == stat->startTicks,
                    "a record with these fields says the same");
        }
    }
    const auto stat = ProcFiles::parseStat(record(text, 'S', 3, 12'345));
    require(stat && stat->state == 'S' && stat->sessionID == 3 && stat->startTicks == 12'345,
            "no name shifts the fields behind it");
    return 0;
}
