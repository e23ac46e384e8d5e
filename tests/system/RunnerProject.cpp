#include "tests/system/RunnerProject.h"

#include "tests/support/Process.h"

#include <chrono>
#include <fstream>
#include <string_view>

namespace VintrelTests {

namespace {

constexpr std::string_view manifest = R"({
  "name": "shop", "version": "1.0.0", "private": true,
  "scripts": {
    "dev": "vite --port 5199", "jest": "jest --watchAll", "serve": "webpack serve", "start": "ng serve",
    "test": "vitest --watch"
  }
})";

/// A server that says which process it is, and stays. It holds some memory, so that sums can be told apart.
constexpr std::string_view server = R"(#!/usr/bin/env node
const fs = require('fs');
TITLE
fs.writeFileSync('ready.tmp', String(process.pid));
fs.renameSync('ready.tmp', 'ready');
setInterval(() => {}, 1000);
setTimeout(() => process.exit(0), 100000);
)";

/// With --pool=forks, vitest has a worker that ends with it; with --pool=vmForks, one that is busy and stays.
constexpr std::string_view vitestTitle =
    R"(process.title = process.send ? 'node (vitest 1)' : 'node (vitest)';
const pool = process.argv.find(word => /^--pool=/.test(word));
if (process.send) {
  process.on('disconnect', () => pool === '--pool=forks' && process.exit(0));
  setTimeout(() => process.exit(0), 100000);
  return;
}
if (pool) {
  require('child_process').fork(__filename, [pool]);
})";

std::filesystem::path writeTool(const TemporaryFolder& folder, const std::filesystem::path& path,
                                std::string_view title) {
    std::string script(server);
    script.replace(script.find("TITLE"), 5, title);
    const auto file = folder.write(path, script);
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
}

void addTool(const TemporaryFolder& folder, const std::string& project, const std::string& name,
             std::string_view title = "") {
    writeTool(folder, project + "/node_modules/.bin/" + name, title);
}

/// A package by whose name npm finds its tool.
void addPackage(const TemporaryFolder& folder, const std::string& project, const std::string& package,
                const std::string& tool) {
    const std::string modules = project + "/node_modules/";
    folder.write(modules + package + "/package.json", R"({"name": ")" + package +
                                                          R"(", "version": "1.0.0", "bin": {")" + tool +
                                                          R"(": "cli.js"}})");
    writeTool(folder, modules + package + "/cli.js", "");
    folder.makeFolder(modules + ".bin");
    std::filesystem::create_symlink("../" + package + "/cli.js", folder.path() / modules / ".bin" / tool);
}

} // namespace

void makeRunnerProject(const TemporaryFolder& folder, const std::string& name) {
    folder.write(name + "/package.json", manifest);
    addTool(folder, name, "jest");
    addTool(folder, name, "ng", "process.title = 'ng serve';");
    addTool(folder, name, "playwright");
    addTool(folder, name, "vite");
    addTool(folder, name, "vitest", vitestTitle);
    addTool(folder, name, "webpack", "process.title = 'webpack';");
    addPackage(folder, name, "@modelcontextprotocol/server-filesystem", "mcp-server-filesystem");
    addPackage(folder, name, "@playwright/mcp", "playwright-mcp");
}

std::map<std::string, std::string> runnerEnvironment(const TemporaryFolder& folder,
                                                     const std::string& shell) {
    std::map<std::string, std::string> environment{{"HOME", folder.makeFolder("home").string()},
                                                   {"npm_config_update_notifier", "false"},
                                                   {"npm_config_offline", "true"}};
    if (!shell.empty()) {
        environment["npm_config_script_shell"] = shell;
    }
    return environment;
}

int32_t awaitServer(const std::filesystem::path& project) {
    const auto ready = project / "ready";
    int32_t pid = 0;
    if (eventually([&] { return std::filesystem::exists(ready); }, std::chrono::seconds(60))) {
        std::ifstream(ready) >> pid;
    }
    return pid;
}

} // namespace VintrelTests
