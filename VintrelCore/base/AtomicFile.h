#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Files that are replaced as a whole: a reader, a crash or a full disk never sees half of one.
namespace VintrelCore::AtomicFile {

/// The file that a path stands for: where links lead, even when nothing is there yet. Absent for links in a
/// circle.
[[nodiscard]] std::optional<std::string> target(const std::string& path);

/// Replaces `path` (no link; see `target`) by a file that only the user may read, and makes missing folders,
/// for the user alone. When false is returned, what was there before still is, and nothing else.
[[nodiscard]] bool write(const std::string& path, std::string_view bytes);

/// Removes what writers of `path` left beside it when they were killed. Only for whoever keeps other writers
/// out.
void removeLeftovers(const std::string& path);

} // namespace VintrelCore::AtomicFile
