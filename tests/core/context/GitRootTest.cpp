#include "VintrelCore/context/CwdResolver.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include <sched.h>
#include <unistd.h>

namespace VintrelCore::CwdResolver {

using VintrelTests::TemporaryFolder;

namespace {

namespace fs = std::filesystem;

/// Makes the folder the root of the file system, for this process.
bool moveInto(const fs::path& folder) {
    const bool mayMove = ::geteuid() == 0 || ::unshare(CLONE_NEWUSER) == 0;
    return mayMove && ::chroot(folder.c_str()) == 0 && ::chdir("/") == 0;
}

} // namespace

TEST(GitRootTest, isTheNearestFolderUpwardsWithARepository) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    folder.makeFolder("shop/apps/web/src");
    const std::string shop = (folder.path() / "shop").string();
    EXPECT_EQ(findGitRoot(shop), shop);
    EXPECT_EQ(findGitRoot(shop + "/apps"), shop);
    EXPECT_EQ(findGitRoot(shop + "/apps/web/src"), shop);
}

TEST(GitRootTest, aFileCountsAsWellAsAFolder) {
    const TemporaryFolder folder;
    folder.write("worktree/.git", "gitdir: /home/dev/shop/.git/worktrees/fix\n");
    folder.makeFolder("worktree/src");
    const std::string worktree = (folder.path() / "worktree").string();
    EXPECT_EQ(findGitRoot(worktree), worktree);
    EXPECT_EQ(findGitRoot(worktree + "/src"), worktree);
}

TEST(GitRootTest, theInnerOfTwoRepositoriesWins) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    folder.write("shop/vendor/lib/.git", "gitdir: ../../.git/modules/lib\n");
    folder.makeFolder("shop/vendor/lib/src");
    const std::string shop = (folder.path() / "shop").string();
    EXPECT_EQ(findGitRoot(shop + "/vendor/lib/src"), shop + "/vendor/lib");
    EXPECT_EQ(findGitRoot(shop + "/vendor"), shop);
}

TEST(GitRootTest, namesThatOnlyLookAlikeDoNotCount) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.github");
    folder.makeFolder("shop/git");
    folder.makeFolder("shop/bare.git");
    folder.makeFolder("shop/.GIT2");
    EXPECT_EQ(findGitRoot((folder.path() / "shop").string()), std::nullopt);
}

TEST(GitRootTest, aRepositoryBesideTheDirectoryDoesNotCount) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    folder.makeFolder("notes");
    EXPECT_EQ(findGitRoot((folder.path() / "notes").string()), std::nullopt);
}

TEST(GitRootTest, theDirectoryItselfNeedNotExist) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    const std::string shop = (folder.path() / "shop").string();
    EXPECT_EQ(findGitRoot(shop + "/gone/long ago"), shop);
}

TEST(GitRootTest, aSlashAtTheEndIsNoComponent) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    folder.makeFolder("shop/src");
    const std::string shop = (folder.path() / "shop").string();
    EXPECT_EQ(findGitRoot(shop + "/src/"), shop);
}

TEST(GitRootTest, onlyAbsolutePathsHaveOne) {
    const TemporaryFolder folder;
    folder.makeFolder(".git");
    folder.makeFolder("src");
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(findGitRoot("src"), std::nullopt);
    EXPECT_EQ(findGitRoot("."), std::nullopt);
    EXPECT_EQ(findGitRoot(""), std::nullopt);
    EXPECT_EQ(findGitRoot("relative/dir"), std::nullopt);
    EXPECT_EQ(findGitRoot("~/src"), std::nullopt);
    fs::current_path(before);
}

TEST(GitRootTest, handlesSpacesAndOtherScripts) {
    const TemporaryFolder folder;
    folder.makeFolder("Meine Läden/.git");
    folder.makeFolder("Meine Läden/店");
    const std::string shops = (folder.path() / "Meine Läden").string();
    EXPECT_EQ(findGitRoot(shops + "/店"), shops);
}

TEST(GitRootDeathTest, theRootOfTheFileSystemIsNeverOne) {
    VINTREL_NEEDS_ROOT_OR_USER_NAMESPACES();
    const TemporaryFolder folder;
    folder.makeFolder(".git");
    folder.makeFolder("srv/app");
    folder.makeFolder("home/.git");
    const auto lookAroundInside = [&folder] {
        if (!moveInto(folder.path())) {
            std::_Exit(2);
        }
        const bool right = fs::exists("/.git") && !findGitRoot("/") && !findGitRoot("/srv/app") &&
                           findGitRoot("/home") == "/home";
        std::_Exit(right ? 0 : 1);
    };
    EXPECT_EXIT(lookAroundInside(), ::testing::ExitedWithCode(0), "");
}

} // namespace VintrelCore::CwdResolver
