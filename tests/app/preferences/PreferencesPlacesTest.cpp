// Where the settings may stand: behind links, and where they cannot be written.
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"
#include "tests/core/base/FolderContent.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <chrono>
#include <cstring>
#include <fstream>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace Vintrel {

using namespace VintrelTests;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

/// What stands there is nothing that settings may take the place of: it stays, with all that is in it.
void expectNothingHappens(const SettingsStore& store) {
    const Picture before = pictureOf(store.folder());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(distinctValues().save(allKeys));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
    EXPECT_EQ(pictureOf(store.folder()), before);
}

/// The file is a link to elsewhere.
class PreferencesLinkTest : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(m_store.file().parent_path()); }

    [[nodiscard]] fs::path real(const std::string& relative) const { return m_elsewhere.path() / relative; }

    void link(const fs::path& target) const { fs::create_symlink(target, m_store.file()); }

    /// Saves through the link: it stays what it is, and the file stands where it leads, alone.
    void expectSavedAt(const fs::path& file, const Preferences& before) const {
        const Picture links = pictureOf(m_store.folder());
        Preferences values = before;
        values.elapsedThreshold = 77;
        ASSERT_TRUE(values.save({Key::elapsedThreshold}));
        expectStored(values);
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(file)));
        EXPECT_EQ(storedIn(file)["elapsedThreshold"].toDouble(), 77);
        EXPECT_EQ(modeOf(file), 0600);
        EXPECT_EQ(pictureOf(m_store.folder()), links);
        EXPECT_LE(namesIn(file.parent_path()).size(), 2U) << "the file, and perhaps a lock";
        EXPECT_EQ(namesIn(m_store.file().parent_path()), std::vector<std::string>{"Vintrel.conf"});
    }

    const SettingsStore m_store;
    const TemporaryFolder m_elsewhere;
};

} // namespace

TEST_F(PreferencesLinkTest, anAbsoluteLinkIsFollowed) {
    link(m_elsewhere.write("dotfiles/vintrel", "[General]\nscanInterval=45\n"));
    expectSavedAt(real("dotfiles/vintrel"), {.scanInterval = 45});
}

TEST_F(PreferencesLinkTest, aChainOfLinksIsFollowedToItsEnd) {
    m_elsewhere.write("dotfiles/deep/vintrel", "[General]\nscanInterval=45\n");
    fs::create_symlink("deep/vintrel", real("dotfiles/last"));
    link(fs::relative(real("dotfiles/last"), m_store.file().parent_path()));
    expectSavedAt(real("dotfiles/deep/vintrel"), {.scanInterval = 45});
    EXPECT_EQ(fs::read_symlink(real("dotfiles/last")), "deep/vintrel");
}

TEST_F(PreferencesLinkTest, aLinkToWhatIsNotThereYetMakesIt) {
    link(real("vintrel"));
    expectSavedAt(real("vintrel"), {});
}

TEST_F(PreferencesLinkTest, aLinkIntoAMissingFolderMakesItToo) {
    link(real("a/b/vintrel"));
    expectSavedAt(real("a/b/vintrel"), {});
    EXPECT_EQ(modeOf(real("a/b")), 0700);
}

TEST_F(PreferencesLinkTest, aLinkedFolderIsAFolder) {
    m_elsewhere.write("dotfiles/Vintrel.conf", "[General]\nscanInterval=45\n");
    fs::remove(m_store.file().parent_path());
    fs::create_directory_symlink(real("dotfiles"), m_store.file().parent_path());
    ASSERT_TRUE((Preferences{.elapsedThreshold = 5}).save({Key::elapsedThreshold}));
    expectStored({.elapsedThreshold = 5, .scanInterval = 45});
    EXPECT_TRUE(fs::is_symlink(m_store.file().parent_path()));
    EXPECT_EQ(modeOf(real("dotfiles/Vintrel.conf")), 0600);
}

TEST_F(PreferencesLinkTest, aDamagedTargetIsKept) {
    const std::string damaged = "[General]\nprotectedProjects=\"~/shop\n";
    const fs::path target = m_elsewhere.write("dotfiles/vintrel", damaged);
    link(target);
    const Picture links = pictureOf(m_store.folder());
    ASSERT_TRUE((Preferences{.scanInterval = 9}).save({Key::scanInterval, Key::protectedProjects}));
    expectStored({.scanInterval = 9});
    EXPECT_EQ(keptWith(damaged, target), std::set<std::string>{"vintrel.damaged"});
    EXPECT_EQ(pictureOf(m_store.folder()), links);
}

TEST_F(PreferencesLinkTest, linksInACircleAreLeftAlone) {
    link(m_store.file().filename());
    expectNothingHappens(m_store);
    fs::remove(m_store.file());
    link("second");
    fs::create_symlink(m_store.file().filename(), m_store.file().parent_path() / "second");
    expectNothingHappens(m_store);
}

TEST_F(PreferencesLinkTest, aLinkToAFolderIsLeftAlone) {
    m_elsewhere.write("folder/inside", "mine");
    link(real("folder"));
    const Picture before = pictureOf(m_elsewhere.path());
    expectNothingHappens(m_store);
    EXPECT_EQ(pictureOf(m_elsewhere.path()), before);
}

TEST(PreferencesPlaceTest, aFolderInPlaceOfTheFileStays) {
    const SettingsStore store;
    fs::create_directories(store.file());
    expectNothingHappens(store); // one that is empty could be moved out of the way
    std::ofstream(store.file() / "inside") << "mine";
    expectNothingHappens(store);
}

TEST(PreferencesPlaceTest, aPipeInPlaceOfTheFileStaysAndIsNotWaitedFor) {
    const SettingsStore store;
    fs::create_directories(store.file().parent_path());
    ASSERT_EQ(::mkfifo(store.file().c_str(), 0600), 0);
    EXPECT_EQ(inChild([&] {
                  ::alarm(5);
                  return distinctValues().save(allKeys) ? 1 : 0;
              }),
              0);
    expectNothingHappens(store);
}

TEST(PreferencesPlaceTest, aSocketInPlaceOfTheFileStays) {
    const SettingsStore store;
    fs::create_directories(store.file().parent_path());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(store.file().string().size(), sizeof address.sun_path);
    std::strcpy(address.sun_path, store.file().c_str());
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectNothingHappens(store);
    ::close(socket);
}

TEST(PreferencesPlaceTest, aFileInPlaceOfTheFolderStays) {
    const SettingsStore store;
    std::ofstream(store.file().parent_path()) << "mine";
    expectNothingHappens(store);
}

TEST(PreferencesPlaceTest, aReadOnlyDiskIsLeftAsItIs) {
    VINTREL_NEEDS_ROOT();
    const SettingsStore store;
    const ScratchDisk disk(store.file().parent_path(), "size=128k,mode=0700");
    ASSERT_TRUE(distinctValues().save(allKeys));
    ASSERT_TRUE(disk.makeReadOnly());
    const Picture before = pictureOf(store.folder());
    EXPECT_FALSE((Preferences{.scanInterval = 9}).save({Key::scanInterval}));
    EXPECT_EQ(pictureOf(store.folder()), before);
    expectStored(distinctValues());
    Preferences::removeLeftovers();
    EXPECT_EQ(pictureOf(store.folder()), before);
}

TEST(PreferencesPlaceTest, somebodyElsesFolderIsLeftAsItIs) {
    VINTREL_NEEDS_ROOT();
    const SettingsStore store;
    ASSERT_TRUE(distinctValues().save(allKeys));
    for (const fs::path& path : {store.folder(), store.file().parent_path(), store.file()}) {
        fs::permissions(path, fs::perms{0755});
    }
    const Picture before = pictureOf(store.folder());
    EXPECT_EQ(inChild([&] {
                  const bool isNobody = becomeNobody();
                  const bool isSaved = (Preferences{.scanInterval = 9}).save({Key::scanInterval});
                  Preferences::removeLeftovers();
                  const bool isSame = described(Preferences::load().values) == described(distinctValues());
                  return isNobody && !isSaved && isSame ? 0 : 1;
              }),
              0);
    EXPECT_EQ(pictureOf(store.folder()), before);
}

TEST(PreferencesPlaceTest, aFileThatCannotBeReadIsNotLost) {
    VINTREL_NEEDS_ROOT();
    const SettingsStore store;
    const std::string old = "[General]\nprotectedProjects=~/mine\n";
    store.write(old);
    constexpr uid_t nobody = 65'534;
    for (const fs::path& path : {store.folder(), store.file().parent_path(), store.file()}) {
        ASSERT_EQ(::chown(path.c_str(), nobody, nobody), 0);
    }
    fs::permissions(store.file(), fs::perms{0200});
    const int outcome = inChild([&] {
        if (!becomeNobody() || !Preferences::load().problem) {
            return 2;
        }
        return distinctValues().save(allKeys) ? 1 : 0;
    });
    ASSERT_NE(outcome, 2);
    if (outcome == 1) {
        EXPECT_EQ(keptWith(old, store.file()).size(), 1U);
        expectStored(distinctValues());
    } else {
        EXPECT_EQ(bytesOf(store.file()), old);
    }
}

} // namespace Vintrel
