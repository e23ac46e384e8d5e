#pragma once

#include <string>
#include <string_view>

/// Files that cannot be understood and are in the way of good ones.
namespace VintrelCore::DamagedFile {

/// Replaces the file at `path` as `AtomicFile::write` does, and keeps it beside its place as "NAME.damaged"
/// (or with a number behind that). When false is returned, all is as it was.
[[nodiscard]] bool replace(const std::string& path, std::string_view bytes);

/// Where `replace` keeps the first one.
[[nodiscard]] std::string nameBeside(const std::string& path);

} // namespace VintrelCore::DamagedFile
