#include "VintrelCore/base/Path.h"

#include <algorithm>

namespace VintrelCore::Path {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

std::string_view lastComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    return path.substr(path.rfind('/') + 1); // without a slash: npos + 1 is 0
}

std::string_view parent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return withoutTrailingSlashes(path.substr(0, std::max<size_t>(slash, 1)));
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace VintrelCore::Path
