#include "VintrelCore/platform/ProcFiles.h"
#include "VintrelCore/scan/ControlGroup.h"
#include "fuzz/Fuzzing.h"

#include <string>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

void checkPath(const std::string& path) {
    const auto unit = ControlGroup::unitOf(path);
    if (unit.name.empty()) {
        require(!unit.belongsToUserManager, "without a unit there is no owner of one");
        return;
    }
    require(Fuzzing::liesIn(unit.name, path) && !unit.name.contains('/'),
            "a unit is a component of the path");
    require(unit.name.ends_with(".service") || unit.name.ends_with(".scope"),
            "a unit is a service or a scope");
    require(!unit.belongsToUserManager || path.contains("user@"),
            "a user's unit stands below a user's manager");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(Fuzzing::textOf(data, size));
    const std::string path = ProcFiles::parseControlGroup(text);
    require(!path.contains('\n') && text.contains(path), "a path is a part of a line");
    checkPath(path);
    require(!ControlGroup::isInContainer(path, path), "what surrounds this program as well is no container");
    const bool inContainer = ControlGroup::isInContainer(path, "");
    require(ControlGroup::isInContainer(path, "/") == inContainer, "the root surrounds everything");

    const std::string systemds = "1:name=systemd:/init.scope\n";
    require(ProcFiles::parseControlGroup(systemds + text) == "/init.scope",
            "systemd's own hierarchy goes first");
    return 0;
}
