#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace VintrelTests {

/// A project with the tools "jest", "ng", "playwright", "vite", "vitest" and "webpack", two packages with MCP
/// servers, and the scripts "dev" (vite), "jest", "serve" (webpack), "start" (ng) and "test" (vitest). As the
/// real ones do, ng, vitest and webpack rename themselves. Nothing comes from a network.
void makeRunnerProject(const TemporaryFolder& folder, const std::string& name);

/// What npm and npx run with: a home of their own, and `shell` (if not empty) as the script shell.
std::map<std::string, std::string> runnerEnvironment(const TemporaryFolder& folder,
                                                     const std::string& shell = "");

/// Waits for the tool that was started in a project, whose pid is returned; 0 when it does not come.
int32_t awaitServer(const std::filesystem::path& project);

} // namespace VintrelTests
