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

namespace {

constexpr rlim_t mostDescriptors = 4'096;

} // namespace

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
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur > mostDescriptors) {
        limit.rlim_cur = mostDescriptors;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

MoreDescriptors::MoreDescriptors(size_t count) {
    constexpr rlim_t others = 256; // those that the program has anyway, or needs for a moment
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || others + count <= limit.rlim_cur) {
        return;
    }
    const rlim_t usual = limit.rlim_cur;
    limit.rlim_cur = std::min(mostDescriptors, limit.rlim_max);
    if (limit.rlim_cur > usual && ::setrlimit(RLIMIT_NOFILE, &limit) == 0) {
        m_usual = usual;
    }
}

MoreDescriptors::~MoreDescriptors() {
    rlimit limit{};
    if (m_usual && ::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = *m_usual;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace VintrelCore::Platform
