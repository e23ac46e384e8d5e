#pragma once

#include "VintrelCore/scan/CommandWords.h"

#include <string_view>

/// The folders in which browsers keep what they remember. Automated ones get a folder of their own, and by
/// its name one knows who started the browser.
namespace VintrelCore::BrowserProfile {

/// The folder that a browser's arguments name; "" for none, when it uses the person's own.
[[nodiscard]] std::string_view folderIn(CommandWords::Words arguments);

/// A profile that a Playwright MCP server made: below "ms-playwright-mcp", or one of those called "mcp-..."
/// where Playwright keeps its browsers.
[[nodiscard]] bool isPlaywrightMCPs(std::string_view folder);

/// A profile that Playwright makes for one test run.
[[nodiscard]] bool isPlaywrightTests(std::string_view folder);

} // namespace VintrelCore::BrowserProfile
