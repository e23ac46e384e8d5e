#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <array>

namespace VintrelCore::ScanCore {

bool hasTokenBoundary(std::string_view haystack, std::string_view token) {
    // Allowed on either side: spaces, or the ends, as a word; a slash before it, as a path's last component;
    // dots, as part of a dotted name. Anything else ("=", ":", "@", "-", a tab) is part of another word.
    for (auto at = haystack.find(token); at != std::string_view::npos; at = haystack.find(token, at + 1)) {
        const bool isFirst = at == 0;
        const char before = isFirst ? '\0' : haystack[at - 1];
        const size_t end = at + token.size();
        const bool isLast = end == haystack.size();
        const char after = isLast ? '\0' : haystack[end];
        const bool endsWord = isLast || after == ' ';
        if (endsWord && (isFirst || before == '/' || before == ' ')) {
            return true;
        }
        if (!isFirst && before == '.' && (isLast || after == '.')) {
            return true;
        }
    }
    return false;
}

std::optional<ProcessKind> detectKind(std::string_view command) {
    const std::string c = Text::asciiLowered(command);
    const auto has = [&c](std::string_view text) { return c.contains(text); };
    const auto token = [&c](std::string_view text) { return hasTokenBoundary(c, text); };

    // The order decides. Helpers before what they help, test runners before the servers they run under, and
    // the package runners and interpreters, whose names stand in front of everything, last.
    if (has("ms-playwright-mcp") && (has("chrome") || has("chromium"))) {
        return ProcessKind::chromeHelper;
    }
    if (has("@playwright/mcp") || has("playwright-mcp")) {
        return ProcessKind::playwrightMCP;
    }
    if (has("@modelcontextprotocol") || has("mcp-server-")) {
        return ProcessKind::mcpServer;
    }
    if (has("playwright") && has("test")) {
        return ProcessKind::playwrightTest;
    }

    struct TokenRule {
        std::string_view token;
        ProcessKind kind;
    };

    constexpr auto early = std::to_array<TokenRule>({{"pytest", ProcessKind::pytest},
                                                     {"vitest", ProcessKind::vitest},
                                                     {"vite", ProcessKind::vite},
                                                     {"jest", ProcessKind::jest},
                                                     {"uvicorn", ProcessKind::uvicorn},
                                                     {"docker", ProcessKind::docker}});
    constexpr auto late = std::to_array<TokenRule>(
        {{"npm", ProcessKind::npm}, {"bun", ProcessKind::bun}, {"node", ProcessKind::node}});
    const auto firstOf = [&token](const auto& rules) {
        const auto found = std::ranges::find_if(rules, token, &TokenRule::token);
        return found != rules.end() ? std::optional(found->kind) : std::nullopt;
    };
    if (const auto kind = firstOf(early)) {
        return kind;
    }
    if (token("next") || has("next-server")) {
        return ProcessKind::nextjs;
    }
    if (token("astro")) {
        return ProcessKind::astro;
    }
    if (token("cargo")) {
        return ProcessKind::cargo;
    }
    if (c.starts_with("go run ") || has("/go run ")) {
        return ProcessKind::goRun;
    }
    if (token("ollama") || has("llama-server") || has("llama-cli")) {
        return ProcessKind::llmServer;
    }
    if (has("node_modules/electron") || has("node_modules/.bin/electron")) {
        return ProcessKind::electron;
    }
    return firstOf(late);
}

bool hasDevModeFlag(std::string_view command) {
    const std::string c = Text::asciiLowered(command);
    if (c.contains("node_env=development") || c.contains("node_env development")) {
        return true;
    }
    constexpr std::array<std::string_view, 4> flags{"--watch", "--dev", "--hot", "--reload"};
    return std::ranges::any_of(flags, [&c](std::string_view flag) { return hasTokenBoundary(c, flag); });
}

} // namespace VintrelCore::ScanCore
