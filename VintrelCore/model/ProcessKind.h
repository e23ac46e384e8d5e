#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace VintrelCore {

/// What sort of developer tool a process is, in the order in which kinds are listed to people.
enum class ProcessKind : uint8_t {
    docker,
    uvicorn,
    npm,
    pytest,
    vitest,
    vite,
    jest,
    playwrightTest,
    playwrightMCP,
    chromeHelper,
    bun,
    node,
    nextjs,
    astro,
    cargo,
    goRun,
    electron,
    llmServer,
    mcpServer,
    custom, ///< matched by a rule of the user's
};

/// Which kinds share a rule for their risk.
enum class RiskGroup : uint8_t {
    alwaysHigh,     ///< never rated lower, whatever state they are in
    devServer,      ///< dev servers and builders
    testAutomation, ///< test runners and automation helpers
    none,
};

namespace ProcessKinds {

/// Every kind, in order.
inline constexpr auto allCases =
    std::to_array<ProcessKind>({ProcessKind::docker,        ProcessKind::uvicorn,
                                ProcessKind::npm,           ProcessKind::pytest,
                                ProcessKind::vitest,        ProcessKind::vite,
                                ProcessKind::jest,          ProcessKind::playwrightTest,
                                ProcessKind::playwrightMCP, ProcessKind::chromeHelper,
                                ProcessKind::bun,           ProcessKind::node,
                                ProcessKind::nextjs,        ProcessKind::astro,
                                ProcessKind::cargo,         ProcessKind::goRun,
                                ProcessKind::electron,      ProcessKind::llmServer,
                                ProcessKind::mcpServer,     ProcessKind::custom});

/// The kind with exactly this raw value; absent for any other text.
[[nodiscard]] std::optional<ProcessKind> fromRawValue(std::string_view rawValue);

} // namespace ProcessKinds

/// The name that settings and the clean log store.
[[nodiscard]] std::string_view rawValue(ProcessKind kind);

/// The name that people read.
[[nodiscard]] std::string_view label(ProcessKind kind);

[[nodiscard]] RiskGroup riskGroup(ProcessKind kind);

} // namespace VintrelCore
