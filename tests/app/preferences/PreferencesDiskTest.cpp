// Disks that are full: the old settings survive, or the new ones are complete.
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"
#include "tests/core/base/FolderContent.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <chrono>
#include <fstream>
#include <iostream>
#include <optional>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>

namespace Vintrel {

using namespace VintrelTests;

namespace fs = std::filesystem;

namespace {

constexpr size_t pageSize = 4'096; // of the memory that a scratch disk stands in

/// A nearly full disk in place of the settings' folder.
class NearlyFullDisk {
public:
    explicit NearlyFullDisk(const std::string& options = "size=128k,mode=0700")
        : m_disk(m_store.file().parent_path(), options) {}

    [[nodiscard]] fs::path file() const { return m_store.file(); }

    [[nodiscard]] fs::path folder() const { return m_disk.folder(); }

    /// Begins anew: with this file, and so many pages that are free.
    void start(const std::optional<std::string>& bytes, size_t freePages) const {
        for (const std::string& name : namesIn(folder())) {
            fs::remove_all(folder() / name);
        }
        if (bytes) {
            std::ofstream(file(), std::ios::binary) << *bytes;
            // Qt remembers what it has read of a file until its size or time differ, and the clock ticks
            // slowly.
            fs::last_write_time(file(), fs::file_time_type::clock::now() - std::chrono::hours(1));
        }
        const fs::path filler = folder() / "filler";
        const VintrelCore::FileDescriptor stream(
            ::open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const std::string page(pageSize, 'f');
        size_t pages = 0;
        while (::write(stream.get(), page.data(), page.size()) == static_cast<ssize_t>(page.size())) {
            ++pages;
        }
        ASSERT_GE(pages, freePages);
        ASSERT_EQ(::ftruncate(stream.get(), static_cast<off_t>((pages - freePages) * pageSize)), 0);
    }

private:
    SettingsStore m_store;
    ScratchDisk m_disk;
};

/// The bytes that settings are stored as; absent for those that were never stored.
std::optional<std::string> bytesFor(const std::optional<Preferences>& values) {
    const SettingsStore store;
    return values && values->save(allKeys) ? bytesOf(store.file()) : std::nullopt;
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

/// What `save` said, and what is there now.
void expectOldOrNew(bool isSaved, const Preferences& before, const Preferences& after) {
    const auto [read, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(described(read), described(isSaved ? after : before));
}

} // namespace

TEST(PreferencesDiskTest, aFullDiskKeepsTheOldSettingsOrHoldsTheNew) {
    VINTREL_NEEDS_ROOT();
    std::map<size_t, std::optional<std::string>> bytes{{0, std::nullopt}};
    for (const size_t count : {1U, 90U, 300U, 600U}) {
        bytes[count] = bytesFor(manyEntries(count, "old"));
    }
    const NearlyFullDisk disk;
    Tally tally;
    for (const auto& [oldCount, oldBytes] : bytes) {
        for (const size_t newCount : {1U, 90U, 101U, 300U, 450U, 900U}) {
            for (const size_t freePages : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 8U, 9U, 10U, 12U, 15U, 18U, 22U}) {
                SCOPED_TRACE(testing::Message() << oldCount << " entries, then " << newCount << ", "
                                                << freePages << " free pages");
                disk.start(oldBytes, freePages);
                Picture before = pictureOf(disk.folder());
                const Preferences old = oldBytes ? manyEntries(oldCount, "old") : Preferences{};
                const Preferences values = manyEntries(newCount, "new");
                const bool isSaved = values.save(allKeys);
                tally.add(isSaved);
                expectOldOrNew(isSaved, old, values);
                Picture after = pictureOf(disk.folder());
                if (isSaved) { // only the file itself is another one
                    before.erase(disk.file());
                    after.erase(disk.file());
                }
                EXPECT_EQ(after, before);
            }
        }
    }
    tally.print("settings on a full disk");
}

TEST(PreferencesDiskTest, aFullDiskKeepsTheOtherSettings) {
    VINTREL_NEEDS_ROOT();
    const auto bytes = bytesFor(manyEntries(300, "old"));
    const NearlyFullDisk disk;
    Tally tally;
    for (size_t freePages = 0; freePages <= 20; ++freePages) {
        SCOPED_TRACE(freePages);
        disk.start(bytes, freePages);
        const Preferences before = manyEntries(300, "old");
        Preferences after = before;
        after.scanInterval = 7;
        const bool isSaved = after.save({Key::scanInterval});
        tally.add(isSaved);
        expectOldOrNew(isSaved, before, after);
    }
    tally.print("one setting on a full disk");
}

TEST(PreferencesDiskTest, aDamagedFileOnAFullDiskIsNeverLost) {
    VINTREL_NEEDS_ROOT();
    const NearlyFullDisk disk;
    Tally tally;
    for (const size_t size : {10U, 5'000U, 20'000U}) {
        for (const size_t newCount : {1U, 101U, 450U}) {
            for (const size_t freePages : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 8U, 10U, 14U, 18U}) {
                SCOPED_TRACE(testing::Message() << size << " bytes, then " << newCount << " entries, "
                                                << freePages << " free pages");
                const std::string damaged = std::string(size, 'd') + "\n";
                disk.start(damaged, freePages);
                const Picture before = pictureOf(disk.folder());
                const Preferences values = manyEntries(newCount, "new");
                const bool isSaved = values.save(allKeys);
                tally.add(isSaved);
                if (isSaved) {
                    EXPECT_EQ(described(Preferences::load().values), described(values));
                    EXPECT_EQ(keptWith(damaged, disk.file()), std::set<std::string>{"Vintrel.conf.damaged"});
                } else {
                    EXPECT_EQ(pictureOf(disk.folder()), before);
                }
            }
        }
    }
    tally.print("damaged settings on a full disk");
}

TEST(PreferencesDiskTest, withoutRoomForAnotherFileTheSettingsStay) {
    VINTREL_NEEDS_ROOT();
    const auto bytes = bytesFor(distinctValues());
    for (const int files : {3, 4}) { // the folder, the settings, the filler; and perhaps a lock
        const NearlyFullDisk disk("size=128k,mode=0700,nr_inodes=" + std::to_string(files));
        disk.start(bytes, 10);
        const Picture before = pictureOf(disk.folder());
        EXPECT_FALSE((Preferences{.scanInterval = 7}).save({Key::scanInterval}));
        EXPECT_EQ(pictureOf(disk.folder()), before);
        expectStored(distinctValues());
    }
}

TEST(PreferencesDiskTest, onceThereIsRoomAgainItIsSaved) {
    VINTREL_NEEDS_ROOT();
    const auto bytes = bytesFor(manyEntries(100, "old"));
    const NearlyFullDisk disk;
    disk.start(bytes, 0);
    EXPECT_FALSE(manyEntries(200, "new").save(allKeys));
    fs::remove(disk.folder() / "filler");
    EXPECT_TRUE(manyEntries(200, "new").save(allKeys));
    expectStored(manyEntries(200, "new"));
    EXPECT_EQ(modeOf(disk.file()), 0600);
}

TEST(PreferencesDiskTest, aFileThatMayNotGrowIsAFullDiskToo) {
    const SettingsStore store;
    const Preferences values = manyEntries(40, "new");
    ASSERT_TRUE(values.save(allKeys));
    const rlim_t size = fs::file_size(store.file());
    ASSERT_TRUE(distinctValues().save(allKeys));
    const auto before = pictureOf(store.folder());
    for (const rlim_t limit :
         {rlim_t{0}, rlim_t{1}, rlim_t{10}, rlim_t{100}, rlim_t{222}, size / 2, size - 1, size, size + 1}) {
        const int isSaved = inChild([&] {
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit most{limit, limit};
            ::setrlimit(RLIMIT_FSIZE, &most);
            return values.save(allKeys) ? 1 : 0;
        });
        SCOPED_TRACE(testing::Message() << "limit " << limit << " for " << size << " bytes");
        if (limit != size - 1) { // the last line is whole without its line feed
            EXPECT_EQ(isSaved, limit < size ? 0 : 1);
        }
        if (isSaved == 0) {
            EXPECT_EQ(pictureOf(store.folder()), before);
        } else {
            expectStored(values);
            ASSERT_TRUE(distinctValues().save(allKeys));
        }
    }
}

TEST(PreferencesDiskTest, withoutDescriptorsNothingIsLost) {
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    const size_t usual = pictureOf(store.folder()).size();
    Tally tally;
    Preferences before = distinctValues();
    for (rlim_t spare = 0; spare < 12; ++spare) {
        Preferences after = before;
        after.scanInterval = 100 + static_cast<double>(spare);
        const int isSaved = inChild([&] {
            const rlim_t used = static_cast<rlim_t>(::dup(0));
            ::close(static_cast<int>(used));
            const rlimit most{used + spare, used + spare};
            ::setrlimit(RLIMIT_NOFILE, &most);
            return after.save({Key::scanInterval}) ? 1 : 0;
        });
        tally.add(isSaved == 1);
        expectOldOrNew(isSaved == 1, before, after);
        EXPECT_EQ(pictureOf(store.folder()).size(), usual) << "with " << spare << " descriptors to spare";
        before = Preferences::load().values;
    }
    tally.print("settings without descriptors");
}

} // namespace Vintrel
