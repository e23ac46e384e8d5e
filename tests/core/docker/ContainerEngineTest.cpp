// The engine of the tests itself: it is real, several can run at once, and nothing of one is left behind.
#include "tests/support/ContainerEngine.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/platform/Platform.h"
#include "tests/support/NeedsRoot.h"

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace VintrelTests {

namespace {

bool isMounted(const std::filesystem::path& folder) {
    const auto mounts = VintrelCore::File::readKernelFile("/proc/self/mountinfo", size_t{16} << 20);
    return mounts.value().find(folder.string()) != std::string::npos;
}

} // namespace

TEST(ContainerEngineTest, aContainersFirstProcessIsAProcessOfThisMachine) {
    VINTREL_NEEDS_ROOT();
    ContainerEngine engine;
    const int32_t pid = engine.start("web-1", {"sleep", "1000"});

    const auto line = VintrelCore::File::readKernelFile("/proc/" + std::to_string(pid) + "/cmdline", 4'096);
    EXPECT_EQ(line, std::string("sleep\0001000\0", 11));
    const auto group = VintrelCore::File::readKernelFile("/proc/" + std::to_string(pid) + "/cgroup", 65'536);
    EXPECT_NE(group.value_or("").find("docker"), std::string::npos) << group.value_or("");
    EXPECT_EQ(engine.docker({"ps", "--format", "{{.Names}}"}), "web-1\n");
    EXPECT_THROW(engine.start("brief", {"true"}), std::runtime_error);
}

TEST(ContainerEngineTest, leavesNothingBehind) {
    VINTREL_NEEDS_ROOT();
    std::filesystem::path folder;
    int32_t pid = 0;
    std::optional<VintrelCore::ProcStartTime> started;
    {
        ContainerEngine engine;
        folder = engine.folder();
        pid = engine.start("stubborn", {"sleep", "1000"}, {"--restart=always", "--stop-timeout=600"});
        started = VintrelCore::Platform::startTime(pid);
        ASSERT_TRUE(started);
        EXPECT_GE(engineProcessesNaming(folder).size(), 3U) << "the engine, what it runs, and a shim";
    }
    EXPECT_TRUE(engineProcessesNaming(folder).empty());
    EXPECT_NE(VintrelCore::Platform::startTime(pid), started);
    EXPECT_FALSE(isMounted(folder));
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(ContainerEngineTest, severalDoNotSeeEachOther) {
    VINTREL_NEEDS_ROOT();
    ContainerEngine first;
    ContainerEngine second;
    EXPECT_NE(first.host(), second.host());
    first.start("web-1", {"sleep", "1000"});
    EXPECT_EQ(second.docker({"ps", "--all", "--quiet"}), "");
    const int32_t same = second.start("web-1", {"sleep", "1000"});
    EXPECT_EQ(second.docker({"inspect", "--format", "{{.State.Pid}}", "web-1"}), std::to_string(same) + "\n");
}

} // namespace VintrelTests
