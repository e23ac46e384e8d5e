#pragma once

#include "cli/Settings.h"

#include <cstdint>

/// The commands that end processes. Each returns the exit status.
namespace EndCommands {

/// Ends the one candidate that was named.
[[nodiscard]] int kill(int32_t pid, const Settings& settings);

/// Ends every safe candidate whose project is not protected.
[[nodiscard]] int clean(const Settings& settings);

} // namespace EndCommands
