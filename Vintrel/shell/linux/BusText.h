#pragma once

#include <string_view>

#include <QString>

namespace Vintrel {

/// A text in UTF-8 as it goes onto the bus.
[[nodiscard]] inline QString busText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace Vintrel
