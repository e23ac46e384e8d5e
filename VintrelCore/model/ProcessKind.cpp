#include "VintrelCore/model/ProcessKind.h"

#include <algorithm>
#include <cstddef>

namespace VintrelCore {

namespace {

struct KindRow {
    ProcessKind kind;
    std::string_view rawValue;
    std::string_view label; // the uneven capitals are the tools' own spellings
    RiskGroup group;
};

constexpr auto rows = std::to_array<KindRow>({
    {ProcessKind::docker, "docker", "Docker", RiskGroup::alwaysHigh},
    {ProcessKind::uvicorn, "uvicorn", "uvicorn", RiskGroup::alwaysHigh},
    {ProcessKind::npm, "npm", "npm", RiskGroup::devServer},
    {ProcessKind::pytest, "pytest", "pytest", RiskGroup::testAutomation},
    {ProcessKind::vitest, "vitest", "vitest", RiskGroup::testAutomation},
    {ProcessKind::vite, "vite", "Vite", RiskGroup::devServer},
    {ProcessKind::jest, "jest", "Jest", RiskGroup::testAutomation},
    {ProcessKind::playwrightTest, "playwrightTest", "Playwright test", RiskGroup::testAutomation},
    {ProcessKind::playwrightMCP, "playwrightMCP", "playwright-mcp", RiskGroup::testAutomation},
    {ProcessKind::chromeHelper, "chromeHelper", "Chrome (playwright-mcp)", RiskGroup::testAutomation},
    {ProcessKind::bun, "bun", "Bun", RiskGroup::devServer},
    {ProcessKind::node, "node", "Node", RiskGroup::alwaysHigh},
    {ProcessKind::nextjs, "nextjs", "Next.js", RiskGroup::devServer},
    {ProcessKind::astro, "astro", "Astro", RiskGroup::devServer},
    {ProcessKind::cargo, "cargo", "cargo", RiskGroup::devServer},
    {ProcessKind::goRun, "goRun", "go run", RiskGroup::devServer},
    {ProcessKind::electron, "electron", "Electron (dev)", RiskGroup::devServer},
    {ProcessKind::llmServer, "llmServer", "LLM server", RiskGroup::alwaysHigh},
    {ProcessKind::mcpServer, "mcpServer", "MCP server", RiskGroup::testAutomation},
    {ProcessKind::custom, "custom", "Custom rules", RiskGroup::none},
});

constexpr const KindRow& rowOf(ProcessKind kind) {
    return rows[static_cast<size_t>(kind)];
}

static_assert(rows.size() == ProcessKinds::allCases.size());
static_assert(std::ranges::all_of(ProcessKinds::allCases,
                                  [](ProcessKind kind) { return rowOf(kind).kind == kind; }));

} // namespace

std::string_view rawValue(ProcessKind kind) {
    return rowOf(kind).rawValue;
}

std::string_view label(ProcessKind kind) {
    return rowOf(kind).label;
}

RiskGroup riskGroup(ProcessKind kind) {
    return rowOf(kind).group;
}

std::optional<ProcessKind> ProcessKinds::fromRawValue(std::string_view rawValue) {
    const auto found = std::ranges::find(rows, rawValue, &KindRow::rawValue);
    return found != rows.end() ? std::optional(found->kind) : std::nullopt;
}

} // namespace VintrelCore
