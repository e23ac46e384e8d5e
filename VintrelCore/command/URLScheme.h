#pragma once

#include <optional>
#include <string_view>

/// What other programs ask of the running application by opening an address such as "vintrel://scan". No
/// state.
namespace VintrelCore::URLScheme {

inline constexpr std::string_view scheme = "vintrel";

enum class Command { clean, scan };

/// The command of an address; absent for addresses of other schemes, for unknown words, and for what is no
/// address. The word is the host or, without one, the first piece of the path; its case, and whatever follows
/// it, do not matter. Source of the form: RFC 3986.
[[nodiscard]] std::optional<Command> parse(std::string_view url);

} // namespace VintrelCore::URLScheme
