#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace VintrelCore {

/// Why a row is for review that its kind, place and age alone would make easy to end.
enum class ReviewReason : uint8_t {
    namedOnly,          ///< its tool is only named in the arguments; another program runs
    scriptMayDoMore,    ///< a shell or runner in it may have more to run than the tool
    anotherMayFollow,   ///< the running script is not the one its runner was asked for, which may follow
    startedOthers,      ///< a runner in it has started processes outside the row
    runsUnknownProgram, ///< its runner's only child is a program of no known kind
    partIsIgnored,      ///< the user ignores one of its shells
    hostsTerminal,      ///< one of its processes hosts a terminal, which may be in use
};

namespace ReviewReasons {
inline constexpr auto allCases =
    std::to_array({ReviewReason::namedOnly, ReviewReason::scriptMayDoMore, ReviewReason::anotherMayFollow,
                   ReviewReason::startedOthers, ReviewReason::runsUnknownProgram, ReviewReason::partIsIgnored,
                   ReviewReason::hostsTerminal});
} // namespace ReviewReasons

/// For people, in a few words.
[[nodiscard]] std::string_view inWords(ReviewReason reason);

} // namespace VintrelCore
