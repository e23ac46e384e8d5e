// A log that is a link, and things that stand where the log should.
#include "VintrelCore/base/FileDescriptor.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <chrono>
#include <cstring>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::chrono_literals;
using CleanLogFile::append;
using CleanLogFile::encode;
using CleanLogFile::load;
using CleanLogFile::save;

namespace fs = std::filesystem;

namespace {

const std::string logName = "clean-log.json";

/// A folder "Vintrel" for the link and a folder "real" for where it leads.
class LinkedLog : public ::testing::Test {
protected:
    [[nodiscard]] fs::path path(const std::string& relative) const { return m_folder.path() / relative; }

    void link(const fs::path& target, const std::string& relative) const {
        fs::create_directories(path(relative).parent_path());
        fs::create_symlink(target, path(relative));
    }

    void writeLog(const std::string& relative, const Events& events) const {
        m_folder.write(relative, encode(events).value());
    }

    [[nodiscard]] std::string url() const { return path("Vintrel/" + logName); }

    /// Appends through the link: it stays what it is, and all that is new stands beside its target.
    void expectWrittenAt(const std::string& relative) const {
        const fs::path leadsTo = fs::read_symlink(url());
        const Events before = load(url(), retentionCap);
        const Names besideLink = nameSetOf(path("Vintrel"));
        const int64_t next = static_cast<int64_t>(before.size()) + 1;
        EXPECT_TRUE(append(eventsFrom(next, next), url(), retentionCap).isSaved);
        EXPECT_EQ(load(url(), retentionCap), eventsFrom(1, next));
        EXPECT_EQ(eventsIn(path(relative)), eventsFrom(1, next));
        EXPECT_EQ(fs::read_symlink(url()), leadsTo);
        EXPECT_EQ(nameSetOf(path("Vintrel")), besideLink);
        const std::string name = path(relative).filename();
        EXPECT_EQ(nameSetOf(path(relative).parent_path()), (Names{name, lockNameOf(name)}));
        EXPECT_EQ(modeOf(path(relative)), 0600);
    }

private:
    TemporaryFolder m_folder;
};

/// A log must not take the place of what stands there: it stays, with all that is in it.
void expectNothingHappens(const fs::path& log) {
    struct stat before{};
    ASSERT_EQ(::lstat(log.c_str(), &before), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(load(log, retentionCap), Events{});
    const auto appended = append(eventsFrom(1, 2), log, retentionCap);
    EXPECT_FALSE(appended.isSaved);
    EXPECT_EQ(appended.events, eventsFrom(1, 2));
    EXPECT_FALSE(save(eventsFrom(1, 2), log));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
    struct stat after{};
    ASSERT_EQ(::lstat(log.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_mode, after.st_mode);
    Names names = nameSetOf(log.parent_path());
    names.erase(lockNameOf(log.filename()));
    EXPECT_EQ(names, Names{log.filename()});
}

} // namespace

TEST_F(LinkedLog, anAbsoluteLinkIsFollowed) {
    writeLog("real/events.json", eventsFrom(1, 3));
    link(path("real/events.json"), "Vintrel/" + logName);
    expectWrittenAt("real/events.json");
    expectWrittenAt("real/events.json");
}

TEST_F(LinkedLog, aRelativeLinkIsFollowedFromItsFolder) {
    writeLog("real/" + logName, eventsFrom(1, 3));
    link("../real/" + logName, "Vintrel/" + logName);
    expectWrittenAt("real/" + logName);
}

TEST_F(LinkedLog, aChainOfLinksIsFollowedToItsEnd) {
    writeLog("real/deep/" + logName, eventsFrom(1, 3));
    link("deep/" + logName, "real/last");
    link(path("real/last"), "between/middle");
    link("../between/middle", "Vintrel/" + logName);
    expectWrittenAt("real/deep/" + logName);
    EXPECT_TRUE(fs::is_symlink(path("real/last")));
    EXPECT_TRUE(fs::is_symlink(path("between/middle")));
    EXPECT_EQ(namesIn(path("between")), std::vector<std::string>{"middle"});
    EXPECT_EQ(nameSetOf(path("real")), (Names{"last", "deep"}));
}

TEST_F(LinkedLog, aLinkedFolderIsAFolder) {
    writeLog("real/" + logName, eventsFrom(1, 3));
    fs::create_directory_symlink(path("real"), path("Vintrel"));
    EXPECT_TRUE(append(eventsFrom(4, 4), url(), retentionCap).isSaved);
    EXPECT_EQ(eventsIn(path("real/" + logName)), eventsFrom(1, 4));
    EXPECT_TRUE(fs::is_symlink(path("Vintrel")));
    EXPECT_EQ(nameSetOf(path("real")), (Names{logName, lockNameOf(logName)}));
}

TEST_F(LinkedLog, theParentOfALinkedFolderIsWhereItReallyStands) {
    writeLog("real/deep/inner/readme", {});
    writeLog("real/deep/events.json", eventsFrom(1, 2));
    writeLog("events.json", eventsFrom(50, 60)); // what a reading of the path as text would find
    fs::create_directory_symlink(path("real/deep/inner"), path("Vintrel"));
    fs::create_symlink("../events.json", path("Vintrel/" + logName));
    EXPECT_TRUE(append(eventsFrom(3, 3), url(), retentionCap).isSaved);
    EXPECT_EQ(eventsIn(path("real/deep/events.json")), eventsFrom(1, 3));
    EXPECT_EQ(eventsIn(path("events.json")), eventsFrom(50, 60));
    EXPECT_TRUE(fs::is_symlink(url()));
}

TEST_F(LinkedLog, aLinkToWhatIsNotThereYetMakesIt) {
    fs::create_directories(path("real"));
    link("../real/events.json", "Vintrel/" + logName);
    EXPECT_EQ(load(url(), retentionCap), Events{});
    expectWrittenAt("real/events.json");
}

TEST_F(LinkedLog, aLinkIntoAMissingFolderMakesItToo) {
    link(path("real/a/b/events.json"), "Vintrel/" + logName);
    expectWrittenAt("real/a/b/events.json");
    EXPECT_EQ(modeOf(path("real/a/b")), 0700);
}

TEST_F(LinkedLog, aDamagedTargetIsKeptBesideIt) {
    fs::create_directories(path("real"));
    std::ofstream(path("real/" + logName)) << "damaged";
    link("../real/" + logName, "Vintrel/" + logName);
    EXPECT_TRUE(append(eventsFrom(1, 2), url(), retentionCap).isSaved);
    EXPECT_EQ(eventsIn(path("real/" + logName)), eventsFrom(1, 2));
    EXPECT_EQ(bytesOf(path("real/" + logName + ".damaged")), "damaged");
    EXPECT_TRUE(fs::is_symlink(url()));
    EXPECT_EQ(namesIn(path("Vintrel")), std::vector<std::string>{logName});
}

TEST_F(LinkedLog, saveFollowsTheLink) {
    writeLog("real/events.json", eventsFrom(1, 3));
    link("../real/events.json", "Vintrel/" + logName);
    EXPECT_TRUE(save(eventsFrom(7, 9), url()));
    EXPECT_EQ(eventsIn(path("real/events.json")), eventsFrom(7, 9));
    EXPECT_EQ(fs::read_symlink(url()), "../real/events.json");
    EXPECT_EQ(namesIn(path("Vintrel")), std::vector<std::string>{logName});
}

TEST_F(LinkedLog, theSameLogByTwoNamesHasOneLock) {
    writeLog("real/events.json", {});
    link("../real/events.json", "Vintrel/" + logName);
    EXPECT_TRUE(append(eventsFrom(1, 1), url(), retentionCap).isSaved);
    EXPECT_TRUE(append(eventsFrom(2, 2), path("real/events.json"), retentionCap).isSaved);
    EXPECT_EQ(load(url(), retentionCap), eventsFrom(1, 2));
    EXPECT_EQ(nameSetOf(path("real")), (Names{"events.json", lockNameOf("events.json")}));
}

TEST_F(LinkedLog, linksInACircleAreLeftAlone) {
    link("second", "Vintrel/" + logName);
    link("third", "Vintrel/second");
    link(logName, "Vintrel/third");
    EXPECT_EQ(load(url(), retentionCap), Events{});
    const auto appended = append(eventsFrom(1, 2), url(), retentionCap);
    EXPECT_FALSE(appended.isSaved);
    EXPECT_EQ(appended.events, eventsFrom(1, 2));
    EXPECT_FALSE(save(eventsFrom(1, 2), url()));
    EXPECT_EQ(nameSetOf(path("Vintrel")), (Names{logName, "second", "third"}));
    EXPECT_EQ(fs::read_symlink(url()), "second");
    EXPECT_EQ(fs::read_symlink(path("Vintrel/third")), logName);
}

TEST_F(LinkedLog, aLinkToItselfIsLeftAlone) {
    link(logName, "Vintrel/" + logName);
    EXPECT_FALSE(append(eventsFrom(1, 2), url(), retentionCap).isSaved);
    EXPECT_EQ(namesIn(path("Vintrel")), std::vector<std::string>{logName});
    EXPECT_EQ(fs::read_symlink(url()), logName);
}

TEST_F(LinkedLog, aLinkToAFolderIsLeftAlone) {
    writeLog("real/folder/inside", eventsFrom(1, 1));
    link("../real/folder", "Vintrel/" + logName);
    EXPECT_FALSE(append(eventsFrom(1, 2), url(), retentionCap).isSaved);
    EXPECT_TRUE(fs::is_symlink(url()));
    EXPECT_EQ(eventsIn(path("real/folder/inside")), eventsFrom(1, 1));
    EXPECT_EQ(namesIn(path("real/folder")), std::vector<std::string>{"inside"});
    EXPECT_EQ(namesIn(path("Vintrel")), std::vector<std::string>{logName});
}

TEST(LogsPlace, aMissingFolderIsMade) {
    const TemporaryFolder folder;
    const std::string url = folder.path() / "a/b c/ä/Vintrel" / logName;
    EXPECT_TRUE(append(eventsFrom(1, 2), url, retentionCap).isSaved);
    EXPECT_EQ(eventsIn(url), eventsFrom(1, 2));
}

TEST(LogsPlace, aFileInPlaceOfAFolderStays) {
    const TemporaryFolder folder;
    const auto file = folder.write("Vintrel", "a file");
    EXPECT_FALSE(append(eventsFrom(1, 2), file / logName, retentionCap).isSaved);
    EXPECT_FALSE(save(eventsFrom(1, 2), file / "deeper" / logName));
    EXPECT_EQ(bytesOf(file), "a file");
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{"Vintrel"});
}

TEST(LogsPlace, aFolderInPlaceOfTheLogStays) {
    const TemporaryFolder folder;
    fs::create_directories(folder.path() / logName);
    expectNothingHappens(folder.path() / logName); // one that is empty could be moved out of the way
    folder.write(logName + "/inside", "mine");
    expectNothingHappens(folder.path() / logName);
    EXPECT_EQ(bytesOf(folder.path() / logName / "inside"), "mine");
}

TEST(LogsPlace, aPipeInPlaceOfTheLogStaysAndIsNotWaitedFor) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder.path() / logName).c_str(), 0600), 0);
    expectNothingHappens(folder.path() / logName);
}

TEST(LogsPlace, aSocketInPlaceOfTheLogStays) {
    const TemporaryFolder folder;
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string place = folder.path() / logName;
    ASSERT_LT(place.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, place.c_str(), place.size());
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectNothingHappens(place);
}

TEST(LogsPlace, aDeviceInPlaceOfTheLogStays) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    ASSERT_EQ(::mknod((folder.path() / logName).c_str(), S_IFCHR | 0666, makedev(1, 3)), 0); // as /dev/null
    expectNothingHappens(folder.path() / logName);
}

TEST(LogsPlace, theNamesForDamagedLogsMayBeTaken) {
    const TemporaryFolder folder;
    const std::string url = folder.write(logName, "damaged");
    folder.write(logName + ".damaged/inside", "a folder");
    EXPECT_TRUE(append(eventsFrom(1, 2), url, retentionCap).isSaved);
    EXPECT_EQ(eventsIn(url), eventsFrom(1, 2));
    EXPECT_EQ(bytesOf(folder.path() / (logName + ".damaged/inside")), "a folder");
    size_t kept = 0;
    for (const std::string& name : namesIn(folder.path())) {
        kept += bytesOf(folder.path() / name) == "damaged" ? 1U : 0U;
    }
    EXPECT_EQ(kept, 1U);
}

TEST(LogsPlace, aLinkAtTheNameForDamagedLogsIsNotFollowed) {
    const TemporaryFolder folder;
    const std::string url = folder.write(logName, "damaged");
    fs::create_symlink("elsewhere", url + ".damaged");
    EXPECT_TRUE(append(eventsFrom(1, 2), url, retentionCap).isSaved);
    EXPECT_EQ(fs::read_symlink(url + ".damaged"), "elsewhere");
    EXPECT_FALSE(fs::exists(folder.path() / "elsewhere"));
}
