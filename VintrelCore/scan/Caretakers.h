#pragma once

#include <cstdint>
#include <string_view>

/// Which programs look after their children, and which take in those of others, by their commands. Internal
/// to scan/.
namespace VintrelCore::Caretakers {

/// Whether a process takes in orphans by its office: process 1, a user's service manager, and the few like
/// them. A container's process 1 is one only for those that come from other sessions than its own.
[[nodiscard]] bool isAdopter(int32_t pid, std::string_view command);

/// The program in whose keeping its children are, although their parent is an adopter; "" when it is none
/// such.
[[nodiscard]] std::string_view hostProgram(std::string_view command);

/// Whether process 1 is a system's own. Anything else was told to be process 1 of a container.
[[nodiscard]] bool isSystemsFirst(std::string_view command);

/// "tmux" for "/usr/bin/tmux -u" and for the title "tmux: server".
[[nodiscard]] std::string_view programOf(std::string_view command);

} // namespace VintrelCore::Caretakers
