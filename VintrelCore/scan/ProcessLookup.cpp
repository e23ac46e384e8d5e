#include "VintrelCore/scan/ProcessLookup.h"

#include "VintrelCore/platform/Platform.h"

namespace VintrelCore {

namespace {

/// Names the script that a package runner runs.
constexpr std::string_view variableOfRunners = "npm_lifecycle_event";

} // namespace

ProcessLookup ProcessLookup::of(Platform::Facts& facts) {
    return {
        .argumentsOf = [&facts](int32_t pid) { return facts.arguments(pid); },
        .executableOf = [&facts](int32_t pid) { return facts.executable(pid); },
        .runnersScriptOf = [&facts](int32_t pid) { return facts.environmentValue(pid, variableOfRunners); },
        .holdsTerminal = facts.kernelView().holdsTerminal,
        .wasInSnapshot = [](int32_t) { return true; }};
}

ProcessLookup ProcessLookup::since(std::optional<ProcStartTime> began) {
    return {.argumentsOf = Platform::arguments,
            .executableOf = Platform::executable,
            .runnersScriptOf = [](int32_t pid) { return Platform::environmentValue(pid, variableOfRunners); },
            .holdsTerminal = Platform::kernelView().holdsTerminal,
            .wasInSnapshot =
                [began](int32_t pid) {
                    // A process that started before the snapshot and still runs is the one its line
                    // describes.
                    const auto start = Platform::startTime(pid);
                    return start && (!began || *start < *began);
                }};
}

std::optional<std::vector<std::string>> ProcessLookup::argumentsInSnapshot(int32_t pid) const {
    auto arguments = argumentsOf(pid);
    // Processes of the kernel's own have none.
    return arguments && !arguments->empty() && wasInSnapshot(pid) ? std::move(arguments) : std::nullopt;
}

} // namespace VintrelCore
