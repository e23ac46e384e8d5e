#include "VintrelCore/context/SlowMounts.h"

#include "VintrelCore/context/RepositorySearch.h"
#include "VintrelCore/scan/Protection.h"
#include "tests/core/context/ReplacedTool.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::chrono_literals;

namespace {

/// Mounts something there that asks this process, which never reads the question. Returns where it could.
int mountThere(const std::filesystem::path& folder) {
    const int requests = ::open("/dev/fuse", O_RDWR);
    const std::string options =
        "fd=" + std::to_string(requests) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
    mustWork(requests >= 0 && ::mount("dead", folder.c_str(), "fuse", 0, options.c_str()) == 0, "dead mount");
    return requests;
}

/// From now on whoever looks into the folder waits for ever.
void letHang(const std::filesystem::path& folder) {
    static_cast<void>(mountThere(folder));
}

/// From now on whoever looks into the folder fails: nobody is there to answer.
void loseServer(const std::filesystem::path& folder) {
    ::close(mountThere(folder));
}

} // namespace

TEST(SlowMounts, holdWhatIsOnThem) {
    const SlowMounts mounts({"/mnt/nfs", "/mnt/nfs/deep"});
    EXPECT_TRUE(mounts.hold("/mnt/nfs"));
    EXPECT_TRUE(mounts.hold("/mnt/nfs/x"));
    EXPECT_EQ(mounts.holderOf("/mnt/nfs/deep/x"), "/mnt/nfs/deep");
    EXPECT_FALSE(mounts.hold("/mnt"));
    EXPECT_FALSE(mounts.hold("/mnt/nfsx"));
    EXPECT_FALSE(SlowMounts(std::vector<std::string>()).hold("/x"));
    EXPECT_TRUE(SlowMounts({"/"}).hold("/x")) << "a root over the network";
}

TEST(SlowMounts, areReachedThroughLinks) {
    const TemporaryFolder folder;
    const std::string base = folder.path().string();
    folder.makeFolder("mount");
    folder.makeFolder("local/deep");
    std::filesystem::create_symlink(base + "/mount", folder.path() / "absolute");
    std::filesystem::create_symlink("../mount/x", folder.path() / "local/relative");
    std::filesystem::create_symlink("absolute", folder.path() / "twice");
    std::filesystem::create_symlink("loop", folder.path() / "loop");
    const SlowMounts mounts({base + "/mount"});
    for (const char* path : {"/mount", "/mount/x", "/absolute", "/absolute/y", "/local/relative", "/twice/z",
                             "/local/../mount", "/local/deep/../relative", "//mount/."}) {
        EXPECT_TRUE(mounts.areReachedFrom(base + path)) << path;
    }
    for (const char* path :
         {"", "/local", "/local/deep", "/missing/x", "/mountain", "/loop", "/mount/../../.."}) {
        EXPECT_EQ(mounts.areReachedFrom(base + path), std::string_view(path).starts_with("/mount/")) << path;
    }
    EXPECT_FALSE(mounts.areReachedFrom(""));
    EXPECT_FALSE(SlowMounts(std::vector<std::string>()).areReachedFrom(base + "/mount"));
}

TEST(RepositorySearch, findsRepositoriesOnSlowMountsToo) {
    const TemporaryFolder folder;
    folder.makeFolder("slow/shop/.git");
    folder.makeFolder("local/shop/.git");
    const std::string base = folder.path().string();
    const auto slow = folder.makeFolder("slow/shop/web").string();
    const auto none = folder.makeFolder("slow/other").string();
    const SlowMounts mounts({base + "/slow"});
    const RepositorySearch search({{1, slow}, {2, base + "/local/shop"}, {3, none}}, mounts);
    EXPECT_FALSE(search.metDeadMount());
    EXPECT_EQ(search.rootOf(slow), base + "/slow/shop");
    EXPECT_EQ(search.rootOf(base + "/local/shop"), base + "/local/shop");
    EXPECT_EQ(search.rootOf(none), std::nullopt);
}

TEST(SlowMountsDeathTest, aDeadOneDelaysTheSearchByASecondAndSpoilsNoOther) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    folder.makeFolder("local/.git");
    const auto local = folder.makeFolder("local/web").string();
    const auto dead = folder.makeFolder("dead").string();
    const auto deader = folder.makeFolder("deader").string();
    const auto look = [&] {
        haveMountsOfOnesOwn();
        letHang(dead);
        letHang(deader);
        const SlowMounts mounts;
        EXPECT_TRUE(mounts.hold(dead) && mounts.hold(deader));
        EXPECT_FALSE(mounts.hold(local));
        const auto start = std::chrono::steady_clock::now();
        const RepositorySearch search({{1, dead + "/shop"}, {2, local}, {3, deader}}, mounts);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1900ms);
        EXPECT_TRUE(search.metDeadMount());
        EXPECT_EQ(search.rootOf(local), folder.path() / "local");
        EXPECT_EQ(search.rootOf(dead + "/shop"), std::nullopt);

        std::filesystem::create_symlink(dead + "/mine", folder.path() / "mine");
        const auto home = folder.path().string();
        EXPECT_EQ(Protection::found({"~/mine"}, home, mounts), std::nullopt);
        EXPECT_EQ(Protection::found({dead + "/mine"}, home, mounts), std::nullopt);
        EXPECT_TRUE(Protection::found({"~/local"}, home, mounts));
        EXPECT_EQ(Protection::found({}, dead + "/home", mounts), std::nullopt);
        exitWithVerdict();
    };
    EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
}

TEST(SlowMountsDeathTest, whatIsProtectedIsUnknownWhereTheServerOfAMountHasGone) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const auto gone = folder.makeFolder("gone").string();
    std::filesystem::create_symlink(gone + "/mine", folder.path() / "mine");
    const auto home = folder.path().string();
    const auto look = [&] {
        haveMountsOfOnesOwn();
        loseServer(gone);
        EXPECT_EQ(Protection::resolve(std::vector<std::string>{"~/mine"}, home), std::nullopt);
        EXPECT_EQ(Protection::found({"~/mine"}, home, SlowMounts()), std::nullopt);
        EXPECT_TRUE(Protection::found({"~/elsewhere"}, home, SlowMounts()));
        exitWithVerdict();
    };
    EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
}

TEST(SlowMountsDeathTest, aRepositoryWhoseFolderIsALinkToADeadOneIsFoundWithoutLookingThere) {
    VINTREL_NEEDS_ROOT();
    const TemporaryFolder folder;
    const auto dead = folder.makeFolder("dead").string();
    const auto shop = folder.makeFolder("shop").string();
    std::filesystem::create_symlink(dead + "/git", shop + "/.git");
    const auto look = [&] {
        haveMountsOfOnesOwn();
        letHang(dead);
        ::alarm(20);
        EXPECT_EQ(CwdResolver::findGitRoot(shop), shop);
        exitWithVerdict();
    };
    EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
}

TEST(ProtectionFound, isTheSameThroughACopyOfTheProcess) {
    const TemporaryFolder folder;
    folder.makeFolder("mount/shop");
    const auto home = folder.makeFolder("home").string();
    std::filesystem::create_symlink(folder.path() / "mount/shop", folder.path() / "home/shop");
    const std::vector<std::string> entries{"~/shop", "~/none", "relative", "/"};
    const auto direct = Protection::found(entries, home, SlowMounts(std::vector<std::string>()));
    const auto copied = Protection::found(entries, home, SlowMounts({folder.path() / "mount"}));
    ASSERT_TRUE(direct && copied);
    EXPECT_EQ(*copied, *direct);
    EXPECT_EQ(copied->resolved.at("~/shop"), folder.path() / "mount/shop");
}
