#include "VintrelCore/scan/BrowserProfile.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace VintrelCore::BrowserProfile {

std::string_view folderIn(CommandWords::Words arguments) {
    // "--database" is how a browser's crash handler is told the folder.
    constexpr auto options =
        std::to_array<std::string_view>({"--user-data-dir", "-profile", "--profile", "--database"});
    std::string_view folder;
    for (size_t index = 0; index < arguments.size() && arguments[index] != "--"; ++index) {
        const std::string_view word = arguments[index];
        const auto sign = word.find('=');
        if (std::ranges::find(options, word.substr(0, sign)) == options.end()) {
            continue;
        }
        if (sign != std::string_view::npos) {
            folder = word.substr(sign + 1);
        } else if (index + 1 < arguments.size()) {
            folder = arguments[++index];
        }
    }
    return folder; // browsers go by the last one
}

bool isPlaywrightMCPs(std::string_view folder) {
    std::string_view grandparent;
    std::string_view parent;
    for (auto name = Text::takeWord(folder, "/"); !name.empty(); name = Text::takeWord(folder, "/")) {
        const bool isCache = grandparent == ".cache" || grandparent == "Caches";
        if (name == "." || name == "..") {
            return false; // nobody makes such profiles, and where it leads cannot be told
        }
        if (parent == "ms-playwright-mcp" ||
            (isCache && parent == "ms-playwright" && name.starts_with("mcp-"))) {
            return true;
        }
        grandparent = parent;
        parent = name;
    }
    return false;
}

bool isPlaywrightTests(std::string_view folder) {
    const std::string_view name = ToolNames::lastComponent(folder);
    return name.starts_with("playwright_") && name.contains("dev_profile-");
}

} // namespace VintrelCore::BrowserProfile
