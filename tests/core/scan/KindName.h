#pragma once

#include "VintrelCore/model/ProcessKind.h"

#include <optional>
#include <string>

namespace VintrelTests {

/// What a failed comparison of kinds prints.
inline std::string kindName(std::optional<VintrelCore::ProcessKind> kind) {
    return kind ? std::string(VintrelCore::rawValue(*kind)) : "no kind";
}

} // namespace VintrelTests
