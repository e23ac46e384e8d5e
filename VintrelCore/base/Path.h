#pragma once

#include <string_view>

/// Paths as text: nothing here asks the file system.
namespace VintrelCore::Path {

/// A view into `path`; the root stays "/".
[[nodiscard]] std::string_view withoutTrailingSlashes(std::string_view path);

/// The last component, whatever slashes stand behind it; "" for "" and for the root.
[[nodiscard]] std::string_view lastComponent(std::string_view path);

/// The path without its last component and the slashes before it; "/" for a child of the root and for the
/// root,
/// "" when there is no slash. A view into `path`.
[[nodiscard]] std::string_view parent(std::string_view path);

/// Whether `path` is `folder` or lies below it, by whole components. `folder` has no slash at its end.
[[nodiscard]] bool isAtOrBelow(std::string_view path, std::string_view folder);

} // namespace VintrelCore::Path
