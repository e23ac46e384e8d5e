// Disks that are full: the old log survives, or the new one is complete.
#include "VintrelCore/base/FileDescriptor.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <memory>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>

using namespace VintrelCore;
using namespace VintrelTests;
using CleanLogFile::append;
using CleanLogFile::decode;
using CleanLogFile::encode;
using CleanLogFile::load;
using CleanLogFile::save;

namespace fs = std::filesystem;

namespace {

constexpr size_t pageSize = 4'096; // of the memory that a scratch disk stands in

/// Writes a file until the disk holds no more, then gives back so many pages.
void fillUpTo(const fs::path& filler, size_t freePages) {
    const FileDescriptor file(::open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const std::string page(pageSize, 'f');
    size_t pages = 0;
    while (::write(file.get(), page.data(), page.size()) == static_cast<ssize_t>(page.size())) {
        ++pages;
    }
    ASSERT_GE(pages, freePages);
    ASSERT_EQ(::ftruncate(file.get(), static_cast<off_t>((pages - freePages) * pageSize)), 0);
}

/// A log of so many events on a nearly full disk.
class FullDisk {
public:
    explicit FullDisk(const std::string& options = "size=128k,mode=0700")
        : m_disk(m_folder.path() / "disk", options) {}

    [[nodiscard]] fs::path folder() const { return m_disk.folder(); }

    [[nodiscard]] std::string url() const { return folder() / "clean-log.json"; }

    void start(const std::optional<std::string>& bytes, size_t freePages) const {
        for (const std::string& name : namesIn(folder())) {
            fs::remove_all(folder() / name);
        }
        if (bytes) {
            std::ofstream(url(), std::ios::binary) << *bytes;
        }
        fillUpTo(folder() / "filler", freePages);
    }

private:
    TemporaryFolder m_folder;
    ScratchDisk m_disk;
};

/// What may stand on the disk, a damaged log apart.
Names usualNames() {
    return {"clean-log.json", "filler", lockNameOf("clean-log.json")};
}

void expectOnly(const Names& allowed, const fs::path& folder) {
    for (const std::string& name : namesIn(folder)) {
        EXPECT_TRUE(allowed.contains(name)) << name << " is left";
    }
}

struct Tally {
    int written = 0;
    int refused = 0;

    void add(bool isSaved) { ++(isSaved ? written : refused); }

    void print(const char* what) const {
        std::cout << what << ": " << written + refused << " combinations, " << written << " written whole, "
                  << refused << " refused, nothing lost\n";
        EXPECT_GT(written, 0);
        EXPECT_GT(refused, 0);
    }
};

std::optional<std::string> logOf(int64_t count) {
    return count == 0 ? std::nullopt : encode(eventsFrom(1, count));
}

} // namespace

TEST(FullDiskTest, appendAddsAllOrLeavesTheLogAsItWas) {
    VINTREL_NEEDS_ROOT();
    const FullDisk disk;
    const Names allowed = usualNames();
    Tally tally;
    for (const int64_t count : {0, 1, 35, 70, 140, 300}) {
        for (const size_t freePages : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 8U, 10U, 12U, 14U}) {
            SCOPED_TRACE(std::to_string(count) + " events, " + std::to_string(freePages) + " free pages");
            const auto before = logOf(count);
            disk.start(before, freePages);
            const Events added = eventsFrom(count + 1, count + 40);
            const auto appended = append(added, disk.url(), retentionCap);
            tally.add(appended.isSaved);
            EXPECT_EQ(appended.events, eventsFrom(1, count + 40));
            EXPECT_EQ(bytesOf(disk.url()), appended.isSaved ? encode(eventsFrom(1, count + 40)) : before);
            expectOnly(allowed, disk.folder());
        }
    }
    tally.print("append on a full disk");
}

TEST(FullDiskTest, saveReplacesAllOrLeavesTheLogAsItWas) {
    VINTREL_NEEDS_ROOT();
    const FullDisk disk;
    const Names allowed = usualNames();
    Tally tally;
    for (const int64_t count : {0, 1, 70, 300}) {
        for (const size_t freePages : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 10U}) {
            SCOPED_TRACE(std::to_string(count) + " events, " + std::to_string(freePages) + " free pages");
            const auto before = logOf(count);
            disk.start(before, freePages);
            const bool isSaved = save(eventsFrom(1'000, 1'200), disk.url());
            tally.add(isSaved);
            EXPECT_EQ(bytesOf(disk.url()), isSaved ? encode(eventsFrom(1'000, 1'200)) : before);
            expectOnly(allowed, disk.folder());
        }
    }
    tally.print("save on a full disk");
}

TEST(FullDiskTest, aDamagedLogIsNotLostAndNotKeptTwice) {
    VINTREL_NEEDS_ROOT();
    const FullDisk disk;
    Names allowed = usualNames();
    allowed.insert("clean-log.json.damaged");
    Tally tally;
    for (const size_t size : {10U, 5'000U, 20'000U}) {
        for (const size_t freePages : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 8U, 10U, 12U}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, " + std::to_string(freePages) + " free pages");
            const std::string damaged(size, 'd');
            disk.start(damaged, freePages);
            bool isSaved = false;
            for (int tries = 0; tries < 3 && !isSaved; ++tries) {
                isSaved = append(eventsFrom(1, 60), disk.url(), retentionCap).isSaved;
                expectOnly(allowed, disk.folder());
                EXPECT_EQ(bytesOf(disk.url()), isSaved ? encode(eventsFrom(1, 60)) : damaged);
            }
            tally.add(isSaved);
            const auto kept = bytesOf(disk.url() + ".damaged");
            EXPECT_EQ(isSaved ? kept : kept.value_or(damaged), damaged);
        }
    }
    tally.print("a damaged log on a full disk");
}

TEST(FullDiskTest, withoutRoomForAnotherFileTheLogStays) {
    VINTREL_NEEDS_ROOT();
    const Names allowed = usualNames();
    for (const int files : {3, 4}) { // the folder, the log, the filler; and the lock
        const FullDisk disk("size=128k,mode=0700,nr_inodes=" + std::to_string(files));
        const auto before = encode(eventsFrom(1, 10));
        disk.start(before, 10);
        const auto appended = append(eventsFrom(11, 12), disk.url(), retentionCap);
        EXPECT_FALSE(appended.isSaved);
        EXPECT_EQ(appended.events, eventsFrom(1, 12));
        EXPECT_EQ(bytesOf(disk.url()), before);
        expectOnly(allowed, disk.folder());
        EXPECT_EQ(load(disk.url(), retentionCap), eventsFrom(1, 10));
    }
}

TEST(FullDiskTest, onceThereIsRoomAgainTheEventsAreWritten) {
    VINTREL_NEEDS_ROOT();
    const FullDisk disk;
    disk.start(encode(eventsFrom(1, 40)), 0);
    EXPECT_FALSE(append(eventsFrom(41, 80), disk.url(), retentionCap).isSaved);
    fs::remove(disk.folder() / "filler");
    EXPECT_TRUE(append(eventsFrom(41, 80), disk.url(), retentionCap).isSaved);
    EXPECT_EQ(eventsIn(disk.url()), eventsFrom(1, 80));
}

TEST(FullDiskTest, aFileThatMayNotGrowIsAFullDiskToo) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / "clean-log.json";
    ASSERT_TRUE(append(eventsFrom(1, 20), url, retentionCap).isSaved);
    const auto before = bytesOf(url);
    const Names names = nameSetOf(folder.path());
    for (const rlim_t limit : {0U, 1U, 100U, 3'000U}) {
        EXPECT_EQ(inChild([&] {
                      ::signal(SIGXFSZ, SIG_IGN);
                      const rlimit most{limit, limit};
                      ::setrlimit(RLIMIT_FSIZE, &most);
                      return append(eventsFrom(21, 90), url, retentionCap).isSaved ? 1 : 0;
                  }),
                  0);
        EXPECT_EQ(bytesOf(url), before) << limit;
        EXPECT_EQ(nameSetOf(folder.path()), names) << limit;
    }
}

TEST(FullDiskTest, withoutDescriptorsNothingIsLost) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / "clean-log.json";
    ASSERT_TRUE(append(eventsFrom(1, 20), url, retentionCap).isSaved);
    for (const rlim_t spare : {0U, 1U, 2U, 3U, 4U}) {
        const auto before = eventsIn(url).value();
        const int isSaved = inChild([&] {
            const rlim_t used = static_cast<rlim_t>(::dup(0));
            ::close(static_cast<int>(used));
            const rlimit most{used + spare, used + spare};
            ::setrlimit(RLIMIT_NOFILE, &most);
            return append(eventsFrom(100, 100), url, retentionCap).isSaved ? 1 : 0;
        });
        Events after = before;
        if (isSaved == 1) {
            after.push_back(eventAt(100));
        }
        EXPECT_EQ(eventsIn(url), after) << "with " << spare << " descriptors to spare";
        EXPECT_EQ(namesIn(folder.path()).size(), 2U);
    }
}
