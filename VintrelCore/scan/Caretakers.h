#pragma once

#include <cstdint>
#include <string_view>

/// Which programs look after their children, and which take in those of others, by their commands. Internal
/// to scan/.
namespace VintrelCore::Caretakers {

/// Whether a process adopts orphans: process 1, a user's service manager, and the few like them. A
/// container's process 1 counts only for processes from other sessions.
[[nodiscard]] bool isAdopter(int32_t pid, std::string_view command);

/// The host program, such as a terminal multiplexer, that looks after its own children; "" for any other
/// program.
[[nodiscard]] std::string_view hostProgram(std::string_view command);

/// Whether process 1 is an init system. Anything else runs as process 1 of a container.
[[nodiscard]] bool isSystemsFirst(std::string_view command);

/// "tmux" for "/usr/bin/tmux -u" and for the title "tmux: server".
[[nodiscard]] std::string_view programOf(std::string_view command);

} // namespace VintrelCore::Caretakers
