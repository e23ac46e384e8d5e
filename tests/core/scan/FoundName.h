#pragma once

#include "VintrelCore/scan/WhatRuns.h"

#include <array>
#include <cstddef>
#include <string>

namespace VintrelTests {

/// What a failed comparison prints, and what the table says.
inline std::string foundName(VintrelCore::WhatRuns::Found found) {
    constexpr std::array names{"program", "script", "package", "launched", "profile", "nowhere"};
    return names.at(static_cast<size_t>(found));
}

} // namespace VintrelTests
