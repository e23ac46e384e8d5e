#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include <spawn.h>

/// Where the operating systems differ in starting a child. Internal to platform/.
namespace VintrelCore::Platform {

/// A pipe, reading end first, closed when a program is executed.
[[nodiscard]] std::optional<std::array<FileDescriptor, 2>> openPipe();

/// Asks for a child that inherits standard input and what `actions` installs, and no other descriptor.
/// Returns the attribute flags to add.
[[nodiscard]] short inheritNothingElse(posix_spawn_file_actions_t& actions);

/// A descriptor that polls readable once the child `pid` has ended; none where the system refuses.
[[nodiscard]] FileDescriptor watchEndOf(int32_t pid);

/// Environment entries that tools get in place of all others of their names.
[[nodiscard]] std::span<const std::string_view> forcedToolEnvironment();

/// The names of environment variables that tools never get.
[[nodiscard]] std::span<const std::string_view> unwantedToolEnvironment();

} // namespace VintrelCore::Platform
