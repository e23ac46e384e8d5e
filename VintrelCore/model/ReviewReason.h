#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace VintrelCore {

/// Why a row is for review that its kind, place and age alone would make easy to end.
enum class ReviewReason : uint8_t {
    namedOnly,          ///< its tool is named in arguments, and not what runs
    scriptMayDoMore,    ///< a shell of it, or a runner, may have more to run than the tool
    anotherMayFollow,   ///< the script that runs is not the one that its runner was told to run
    startedOthers,      ///< a runner of it has started what is not in the row
    runsUnknownProgram, ///< what a runner of it started alone is of no known kind
    partIsIgnored,      ///< a shell of it is not to be ended: the user ignores it
    hostsTerminal,      ///< somebody may be at work in a terminal that a process of it hosts
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
