#include "tests/system/RunnerProject.h"

#include "tests/support/Process.h"

#include <chrono>
#include <fstream>
#include <string_view>

namespace VintrelTests {

namespace {

constexpr std::string_view manifest = R"({
  "name": "shop", "version": "1.0.0", "private": true,
  "scripts": { "dev": "vite --port 5199", "test": "vitest --watch", "serve": "webpack serve" }
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

void addTool(const TemporaryFolder& folder, const std::string& project, const std::string& name,
             const std::string& title) {
    std::string script(server);
    script.replace(script.find("TITLE"), 5, title);
    const auto path = folder.write(project + "/node_modules/.bin/" + name, script);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

} // namespace

void makeRunnerProject(const TemporaryFolder& folder, const std::string& name) {
    folder.write(name + "/package.json", manifest);
    addTool(folder, name, "vite", "");
    addTool(folder, name, "vitest", "process.title = 'node (vitest)';");
    addTool(folder, name, "webpack", "process.title = 'webpack';");
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
