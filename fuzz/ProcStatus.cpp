#include "VintrelCore/platform/ProcFiles.h"
#include "fuzz/Fuzzing.h"

#include <string>

using namespace VintrelCore;
using Fuzzing::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(Fuzzing::textOf(data, size));
    const auto userID = ProcFiles::parseUserID(text);
    require(!userID || text.contains("Uid:"), "an id stands behind its name");
    require(ProcFiles::parseUserID("Name:\tx\nUid:\t1000\t0\t0\t0\n" + text) == 1000,
            "the first line of ids counts");
    require(ProcFiles::parseUserID("Name:\tx\nGid:\t5\t5\t5\t5\n" + text) == userID, "other lines do not");
    return 0;
}
