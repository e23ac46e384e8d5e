#include "VintrelCore/context/SlowMounts.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <iterator>
#include <utility>

#include <unistd.h>

namespace VintrelCore {

namespace {

/// The components of a path, the last one first.
std::vector<std::string> reversedComponents(std::string_view path) {
    std::vector<std::string> components;
    for (const std::string_view component : Text::split(path, '/')) {
        if (!component.empty() && component != ".") {
            components.emplace_back(component);
        }
    }
    std::ranges::reverse(components);
    return components;
}

/// The target of a symbolic link; "" when `path` is not one.
std::string targetOf(const std::string& path) {
    std::array<char, PATH_MAX> target; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by readlink
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    return {target.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

} // namespace

SlowMounts::SlowMounts(std::vector<std::string> points) : m_points(std::move(points)) {
    std::ranges::replace(m_points, "/", "");
}

std::optional<std::string> SlowMounts::holderOf(std::string_view path) const {
    std::optional<std::string> holder;
    for (const std::string& point : m_points) {
        if (Path::isAtOrBelow(path, point) && (!holder || point.size() > holder->size())) {
            holder = point;
        }
    }
    return holder;
}

bool SlowMounts::areReachedFrom(std::string_view path) const {
    constexpr int mostLinks = 40; // as many as the system follows
    std::vector<std::string> ahead = reversedComponents(path);
    std::string current;
    for (int links = 0; !areNone() && !ahead.empty() && links <= mostLinks;) {
        const std::string component = std::move(ahead.back());
        ahead.pop_back();
        if (component == "..") {
            current.resize(std::min(current.rfind('/'), current.size()));
            continue;
        }
        std::string next = current;
        next += '/';
        next += component;
        if (hold(next)) {
            return true;
        }
        const std::string target = targetOf(next);
        if (target.empty()) {
            current = std::move(next);
            continue;
        }
        ++links;
        std::ranges::move(reversedComponents(target), std::back_inserter(ahead));
        if (target.starts_with('/')) {
            current.clear();
        }
    }
    return false;
}

} // namespace VintrelCore
