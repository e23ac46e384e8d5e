#pragma once

#include "VintrelCore/platform/Platform.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// Mounts that may never answer: whoever looks at a file there may wait for ever.
class SlowMounts {
public:
    /// By default those of the system as it is now.
    explicit SlowMounts(std::vector<std::string> points = Platform::mountsThatMayHang());

    /// The one that a path without links is on, the innermost of several; absent for none. Looks at nothing.
    [[nodiscard]] std::optional<std::string> holderOf(std::string_view path) const;

    [[nodiscard]] bool hold(std::string_view path) const { return holderOf(path).has_value(); }

    /// Whether following the links in a path gets to one of them. Looks at what is before it, and no further.
    [[nodiscard]] bool areReachedFrom(std::string_view path) const;

    [[nodiscard]] bool areNone() const { return m_points.empty(); }

private:
    std::vector<std::string> m_points; // "" for the root
};

} // namespace VintrelCore
