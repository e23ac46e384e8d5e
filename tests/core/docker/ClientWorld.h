#pragma once

#include "VintrelCore/platform/Platform.h"
#include "tests/core/context/ReplacedTool.h"

#include <filesystem>
#include <string_view>

#include <sys/mount.h>

namespace VintrelTests {

/// For this process and those that it starts from now on, there is no client of a container engine.
inline void becomeAWorldWithoutClient() {
    haveMountsOfOnesOwn();
    for (const std::string_view candidate : VintrelCore::Platform::dockerCandidates()) {
        if (std::filesystem::exists(candidate)) {
            replaceTool(candidate, "/dev/null"); // it cannot be executed
        }
    }
}

/// The same with this script as the only client.
inline void becomeAWorldWithClient(const std::filesystem::path& script) {
    becomeAWorldWithoutClient();
    const std::filesystem::path place = VintrelCore::Platform::dockerCandidates().front();
    mustWork(::mount("tmpfs", place.parent_path().c_str(), "tmpfs", 0, "mode=755") == 0, "tmpfs");
    std::filesystem::copy_file(script, place);
    std::filesystem::permissions(place, static_cast<std::filesystem::perms>(0755));
}

} // namespace VintrelTests
