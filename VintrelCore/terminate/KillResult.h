#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

/// The result of ending an item, apart from what ends it: most of the program only shows and counts results.
namespace VintrelCore::KillCore {

enum class KillOutcome {
    confirmed, ///< the whole sequence ran; the process counts as cleaned
    notKilled, ///< nothing was done: it is not the same process, or the system refuses
};

/// What became of it, for people and logs.
enum class KillDetail {
    containerStopped,
    containerStopping,  ///< the engine was still at it when the wait for it was over; nothing was signalled
    engineNotAnswering, ///< it did not say whether the container is its own; nothing was signalled
    ended,
    stillThere,   ///< even after the forced signal, or as a process that is never forced
    alreadyGone,  ///< it had ended before it was signalled
    notTheSame,   ///< its number is another process's now; nothing was signalled
    notPermitted, ///< the system refuses the signal, or to say which process it is
    refused,      ///< process 1 and below, and this program itself
    interrupted,  ///< it still ran when the sequence was cut short
};

struct KillResult {
    KillOutcome outcome = KillOutcome::notKilled;
    KillDetail detail = KillDetail::refused;
    /// Those of the item and of what is folded into it that run on, or may do so.
    std::vector<int32_t> left{};

    bool operator==(const KillResult&) const = default;
};

/// What became of it, as the end of a sentence: "ended", "not permitted".
[[nodiscard]] std::string_view inWords(KillDetail detail);

/// Whether it counts as cleaned: the sequence ran, and nothing of the item is known to be left.
[[nodiscard]] bool isCleaned(const KillResult& result);

/// Whether anything of the item may still run.
[[nodiscard]] bool isLeftRunning(const KillResult& result);

} // namespace VintrelCore::KillCore
