#include "VintrelCore/context/SlowMounts.h"
#include "VintrelCore/platform/ProcFiles.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <vector>

using namespace VintrelCore;
using Fuzzing::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(Fuzzing::textOf(data, size));
    std::vector<std::string> points;
    for (const ProcFiles::Mount& mount : ProcFiles::parseMounts(text)) {
        require(mount.point.starts_with('/'), "a mount has an absolute path");
        require(!mount.type.empty() && !mount.type.contains(' '), "a type is a word");
        points.push_back(mount.point);
    }
    const SlowMounts mounts(points);
    for (const std::string& point : points) {
        require(mounts.hold(point) && mounts.hold(point + "/below"), "what is on a mount is known to be");
    }
    const auto holder = mounts.holderOf(text);
    require(!holder || text.starts_with(*holder) || *holder == "/", "a mount is above what is on it");

    const auto found = ProcFiles::parseMounts("1 2 3:4 / /mnt rw - nfs x rw\n" + text);
    require(!found.empty() && found.front().point == "/mnt", "a line spoils no other");
    return 0;
}
