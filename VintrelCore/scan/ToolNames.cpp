#include "VintrelCore/scan/ToolNames.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/CommandWords.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace VintrelCore::ToolNames {

namespace {

enum class Match {
    name,        // a file, a module, or a package with its scope, if it has one
    inAnyScope,  // the same, or such a package in whatever scope
    prefixOfAny, // how such a name begins
    scope,       // any package in that scope
};

struct Row {
    ProcessKind kind;
    Match match;
    std::string_view text;
};

// Beside ScanCore::detectKind, which decides by the words wherever they stand. Of "playwright" and "test"
// only the first says what runs. The helper browser is known by its profile alone.
constexpr auto rows = std::to_array<Row>({
    {ProcessKind::pytest, Match::name, "pytest"},
    {ProcessKind::pytest, Match::name, "py.test"},
    {ProcessKind::vitest, Match::name, "vitest"},
    {ProcessKind::jest, Match::name, "jest"},
    {ProcessKind::jest, Match::name, "jest-cli"},
    {ProcessKind::jest, Match::name, "jest-worker"},
    {ProcessKind::playwrightTest, Match::name, "playwright"},
    {ProcessKind::playwrightTest, Match::name, "playwright-core"},
    {ProcessKind::playwrightTest, Match::name, "@playwright/test"},
    {ProcessKind::playwrightMCP, Match::name, "@playwright/mcp"},
    {ProcessKind::playwrightMCP, Match::inAnyScope, "playwright-mcp"},
    {ProcessKind::playwrightMCP, Match::inAnyScope, "playwright-mcp-server"},
    {ProcessKind::mcpServer, Match::scope, "@modelcontextprotocol/"},
    {ProcessKind::mcpServer, Match::prefixOfAny, "mcp-server-"},
});

/// `name` is plain; a package has its scope.
bool matches(const Row& row, std::string_view name) {
    const bool isScoped = name.starts_with('@');
    const std::string_view own = isScoped ? lastComponent(name) : name;
    switch (row.match) {
    case Match::name:
        return name == row.text;
    case Match::inAnyScope:
        return own == row.text;
    case Match::prefixOfAny:
        return own.starts_with(row.text) && own.size() > row.text.size() && !own.contains('.'); // no file
    case Match::scope:
        return name.starts_with(row.text) && name.size() > row.text.size();
    }
    return false;
}

bool isTool(ProcessKind kind, std::string_view name) {
    return std::ranges::any_of(
        rows, [kind, name](const Row& row) { return row.kind == kind && matches(row, name); });
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

/// The folders that lead to a file, by their names alone: "." and ".." are resolved, because the scripts in
/// node_modules/.bin go to their packages by way of "..".
std::vector<std::string_view> componentsOf(std::string_view path) {
    std::vector<std::string_view> components;
    for (auto component = Text::takeWord(path, "/"); !component.empty();
         component = Text::takeWord(path, "/")) {
        if (component == ".." && !components.empty()) {
            components.pop_back();
        } else if (component != "." && component != "..") {
            components.push_back(component);
        }
    }
    return components;
}

/// Whether a file lies where Playwright keeps the browsers that it has downloaded.
bool isPlaywrightsBrowser(std::string_view path) {
    const auto components = componentsOf(path);
    for (size_t index = 1; index + 2 < components.size(); ++index) {
        const std::string_view parent = components[index - 1];
        if (components[index] == "ms-playwright" && (parent == ".cache" || parent == "Caches")) {
            return true;
        }
    }
    return false;
}

/// Such a path cannot lead to a file. Of a folder, an interpreter runs what is in there.
bool isFolder(std::string_view path) {
    const std::string_view name = lastComponent(path);
    return name.empty() || name == "." || name == "..";
}

/// Whether a file lies where installed programs are called from: a system's, a version manager's or a virtual
/// environment's folder of programs. Any other folder called "bin" may be a project's own.
bool isInBinFolder(std::string_view path) {
    constexpr std::string_view systems = "usr opt bin snap nix";
    const auto components = componentsOf(path);
    if (components.size() < 2) {
        return false;
    }
    const std::string_view folder = components[components.size() - 2];
    if (folder != "bin" && folder != "shims") {
        return folder == ".bin";
    }
    const auto isManagers = [](std::string_view component) {
        return component.starts_with('.') || component.contains("env") || component.contains("conda");
    };
    return (path.starts_with('/') && CommandWords::isListed(systems, components.front())) ||
           std::any_of(components.begin(), components.end() - 2, isManagers);
}

/// Yarn keeps itself in the projects that use it, as in ".yarn/releases/yarn-1.22.22.cjs".
bool isYarns(std::string_view path) {
    const auto components = componentsOf(path);
    const size_t count = components.size();
    return count > 2 && components[count - 3] == ".yarn" && components[count - 2] == "releases";
}

/// Projects name their scripts so: "test:playwright", "vitest:watch". Any other word beside the tool's may
/// say that something else is done with it, as "docs:vitest" does.
bool isBesideTool(std::string_view piece) {
    constexpr std::string_view listed = "test tests e2e unit integration component ci run watch coverage";
    return CommandWords::isListed(listed, piece);
}

/// A path with blanks, and no command with its arguments in one piece, such as "less /home/dev/vitest".
bool isPathWithBlanks(std::string_view path) {
    return path.starts_with('/') && !path.contains(" /") && isInstalled(path);
}

/// Where the suffix of a script begins; the size of the name when it has none.
size_t suffixStart(std::string_view name) {
    constexpr auto suffixes = std::to_array<std::string_view>(
        {".js", ".mjs", ".cjs", ".jsx", ".ts", ".mts", ".cts", ".tsx", ".py", ".exe"});
    const auto suffix = std::ranges::find_if(suffixes, [name](auto end) { return name.ends_with(end); });
    return name.size() - (suffix != suffixes.end() ? suffix->size() : 0);
}

/// Python's names of modules have no hyphens: the package mcp-server-git is the module mcp_server_git.
std::string hyphenated(std::string_view name) {
    std::string result(name);
    std::ranges::replace(result, '_', '-');
    return result;
}

} // namespace

std::string_view plainName(std::string_view name) {
    name = name.substr(0, suffixStart(name));
    // A version: digits and dots, perhaps behind a hyphen.
    size_t end = name.size();
    while (end > 0 && (isDigit(name[end - 1]) || name[end - 1] == '.')) {
        --end;
    }
    if (end < name.size() && isDigit(name[end]) && isDigit(name.back())) {
        const bool hasHyphen = end > 1 && name[end - 1] == '-';
        end = hasHyphen ? end - 1 : end;
        name = end > 0 ? name.substr(0, end) : name;
    }
    return name;
}

std::string_view plainNameOfPrerelease(std::string_view name) {
    const std::string_view stem = name.substr(0, suffixStart(name));
    const size_t hyphen = stem.rfind('-');
    if (stem.size() == name.size() || hyphen == std::string_view::npos) {
        return {};
    }
    const std::string_view version = stem.substr(0, hyphen);
    std::string_view numbers = stem.substr(hyphen + 1);
    const std::string_view stage = Text::takeWord(numbers, ".");
    const bool isStage = CommandWords::isListed("alpha beta canary next rc", stage) ||
                         (!stage.empty() && std::ranges::all_of(stage, isDigit)); // a nightly's date
    const auto isOfNumber = [](char byte) { return isDigit(byte) || byte == '.'; };
    const std::string_view plain = plainName(version);
    const bool isVersion = plain.size() < version.size() && version[plain.size()] == '-';
    return isStage && isVersion && isDigit(version.back()) && std::ranges::all_of(numbers, isOfNumber)
               ? plain
               : std::string_view();
}

bool hasScriptSuffix(std::string_view name) {
    return suffixStart(name) < name.size();
}

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1); // without a slash: npos + 1 is 0
}

std::string packageOf(std::string_view path) {
    const auto components = componentsOf(path);
    for (size_t index = components.size(); index-- > 1;) {
        const std::string_view folder = components[index - 1];
        const std::string_view name = components[index];
        if (folder == "site-packages" || folder == "dist-packages") {
            return hyphenated(plainName(name));
        }
        const size_t below = components.size() - index - 1; // how much of the path is left
        if ((folder == ".bin" && below == 0) ||
            (folder == "node_modules" && !name.starts_with('@') && below > 0)) {
            return std::string(name);
        }
        if (folder == "node_modules" && below > 1) {
            return std::string(name).append("/").append(components[index + 1]);
        }
    }
    return {};
}

bool isInstalled(std::string_view path) {
    return !isFolder(path) &&
           (isInBinFolder(path) || !packageOf(path).empty() || isYarns(path) || isPlaywrightsBrowser(path));
}

bool isToolsFile(ProcessKind kind, std::string_view path) {
    if (isFolder(path) || (path.contains(' ') && !isPathWithBlanks(path))) {
        return false;
    }
    const std::string_view name = lastComponent(path);
    const bool isByName = !hasScriptSuffix(name) && (isTool(kind, name) || isTool(kind, plainName(name)));
    return isByName || isToolsScript(kind, path);
}

bool isToolsScript(ProcessKind kind, std::string_view path) {
    if (!isInstalled(path)) {
        return false;
    }
    if (const std::string package = packageOf(path); !package.empty()) {
        return isTool(kind, package);
    }
    // A script that keeps its suffix there was not installed under the name of the tool.
    const std::string_view name = lastComponent(path);
    const bool isByName = !hasScriptSuffix(name) && isInBinFolder(path) &&
                          (isTool(kind, name) || isTool(kind, plainName(name)));
    return isByName || (kind == ProcessKind::playwrightTest && isPlaywrightsBrowser(path));
}

bool isToolsModule(ProcessKind kind, std::string_view module) {
    return isTool(kind, hyphenated(module.substr(0, module.find('.')))) || isTool(kind, module);
}

bool isToolsPackage(ProcessKind kind, std::string_view package) {
    package = withoutVersion(package);
    if (package.starts_with('@')) {
        return isTool(kind, package);
    }
    if (package.contains('/')) {
        return isToolsScript(kind, package);
    }
    if (hasScriptSuffix(package)) {
        return false; // a file of the project's
    }
    const auto pieces = Text::split(package, ':');
    const auto isTools = [kind](std::string_view piece) { return isTool(kind, piece); };
    return std::ranges::any_of(pieces, isTools) && std::ranges::all_of(pieces, [&](std::string_view piece) {
               return isTools(piece) || isBesideTool(piece);
           });
}

std::string_view withoutVersion(std::string_view package) {
    for (const std::string_view registry : {"npm:", "jsr:"}) {
        if (package.starts_with(registry)) {
            package.remove_prefix(registry.size());
        }
    }
    const auto name = std::max<size_t>(package.rfind('/') + 1, 1); // without a slash: npos + 1 is 0
    return package.substr(0,
                          package.find_first_of("@=<>[~", name)); // as npm or Python's tools write versions
}

} // namespace VintrelCore::ToolNames
