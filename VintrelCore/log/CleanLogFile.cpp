#include "VintrelCore/log/CleanLogFile.h"

#include "VintrelCore/base/AtomicFile.h"
#include "VintrelCore/base/DamagedFile.h"
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileLock.h"
#include "VintrelCore/log/CleanLog.h"
#include "VintrelCore/platform/Platform.h"

#include <cerrno>
#include <chrono>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::CleanLogFile {

namespace {

constexpr size_t largestFile = size_t{16} << 20; // a thousand events take a fraction of this

/// A writer holds the lock for milliseconds. One that was stopped meanwhile must not stop all others: what
/// they would lose by waiting for ever is certain, what they may lose by going on is not.
constexpr std::chrono::seconds patience{5};

/// What stands in the place of a log.
struct Found {
    enum class Kind { nothing, log, damaged, unreachable };

    Kind kind = Kind::unreachable;
    std::vector<CleanEvent> events{};
    struct stat status{};

    /// Whether it still is what is there. Every write makes a new file.
    [[nodiscard]] bool isStillAt(const std::string& path) const {
        struct stat now{};
        if (::lstat(path.c_str(), &now) != 0) {
            return kind == Kind::nothing && errno == ENOENT;
        }
        return kind != Kind::nothing && now.st_ino == status.st_ino && now.st_dev == status.st_dev &&
               now.st_size == status.st_size && now.st_mtime == status.st_mtime;
    }
};

Found find(const std::string& path) {
    using Kind = Found::Kind;
    Found found;
    if (::lstat(path.c_str(), &found.status) != 0) {
        found.kind = errno == ENOENT ? Kind::nothing : Kind::unreachable;
        return found;
    }
    const auto bytes = File::readOrError(path, largestFile);
    if (auto events = bytes ? decode(*bytes) : std::nullopt) {
        found.kind = Kind::log;
        found.events = *std::move(events);
    } else {
        // A file that this account may not read is as good as damaged; other failures to read it may pass.
        const bool isForGood = bytes || bytes.error() == EACCES || bytes.error() == EFBIG;
        found.kind = S_ISREG(found.status.st_mode) && isForGood ? Kind::damaged : Kind::unreachable;
    }
    return found;
}

/// Puts `events` in the place of what was found there.
bool replace(const std::string& path, const Found& found, std::span<const CleanEvent> events) {
    const auto text = encode(events);
    if (!text || found.kind == Found::Kind::unreachable) {
        return false;
    }
    return found.kind == Found::Kind::damaged ? DamagedFile::replace(path, *text)
                                              : AtomicFile::write(path, *text);
}

/// Replaces the log by what `change` makes of what was found; whether it could.
template <typename Change>
bool rewrite(const std::string& url, const Change& change) {
    const auto path = AtomicFile::target(url);
    if (!path || path->empty()) {
        change({});
        return false;
    }
    // Without the lock (it cannot be had, or somebody keeps it) somebody may write at the same time.
    const auto lock = FileLock::take(*path + ".lock", patience);
    if (lock) {
        AtomicFile::removeLeftovers(*path);
    }
    constexpr int mostAttempts = 5;
    for (int attempt = 1;; ++attempt) {
        const Found found = find(*path);
        const std::vector<CleanEvent> events = change(found);
        if (attempt == mostAttempts || found.isStillAt(*path)) {
            return replace(*path, found, events);
        }
    }
}

} // namespace

std::string defaultURL() {
    const std::string folder = Platform::dataFolder();
    return folder.empty() ? folder : folder + "/Vintrel/clean-log.json";
}

std::vector<CleanEvent> load(const std::string& url, int64_t cap) {
    return loadIfWhole(url, cap).value_or(std::vector<CleanEvent>());
}

std::optional<std::vector<CleanEvent>> loadIfWhole(const std::string& url, int64_t cap) {
    const auto bytes = File::readOrError(url, largestFile);
    if (!bytes) {
        return bytes.error() == ENOENT ? std::optional(std::vector<CleanEvent>()) : std::nullopt;
    }
    auto events = decode(*bytes);
    return events ? std::optional(CleanLog::capped(*std::move(events), cap)) : std::nullopt;
}

bool save(std::span<const CleanEvent> events, const std::string& url) {
    return rewrite(url,
                   [events](const Found&) { return std::vector<CleanEvent>(events.begin(), events.end()); });
}

Appended append(std::span<const CleanEvent> newEvents, const std::string& url, int64_t cap,
                std::span<const CleanEvent> insteadOfDamaged) {
    Appended appended;
    appended.isSaved = rewrite(url, [&](const Found& found) {
        std::vector<CleanEvent> events = found.events;
        if (found.kind == Found::Kind::damaged) {
            events.assign(insteadOfDamaged.begin(), insteadOfDamaged.end());
        }
        events.insert(events.end(), newEvents.begin(), newEvents.end());
        appended.events = CleanLog::capped(std::move(events), cap);
        return appended.events;
    });
    return appended;
}

} // namespace VintrelCore::CleanLogFile
