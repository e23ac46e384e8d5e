#pragma once

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>

// For the insides of death tests that need another world: a process with mounts of its own cannot go back.
// Needs root.
namespace VintrelTests {

/// Ends the process when the world cannot be made as the test needs it.
inline void mustWork(bool worked, const std::string& what) {
    if (!worked) {
        std::cerr << "no world for the test: " << what << '\n';
        std::_Exit(2);
    }
}

/// From now on, mounts are this process's own, and those of the processes that it starts.
inline void haveMountsOfOnesOwn() {
    mustWork(::unshare(CLONE_NEWNS) == 0, "unshare");
    mustWork(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
}

/// Puts `replacement` in the place of a tool. A file becomes executable first.
inline void replaceTool(const std::filesystem::path& tool, const std::filesystem::path& replacement) {
    if (std::filesystem::is_regular_file(replacement)) {
        std::filesystem::permissions(replacement, static_cast<std::filesystem::perms>(0755));
    }
    const std::string real = std::filesystem::canonical(tool).string();
    mustWork(::mount(replacement.c_str(), real.c_str(), nullptr, MS_BIND, nullptr) == 0, real);
}

/// Ends a death test's process: 0 when all that it expected held. GoogleTest says nothing in there by itself.
[[noreturn]] inline void exitWithVerdict() {
    const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int part = 0; part < result.total_part_count(); ++part) {
        if (result.GetTestPartResult(part).failed()) {
            std::cerr << result.GetTestPartResult(part).message() << '\n';
        }
    }
    std::_Exit(result.Failed() ? 1 : 0);
}

} // namespace VintrelTests
