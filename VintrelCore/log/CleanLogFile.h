#pragma once

#include "VintrelCore/log/CleanEvent.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The clean log on disk: a JSON array of events, oldest first, one file per user.
///
/// A write replaces the whole file or nothing of it. Writers hold a lock on a file beside the log while they
/// read and replace it. A file that is no log is kept beside it as "clean-log.json.damaged" (or with a number
/// behind that) before a log takes its place. A log that is a link is read and written where the link leads.
namespace VintrelCore::CleanLogFile {

/// The most events that are kept.
inline constexpr int64_t retentionCap = 1'000;

/// Where the user's log stands; "" without a home.
[[nodiscard]] std::string defaultURL();

/// The newest `cap` events in the file, oldest first. Empty when there is none, or when it cannot be read or
/// is damaged: then the whole of it counts as empty.
[[nodiscard]] std::vector<CleanEvent> load(const std::string& url, int64_t cap);

/// The same; absent when there is a file that cannot be read or is damaged.
[[nodiscard]] std::optional<std::vector<CleanEvent>> loadIfWhole(const std::string& url, int64_t cap);

/// Replaces the log. When false is returned, the file is what it was before.
bool save(std::span<const CleanEvent> events, const std::string& url);

struct Appended {
    std::vector<CleanEvent> events; ///< what the log holds now, or should have held
    bool isSaved = false;           ///< false when it could not be written, and the file is what it was
};

/// Adds events to what the file holds now, and keeps the newest `cap`. `insteadOfDamaged` is what a damaged
/// file is taken to have held.
Appended append(std::span<const CleanEvent> newEvents, const std::string& url, int64_t cap,
                std::span<const CleanEvent> insteadOfDamaged = {});

// The form of the file.

/// The text of a log; absent when a date has no such form.
[[nodiscard]] std::optional<std::string> encode(std::span<const CleanEvent> events);

/// The events of a log's text, in its order; absent when anything in it is no event.
[[nodiscard]] std::optional<std::vector<CleanEvent>> decode(std::string_view text);

} // namespace VintrelCore::CleanLogFile
