#include "VintrelCore/base/File.h"

#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace VintrelCore;
using VintrelTests::TemporaryFolder;

TEST(File, readGivesAllBytesUpToTheLimit) {
    const TemporaryFolder folder;
    const std::string bytes(10'000, 'b');
    const auto path = folder.write("file", bytes);
    EXPECT_EQ(File::read(path, 10'000), bytes);
    EXPECT_EQ(File::read(path, 9'999), std::nullopt);
    EXPECT_EQ(File::read(folder.write("empty", ""), 10), "");
}

TEST(File, readGivesNothingForWhatIsNoRegularFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(File::read(folder.path(), 10), std::nullopt);
    EXPECT_EQ(File::read(folder.path() / "missing", 10), std::nullopt);
    EXPECT_EQ(File::read("/dev/zero", 10), std::nullopt);
    const auto pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(File::read(pipe, 10), std::nullopt); // and does not wait for a writer
}

TEST(File, readKernelFileReadsWhatHasNoSize) {
    const auto status = File::readKernelFile("/proc/self/status", 1 << 16);
    ASSERT_TRUE(status);
    EXPECT_TRUE(status->contains("\nUid:\t"));
    EXPECT_EQ(File::readKernelFile("/proc/self/status", 16), std::nullopt);
}

TEST(File, existsFollowsLinks) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder.path(), folder.path() / "good");
    std::filesystem::create_symlink(folder.path() / "nothing", folder.path() / "dangling");
    EXPECT_TRUE(File::exists(folder.path() / "good"));
    EXPECT_FALSE(File::exists(folder.path() / "dangling"));
}
