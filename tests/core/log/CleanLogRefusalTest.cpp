// Disks that may not be written, and folders and logs of somebody else: the old log survives.
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <fstream>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using CleanLogFile::append;
using CleanLogFile::encode;
using CleanLogFile::load;
using CleanLogFile::save;

namespace fs = std::filesystem;

TEST(ReadOnlyDisk, theLogIsReadAndStays) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const ScratchDisk disk(folder.path() / "disk", "size=128k,mode=0700");
    const std::string url = disk.folder() / "clean-log.json";
    ASSERT_TRUE(append(eventsFrom(1, 3), url, retentionCap).isSaved);
    const auto before = bytesOf(url);
    const Names names = nameSetOf(disk.folder());
    ASSERT_TRUE(disk.makeReadOnly());
    EXPECT_EQ(load(url, retentionCap), eventsFrom(1, 3));
    const auto appended = append(eventsFrom(4, 5), url, retentionCap);
    EXPECT_FALSE(appended.isSaved);
    EXPECT_EQ(appended.events, eventsFrom(1, 5));
    EXPECT_FALSE(save(eventsFrom(7, 7), url));
    EXPECT_FALSE(append(eventsFrom(4, 5), disk.folder() / "a/b/clean-log.json", retentionCap).isSaved);
    EXPECT_EQ(bytesOf(url), before);
    EXPECT_EQ(nameSetOf(disk.folder()), names);
}

TEST(ReadOnlyDisk, withoutALockThereTheLogStaysToo) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const ScratchDisk disk(folder.path() / "disk", "size=128k,mode=0700");
    const std::string url = disk.folder() / "clean-log.json";
    std::ofstream(url) << encode(eventsFrom(1, 3)).value();
    ASSERT_TRUE(disk.makeReadOnly());
    const auto appended = append(eventsFrom(4, 5), url, retentionCap);
    EXPECT_FALSE(appended.isSaved);
    EXPECT_EQ(appended.events, eventsFrom(1, 5));
    EXPECT_EQ(nameSetOf(disk.folder()), Names{"clean-log.json"});
}

TEST(OthersFolder, theLogIsReadAndStays) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    fs::permissions(folder.path(), fs::perms(0755));
    const std::string url = folder.write("Vintrel/clean-log.json", encode(eventsFrom(1, 3)).value());
    const auto before = bytesOf(url);
    EXPECT_EQ(inChild([&] {
                  const bool isNobody = becomeNobody();
                  const auto appended = append(eventsFrom(4, 5), url, retentionCap);
                  const bool isRight = !appended.isSaved && appended.events == eventsFrom(1, 5) &&
                                       !save(eventsFrom(7, 7), url) &&
                                       load(url, retentionCap) == eventsFrom(1, 3);
                  return isNobody && isRight ? 0 : 1;
              }),
              0);
    EXPECT_EQ(bytesOf(url), before);
    EXPECT_EQ(nameSetOf(folder.path() / "Vintrel"), Names{"clean-log.json"});
}

TEST(OthersFolder, aLogThatCannotBeReadIsNotLost) {
    VINTREL_NEEDS_ROOT();
    for (const uid_t owner : {uid_t{0}, uid_t{65'534}}) {
        const TemporaryFolder folder;
        fs::permissions(folder.path(), fs::perms(0777));
        const std::string old = encode(eventsFrom(1, 3)).value();
        const std::string url = folder.write("clean-log.json", old);
        ASSERT_EQ(::chown(url.c_str(), owner, owner), 0);
        fs::permissions(url, fs::perms(0));
        const int outcome = inChild([&] {
            if (!becomeNobody() || !load(url, retentionCap).empty()) {
                return 2;
            }
            return append(eventsFrom(4, 5), url, retentionCap).isSaved ? 1 : 0;
        });
        ASSERT_NE(outcome, 2);
        EXPECT_EQ(bytesOf(outcome == 1 ? url + ".damaged" : url), old);
        if (outcome == 1) {
            EXPECT_EQ(eventsIn(url), eventsFrom(4, 5));
        }
    }
}
