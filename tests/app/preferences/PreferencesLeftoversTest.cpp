// What writers leave behind that are killed at work.
#include "tests/app/preferences/WritersTest.h"
#include "tests/support/Child.h"

#include <filesystem>

#include <sys/resource.h>

namespace Vintrel {

using namespace VintrelTests;

namespace fs = std::filesystem;

using PreferencesLeftoversTest = WritersTest;

TEST_F(PreferencesLeftoversTest, leftoversInTheMiddleOfWritingAreRemoved) {
    for (const rlim_t limit : {0U, 1U, 200U, 3'000U}) {
        Child writer([this, limit] {
            const rlimit most{limit, limit}; // the kernel ends the writer at this byte
            const rlimit none{0, 0};
            ::setrlimit(RLIMIT_CORE, &none);
            ::setrlimit(RLIMIT_FSIZE, &most);
            return m_new.save(allKeys) ? 1 : 0;
        });
        EXPECT_EQ(writer.wait(), -SIGXFSZ) << limit;
        expectWhole();
    }
    EXPECT_EQ(Preferences::load().values, m_old);
    EXPECT_TRUE(hasLeftovers()) << "they were ended in the middle";
    Preferences::removeLeftovers();
    EXPECT_EQ(names(), m_usual);
    expectStored(m_old);
}

TEST_F(PreferencesLeftoversTest, savingGoesOnBesideLeftovers) {
    leaveSomethingBehind(m_store.file().parent_path());
    ASSERT_TRUE(m_new.save(allKeys));
    expectStored(m_new);
    Preferences::removeLeftovers();
    EXPECT_EQ(names(), m_usual);
    expectStored(m_new);
}

TEST_F(PreferencesLeftoversTest, nothingElseIsRemovedWithLeftovers) {
    for (const std::string name :
         {"Vintrel.conf.damaged", "Vintrel.conf.damaged.2", "Vintrel.conf.bak", "Vintrel.conf~",
          "Vintrel.conf.orig", "Vintrel.conf.2024-01-01", "other.conf", "other.conf.abcdef.unfinished",
          ".hidden", "scratch", "notes.unfinished"}) {
        m_store.write("[General]\nscanInterval=1\n");
        fs::rename(m_store.file(), m_store.file().parent_path() / name);
    }
    fs::create_directories(m_store.file().parent_path() / "folder/inside");
    ASSERT_TRUE(m_old.save(allKeys));
    const Picture before = pictureOf(m_store.folder());
    Preferences::removeLeftovers();
    EXPECT_EQ(pictureOf(m_store.folder()), before);
}

TEST_F(PreferencesLeftoversTest, removingLeftoversWithoutAFolderMakesNone) {
    fs::remove_all(m_store.folder());
    Preferences::removeLeftovers();
    EXPECT_FALSE(fs::exists(m_store.folder()));
}

TEST_F(PreferencesLeftoversTest, leftoversOfALinkedFileAreRemovedWhereItStands) {
    const TemporaryFolder elsewhere;
    fs::rename(m_store.file(), elsewhere.path() / "vintrel");
    fs::create_symlink(elsewhere.path() / "vintrel", m_store.file());
    ASSERT_TRUE(m_old.save(allKeys));
    const auto usual = namesIn(elsewhere.path());
    leaveSomethingBehind(elsewhere.path());
    Preferences::removeLeftovers();
    EXPECT_EQ(namesIn(elsewhere.path()), usual);
    EXPECT_TRUE(fs::is_symlink(m_store.file()));
    expectWhole();
}

} // namespace Vintrel
