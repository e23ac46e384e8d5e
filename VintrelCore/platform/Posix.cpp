// The parts of the platform that every Unix has in common.
#include "VintrelCore/base/Path.h"
#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>

namespace VintrelCore::Platform {

std::string homeFolder() {
    const char* const configured = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (configured != nullptr && configured[0] == '/') {
        return std::string(Path::withoutTrailingSlashes(configured));
    }
    std::vector<char> buffer(size_t{16} << 10);
    passwd account{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &account, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return {};
    }
    return std::string(Path::withoutTrailingSlashes(account.pw_dir));
}

int32_t currentUserID() {
    return static_cast<int32_t>(::getuid());
}

std::optional<ProcStartTime> startTime(int32_t pid) {
    const auto record = processRecord(pid);
    return record ? std::optional(record->startTime) : std::nullopt;
}

void limitDescriptors() {
    constexpr rlim_t enough = 4'096;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = std::min(enough, limit.rlim_max);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace VintrelCore::Platform
