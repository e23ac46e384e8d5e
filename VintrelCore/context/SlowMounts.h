#pragma once

#include "VintrelCore/platform/Platform.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// Mount points of file systems that may never answer. Accessing a file below one can block forever.
class SlowMounts {
public:
    /// By default, those mounted at the moment.
    explicit SlowMounts(std::vector<std::string> points = Platform::mountsThatMayHang());

    /// The innermost of them that contains `path`, which must be free of symbolic links; absent when there is
    /// none. Does not access the file system.
    [[nodiscard]] std::optional<std::string> holderOf(std::string_view path) const;

    [[nodiscard]] bool hold(std::string_view path) const { return holderOf(path).has_value(); }

    /// Whether resolving `path` leads onto one of them. Stops before it would access that mount.
    [[nodiscard]] bool areReachedFrom(std::string_view path) const;

    [[nodiscard]] bool areNone() const { return m_points.empty(); }

private:
    std::vector<std::string> m_points; // "" for the root
};

} // namespace VintrelCore
