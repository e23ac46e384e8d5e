#include "VintrelCore/model/ProcessKind.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_set>

#include <gtest/gtest.h>

using VintrelCore::ProcessKind;
using VintrelCore::RiskGroup;
using VintrelCore::ProcessKinds::allCases;
using VintrelCore::ProcessKinds::fromRawValue;
using namespace std::string_view_literals;

namespace {

struct Row {
    ProcessKind kind;
    std::string_view rawValue;
    std::string_view label;
    RiskGroup group;
};

// In the order in which people see them.
constexpr auto rows = std::to_array<Row>({
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

} // namespace

TEST(ProcessKind, listsAllItsCasesInOrder) {
    ASSERT_EQ(allCases.size(), 20U);
    ASSERT_EQ(allCases.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(allCases[i], rows[i].kind) << rows[i].rawValue;
        EXPECT_EQ(static_cast<size_t>(allCases[i]), i) << rows[i].rawValue;
    }
}

TEST(ProcessKind, hasTheRawValueThatSettingsStore) {
    for (const Row& row : rows) {
        EXPECT_EQ(rawValue(row.kind), row.rawValue);
    }
}

TEST(ProcessKind, hasTheLabelThatPeopleRead) {
    for (const Row& row : rows) {
        EXPECT_EQ(label(row.kind), row.label);
    }
}

TEST(ProcessKind, belongsToItsRiskGroup) {
    for (const Row& row : rows) {
        EXPECT_EQ(riskGroup(row.kind), row.group) << row.rawValue;
    }
}

TEST(ProcessKind, isBuiltFromItsRawValue) {
    for (const Row& row : rows) {
        EXPECT_EQ(fromRawValue(row.rawValue), row.kind) << row.rawValue;
    }
}

TEST(ProcessKind, isNotBuiltFromAnyOtherText) {
    for (const std::string_view text :
         {"Docker"sv,  "DOCKER"sv,  "playwrighttest"sv, "playwrightMcp"sv, "PlaywrightMCP"sv, "llmserver"sv,
          "gorun"sv,   "go run"sv,  "Next.js"sv,        "LLM server"sv,    "Custom rules"sv,  "dock"sv,
          "dockers"sv, " docker"sv, "docker "sv,        "docker\0"sv,      "docker,npm"sv,    "0"sv,
          ""sv,        " "sv}) {
        EXPECT_EQ(fromRawValue(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(ProcessKind, isBuiltFromALabelOnlyWhereItIsTheRawValueToo) {
    for (const Row& row : rows) {
        EXPECT_EQ(fromRawValue(row.label).has_value(), row.label == row.rawValue) << row.label;
    }
}

TEST(ProcessKind, worksAsAKey) {
    const std::unordered_set<ProcessKind> kinds(allCases.begin(), allCases.end());
    EXPECT_EQ(kinds.size(), allCases.size());
}
