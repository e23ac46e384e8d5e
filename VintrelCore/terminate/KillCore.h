#pragma once

#include "VintrelCore/docker/DockerCore.h"
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/terminate/KillResult.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// The one place that ends processes. A number that somebody else has got since the scan is never signalled:
/// every signal is guarded by the start time, noted at the scan and read again before signalling. No state.
namespace VintrelCore::KillCore {

/// Seconds between the polite signal and the forced one.
inline constexpr double gracePeriod = 2.0;

/// The kernel's stamp; absent when there is no such process or its record cannot be read.
[[nodiscard]] std::optional<ProcStartTime> startTime(int32_t pid);

/// `expected` is what the scan noted. When that is absent the check is waived.
[[nodiscard]] bool shouldSendSIGTERM(const std::optional<ProcStartTime>& expected,
                                     const std::optional<ProcStartTime>& current);

/// `snapshot` was read before the polite signal, `current` after the wait; both must be known and equal.
[[nodiscard]] bool shouldEscalateToSIGKILL(const std::optional<ProcStartTime>& snapshot,
                                           const std::optional<ProcStartTime>& current);

/// Ends one item and what is folded into it; blocks for the grace period, or for as long as its container
/// takes to stop.
[[nodiscard]] KillOutcome kill(const ProcessItem& item, const DockerCore::OwnerMap& containerOwners);

/// The container on this machine that an item is in.
struct ContainerHere {
    std::string id{}; ///< by the control group of its process; "" where that does not say
    /// It is the first process of another namespace, which a sandbox has, too: it is a container's if an
    /// engine names the very process, by number and start.
    bool isToBeConfirmed = false;

    bool operator==(const ContainerHere&) const = default;
};

/// Absent when an item is in no container. A number and a name from an engine are no proof: another engine,
/// or a remote one, has other processes by the same numbers. Where the kernel does not know, what looks like
/// a container is one.
[[nodiscard]] std::optional<ContainerHere> containerOf(const ProcessItem& item,
                                                       const Platform::KernelView& kernel);

/// Moments of the sequence at which a test may change the world.
enum class Moment { beforeOpening, afterOpening, afterComparison, duringGrace };

/// The outside world of ending processes.
struct World {
    double gracePeriod = KillCore::gracePeriod; ///< seconds
    /// A descriptor that becomes readable when the wait is to be cut short; negative for none. Nobody is
    /// forced then.
    int interrupt = -1;
    /// False when the container engine did not name its processes in time. Processes in a container are left
    /// alone then, because the engine may be stopping them.
    bool ownersAreKnown = true;
    /// The container engine's client; absent without one.
    std::function<std::optional<std::string>()> client = [] { return DockerService::cliPath(); };
    std::function<std::optional<ContainerHere>(const ProcessItem& item)> containerHere =
        [kernel = Platform::kernelView()](const ProcessItem& item) { return containerOf(item, kernel); };
    /// Called at each moment of each process.
    std::function<void(Moment moment, int32_t pid)> at = [](Moment, int32_t) {};
};

/// Ends many at once, on the calling thread: containers stop side by side, then everything is checked and
/// signalled, then there is one wait for all, and whoever is left is forced. One result per item, in order.
[[nodiscard]] std::vector<KillResult> killAll(std::span<const ProcessItem> items,
                                              const DockerCore::OwnerMap& containerOwners,
                                              const World& world = {});

} // namespace VintrelCore::KillCore
