#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace VintrelTests {

/// A project with the tools "vite", "vitest" and "webpack" and the scripts "dev", "test" and "serve" that run
/// them. The last two tools rename themselves. Nothing comes from a network.
void makeRunnerProject(const TemporaryFolder& folder, const std::string& name);

/// What npm and npx run with: a home of their own, and `shell` (if not empty) as the script shell.
std::map<std::string, std::string> runnerEnvironment(const TemporaryFolder& folder,
                                                     const std::string& shell = "");

/// Waits for the tool that was started in a project, whose pid is returned; 0 when it does not come.
int32_t awaitServer(const std::filesystem::path& project);

} // namespace VintrelTests
