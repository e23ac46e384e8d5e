#pragma once

namespace Vintrel {

/// What observers of the engine can see change, in its order.
enum class EngineField {
    items,
    isScanning,
    listeningPorts,
    containerOwners,
    cwds,
    processTable,
    openFiles,
    scanInterval,
    elapsedThreshold,
    ignoredNames,
    protectedProjects,
    disabledKinds,
    customRules,
    notificationsEnabled,
    managers,
    problems,
};

} // namespace Vintrel
