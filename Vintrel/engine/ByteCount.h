#pragma once

#include <cstdint>
#include <string>

namespace Vintrel {

/// An amount of memory for people, as the user's locale writes it: units of 1,024, no fraction below a
/// megabyte and one digit of it above. "0 bytes" for negative amounts.
[[nodiscard]] std::string memoryText(int64_t bytes);

/// The same for KiB; amounts that are too large for bytes count as the largest.
[[nodiscard]] std::string memoryTextOfKB(int64_t kibibytes);

} // namespace Vintrel
