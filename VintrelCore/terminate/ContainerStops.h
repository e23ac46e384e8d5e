#pragma once

#include "VintrelCore/terminate/KillCore.h"
#include "VintrelCore/terminate/RowEnding.h"

#include <span>
#include <string>

namespace VintrelCore::KillCore {

/// A row that is in a container on this machine.
struct ContainerRow {
    RowEnding* row;
    ContainerHere here;
    std::string container; ///< as the engine is told, by id or name
};

/// Has the engine stop the containers, side by side, each in its own time. Decides the rows whose containers
/// were stopped, are still being stopped, or are left alone because the engine did not say whether they are
/// its own. Those that it refuses to stop stay undecided. Internal to terminate/.
void stopContainers(std::span<const ContainerRow> rows, const std::string& client, int interrupt);

} // namespace VintrelCore::KillCore
