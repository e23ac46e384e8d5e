// Full disks: the old entry stays as it is, or the new one is complete.
#include "tests/app/login/AutostartFolders.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace Vintrel {

using namespace VintrelTests;

namespace fs = std::filesystem;

namespace {

constexpr size_t pageSize = 4'096; // of the memory that a scratch disk stands in

/// Leaves so many free pages on the disk that the folder is on.
void fill(const fs::path& folder, size_t freePages) {
    const fs::path filler = folder / "filler";
    const VintrelCore::FileDescriptor file(::open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const std::string page(pageSize, 'f');
    size_t pages = 0;
    while (::write(file.get(), page.data(), page.size()) == static_cast<ssize_t>(page.size())) {
        ++pages;
    }
    ASSERT_GE(pages, freePages);
    ASSERT_EQ(::ftruncate(file.get(), static_cast<off_t>((pages - freePages) * pageSize)), 0);
}

} // namespace

TEST(AutostartDiskTest, aFullDiskNeverLeavesADamagedEntry) {
    VINTREL_NEEDS_ROOT();
    const AutostartFolders folders;
    const ScratchDisk disk(folders.userEntry().parent_path(), "size=128k,mode=0700");
    // With a line of somebody else's that takes a page, and one that takes three.
    int written = 0;
    int refused = 0;
    for (const size_t length : {10U, 3'000U, 10'000U}) {
        const std::string old = folders.freshEntry() + "X-Mine=" + std::string(length, 'm') + "\n";
        for (size_t freePages = 0; freePages <= 6; ++freePages) {
            SCOPED_TRACE(testing::Message() << length << " bytes, " << freePages << " free pages");
            fs::remove(disk.folder() / "filler");
            std::ofstream(folders.userEntry(), std::ios::binary) << old;
            fill(disk.folder(), freePages);
            const bool isChanged = folders.item().setEnabled(false);
            ++(isChanged ? written : refused);
            EXPECT_EQ(folders.userText(), isChanged ? old + "Hidden=true\n" : old);
            EXPECT_EQ(folders.item().isEnabled(), !isChanged);
            EXPECT_EQ(namesIn(disk.folder()).size(), 2U) << "the entry and the filler, and nothing left over";
        }
    }
    EXPECT_GT(written, 0);
    EXPECT_GT(refused, 0);
}

TEST(AutostartDiskTest, aFirstEntryOnAFullDiskIsRefused) {
    VINTREL_NEEDS_ROOT();
    const AutostartFolders folders;
    const ScratchDisk disk(folders.userEntry().parent_path(), "size=128k,mode=0700");
    fill(disk.folder(), 0);
    EXPECT_FALSE(folders.item().setEnabled(true));
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_EQ(namesIn(disk.folder()).size(), 1U);
    fs::remove(disk.folder() / "filler");
    EXPECT_TRUE(folders.item().setEnabled(true));
    EXPECT_EQ(folders.userText(), folders.freshEntry());
}

TEST(AutostartDiskTest, anOwnEntryIsRemovedFromAFullDisk) {
    VINTREL_NEEDS_ROOT();
    const AutostartFolders folders;
    const ScratchDisk disk(folders.userEntry().parent_path(), "size=128k,mode=0700");
    ASSERT_TRUE(folders.item().setEnabled(true));
    fill(disk.folder(), 0);
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_FALSE(fs::exists(folders.userEntry()));
}

TEST(AutostartDiskTest, aReadOnlyDiskIsReported) {
    VINTREL_NEEDS_ROOT();
    const AutostartFolders folders;
    const ScratchDisk disk(folders.userEntry().parent_path(), "size=128k,mode=0700");
    ASSERT_TRUE(folders.item().setEnabled(true));
    ASSERT_TRUE(disk.makeReadOnly());
    EXPECT_FALSE(folders.item().setEnabled(false));
    EXPECT_TRUE(folders.item().isEnabled());
    EXPECT_EQ(folders.userText(), folders.freshEntry());
}

} // namespace Vintrel
