#pragma once

#include "VintrelCore/terminate/KillCore.h"
#include "tests/torture/NamespacedRun.h"

#include <optional>
#include <vector>

namespace VintrelTests {

/// One process that a batch is to end, and what happens to it before that.
struct VictimPlan {
    /// When it ends by itself and its number becomes a stranger's; absent to leave it alone.
    std::optional<VintrelCore::KillCore::Moment> recycledAt{};
    bool ignoresSIGTERM = false;
    bool hasRecordedStart = true;
};

struct BatchPlan {
    std::vector<VictimPlan> victims;
    /// Starts are counted in ticks of 10 ms: whether each victim has become old enough for a stranger to
    /// differ from it.
    bool isAged = true;
    double gracePeriod = 0; ///< seconds
    /// The numbers are recycled so many seconds after the beginning, by another process than the one that
    /// ends the batch, and not at a moment of the sequence. 0 for not at all.
    double recycledAfter = 0;
    /// Instead of KillCore somebody ends the batch who sends this signal to every number, unchecked.
    std::optional<int> careless{};
};

/// Makes the victims of a batch, ends them through KillCore, gives the numbers of some of them to strangers
/// at the worst moment, and counts what happened. For a process in a namespace of its own.
[[nodiscard]] Figures runBatch(const BatchPlan& plan);

} // namespace VintrelTests
