#include "VintrelCore/context/CwdResolver.h"

#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::CwdResolver {

using VintrelTests::TemporaryFolder;

namespace {

using Directories = std::unordered_map<int32_t, std::string>;

std::optional<std::string> nowhere(const std::string&) {
    return std::nullopt;
}

/// Answers with /home/dev/src/shop for everything below it.
std::optional<std::string> theShop(const std::string& directory) {
    return directory.starts_with("/home/dev/src/shop") ? std::optional<std::string>("/home/dev/src/shop")
                                                       : std::nullopt;
}

/// What becomes of process 7 in this directory, with no repository around.
std::string fullPathOf(const std::string& directory) {
    const std::string output = "p7\nfcwd\nn" + directory + "\n";
    const CwdMap cwds = processCwds({.forPIDs = {7}, .lsofOutput = output, .gitRootFinder = nowhere});
    const auto found = cwds.find(7);
    return found == cwds.end() ? "(no entry)" : found->second.fullPath;
}

} // namespace

TEST(CwdResolverTest, readsTheFieldFormatOfLsof) {
    struct Case {
        std::string why;
        std::string output;
        Directories directories;
    };

    const std::vector<Case> cases = {
        {"two processes",
         "p123\nfcwd\nn/Users/a/src/app\np456\nfcwd\nn/tmp\n",
         {{123, "/Users/a/src/app"}, {456, "/tmp"}}},
        {"no output", "", {}},
        {"empty lines", "\n\np1\n\nn/a\n\n", {{1, "/a"}}},
        {"no line feed at the end", "p1\nn/a", {{1, "/a"}}},
        {"a directory without a process", "n/lost\np1\nn/a\n", {{1, "/a"}}},
        {"a word for a pid clears the process", "p1\nn/a\npabc\nn/dropped\n", {{1, "/a"}}},
        {"so does no pid at all", "p1\nn/a\np\nn/dropped\n", {{1, "/a"}}},
        {"so does one of more than 32 bits", "p1\nn/a\np2147483648\nn/dropped\n", {{1, "/a"}}},
        {"so does one with text behind it", "p1\nn/a\np12x\nn/dropped\n", {{1, "/a"}}},
        {"signs", "p+5\nn/plus\np-6\nn/minus\n", {{5, "/plus"}, {-6, "/minus"}}},
        {"the largest pid", "p2147483647\nn/a\n", {{2147483647, "/a"}}},
        {"an empty name", "p1\nn\np2\nn/b\n", {{2, "/b"}}},
        {"an empty name does not take back an earlier one", "p1\nn/a\nn\n", {{1, "/a"}}},
        {"the last of two names counts", "p1\nn/a\nn/b\n", {{1, "/b"}}},
        {"the last of two names in two places counts", "p1\nn/a\np2\nn/c\np1\nn/b\n", {{1, "/b"}, {2, "/c"}}},
        {"fields that nobody asked for", "p1\ncnode\nfcwd\ntDIR\nn/a\nLdev\n", {{1, "/a"}}},
        {"spaces and other scripts", "p1\nn/srv/Meine Läden/店\n", {{1, "/srv/Meine Läden/店"}}},
    };
    for (const auto& [why, output, directories] : cases) {
        SCOPED_TRACE(why);
        EXPECT_EQ(parseCwds(output), directories);
    }
}

TEST(CwdResolverTest, whatLsofSaysInPlaceOfADirectoryIsNone) {
    EXPECT_EQ(parseCwds("p1\nfcwd\nn/proc/1/cwd (readlink: Permission denied)\np2\nfcwd\nn/srv\n"),
              (Directories{{2, "/srv"}}));
    EXPECT_EQ(parseCwds("p31\nfcwd\nn/proc/31/cwd (readlink: Permission denied)\n"), Directories{});
    EXPECT_EQ(parseCwds("p31\nfcwd\nn/srv/readlink: Permission denied\n"),
              (Directories{{31, "/srv/readlink: Permission denied"}}))
        << "people may call a folder what they like";
}

TEST(CwdResolverTest, whatLsofAddsToADirectorysNameIsNoPartOfIt) {
    for (const char* const said :
         {" (stat: Transport endpoint is not connected)", " (nas:/export/home)", " (readlink: No such file)",
          " (nas.example.org:/export/my projects (old))", " (fd00::1:/export)", " (stat: Stale file handle)",
          " (deleted) (stat: No such file or directory)"}) {
        EXPECT_EQ(fullPathOf(std::string("/no/such/place") + said), "/no/such/place") << said;
    }
    // What lsof never says may be what people call a folder.
    for (const char* const name :
         {" (copy)", " (2024)", "(stat: x)", " (nas)", " (status: done)", " (:/x)"}) {
        const std::string folder = std::string("/no/such/place") + name;
        EXPECT_EQ(fullPathOf(folder), folder);
    }

    const TemporaryFolder folder;
    const std::string odd = folder.makeFolder("shop (stat: really)").string();
    EXPECT_EQ(fullPathOf(odd), odd) << "it is really called so";
    EXPECT_EQ(fullPathOf((folder.path() / "other (stat: not)").string()), (folder.path() / "other").string());
}

TEST(CwdResolverTest, namesAProjectAfterItsRepository) {
    struct Case {
        std::string cwd;
        std::optional<std::string> gitRoot;
        std::string label;
    };

    const std::vector<Case> cases = {
        {"/x/repo", "/x/repo", "repo"},
        {"/x/repo/a/b", "/x/repo", "repo/a/b"},
        {"/Users/a/src/shop/apps/web", "/Users/a/src/shop", "shop/apps/web"},
        {"/y/other", "/x/repo", "repo"},
        {"/x/repository", "/x/repo", "repo"}, // a sibling, whose name only begins alike
        {"/x", "/x/repo", "repo"},
        {"/y/other", std::nullopt, "other"},
        {"/y/other", "", "other"},
        {"/other", std::nullopt, "other"},
        {"/", std::nullopt, "/"},
        {"/", "", "/"},
        {"", std::nullopt, ""},
        {"/srv/Meine Läden/店", std::nullopt, "店"},
        {"/srv/Meine Läden/店", "/srv/Meine Läden", "Meine Läden/店"},
    };
    for (const auto& [cwd, gitRoot, label] : cases) {
        SCOPED_TRACE(cwd + " in " + gitRoot.value_or("no repository"));
        EXPECT_EQ(projectLabel(cwd, gitRoot), label);
    }
}

TEST(CwdResolverTest, abbreviatesHomeOnlyAsAWholeComponent) {
    EXPECT_EQ(abbreviateHome("/Users/a", "/Users/a"), "~");
    EXPECT_EQ(abbreviateHome("/Users/a/x", "/Users/a"), "~/x");
    EXPECT_EQ(abbreviateHome("/Users/a/src/x", "/Users/a"), "~/src/x");
    EXPECT_EQ(abbreviateHome("/Users/a/", "/Users/a"), "~/");
    EXPECT_EQ(abbreviateHome("/Users/ab", "/Users/a"), "/Users/ab");
    EXPECT_EQ(abbreviateHome("/Users", "/Users/a"), "/Users");
    EXPECT_EQ(abbreviateHome("/Users/A/x", "/Users/a"), "/Users/A/x");
    EXPECT_EQ(abbreviateHome("/mnt/Users/a/x", "/Users/a"), "/mnt/Users/a/x");
    EXPECT_EQ(abbreviateHome("/Users/a/x", ""), "/Users/a/x");
    EXPECT_EQ(abbreviateHome("", ""), "");
    EXPECT_EQ(abbreviateHome("", "/Users/a"), "");
}

TEST(CwdResolverTest, knowsWhatLiesInAFolder) {
    EXPECT_TRUE(isUnderPrefix("/a", "/a"));
    EXPECT_TRUE(isUnderPrefix("/a/b", "/a"));
    EXPECT_TRUE(isUnderPrefix("/a/b", "/a/"));
    EXPECT_TRUE(isUnderPrefix("/a", "/a/"));
    EXPECT_TRUE(isUnderPrefix("/a/b/c/d", "/a/b"));
    EXPECT_TRUE(isUnderPrefix("~/src/shop", "~/src"));
    EXPECT_FALSE(isUnderPrefix("/ab", "/a"));
    EXPECT_FALSE(isUnderPrefix("/", "/a"));
    EXPECT_FALSE(isUnderPrefix("/b/a", "/a"));
}

TEST(CwdResolverTest, nothingLiesBelowTheRootOrTheEmptyText) {
    for (const std::string path : {"/a", "/", "", "a", "~"}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(isUnderPrefix(path, "/"));
        EXPECT_FALSE(isUnderPrefix(path, ""));
    }
}

TEST(CwdResolverTest, comparesFoldersAsTheyAreWritten) {
    EXPECT_FALSE(isUnderPrefix("/A/b", "/a")) << "case counts";
    EXPECT_FALSE(isUnderPrefix("/home/dev/src", "~")) << "the tilde is not expanded";
    EXPECT_FALSE(isUnderPrefix("/a/b", "/a//")) << "only one slash is taken off";
    EXPECT_FALSE(isUnderPrefix("/a/b", "/a/./"));
    EXPECT_TRUE(isUnderPrefix("/a/../b", "/a"));

    const TemporaryFolder folder;
    folder.makeFolder("real/project");
    std::filesystem::create_directory_symlink(folder.path() / "real", folder.path() / "link");
    EXPECT_FALSE(isUnderPrefix((folder.path() / "link/project").string(), (folder.path() / "real").string()))
        << "links are not resolved";
}

TEST(CwdResolverTest, protectsWhatLiesInAProtectedProject) {
    struct Case {
        std::string fullPath;
        std::vector<std::string> protectedProjects;
        bool isProtected;
    };

    const std::vector<Case> cases = {
        {"~/src/shop", {"~/src/shop"}, true},
        {"~/src/shop/api", {"~/src/shop"}, true},
        {"~/src/shop/api", {"~/src/shop/"}, true},
        {"~/src/shop2", {"~/src/shop"}, false},
        {"~/src", {"~/src/shop"}, false},
        {"~/src/shop", {"/home/dev/src/shop"}, true}, // an absolute path below home
        {"~/src/shop/api", {"/home/dev/src/shop"}, true},
        {"~/src/shop/api", {"/home/dev/src/shop/"}, true},
        {"~/src/shop2", {"/home/dev/src/shop"}, false},
        {"~/src/shop", {"/home/developer/src/shop"}, false},
        {"~/src/shop", {"~"}, true},
        {"~/src/shop", {"/home/dev"}, true},
        {"~", {"/home/dev"}, true},
        {"/srv/app/web", {"/srv/app"}, true}, // outside home
        {"/srv/app2", {"/srv/app"}, false},
        {"/srv/app", {"/"}, false},
        {"~/src/shop", {"/"}, false},
        {"~/src/shop", {""}, false},
        {"~/src/shop", {}, false},
        {"~/src/shop", {"", "/", "~/other", "~/src/shop"}, true}, // one of several is enough
        {"~/Läden/店/web", {"/home/dev/Läden/店"}, true},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.fullPath + " against " +
                     (one.protectedProjects.empty() ? "nothing" : one.protectedProjects.back()));
        EXPECT_EQ(isProtected(one.fullPath, one.protectedProjects, "/home/dev"), one.isProtected);
    }
}

TEST(CwdResolverTest, protectsWithoutAHomeFolder) {
    const std::vector<std::string> projects = {"/srv/app"};
    EXPECT_TRUE(isProtected("/srv/app/web", projects, ""));
    EXPECT_FALSE(isProtected("/srv/other", projects, ""));
}

TEST(CwdResolverTest, describesEachDirectory) {
    const std::string output = "p1\nfcwd\nn/home/dev/src/shop/apps/web\n"
                               "p2\nfcwd\nn/home/dev\n"
                               "p3\nfcwd\nn/srv/app\n"
                               "p4\nfcwd\nn/home/dev/src/shop\n";
    const CwdMap cwds = processCwds(
        {.forPIDs = {1, 2, 3, 4, 5}, .lsofOutput = output, .home = "/home/dev", .gitRootFinder = theShop});
    EXPECT_EQ(
        cwds,
        (CwdMap{
            {1, {.label = "shop/apps/web", .fullPath = "~/src/shop/apps/web", .projectRoot = "~/src/shop"}},
            {2, {.label = "dev", .fullPath = "~"}},
            {3, {.label = "app", .fullPath = "/srv/app"}},
            {4, {.label = "shop", .fullPath = "~/src/shop", .projectRoot = "~/src/shop"}}}));
}

TEST(CwdResolverTest, writesPathsInFullWithoutAHome) {
    const std::string output = "p1\nfcwd\nn/home/dev/src/shop/apps/web\n";
    EXPECT_EQ(processCwds({.forPIDs = {1}, .lsofOutput = output, .gitRootFinder = theShop}),
              (CwdMap{{1,
                       {.label = "shop/apps/web",
                        .fullPath = "/home/dev/src/shop/apps/web",
                        .projectRoot = "/home/dev/src/shop"}}}));
}

TEST(CwdResolverTest, namesARepositoryInTheHomeFolderItself) {
    const std::string output = "p1\nfcwd\nn/home/dev/notes\n";
    const GitRootFinder home = [](const std::string&) { return "/home/dev"; };
    EXPECT_EQ(processCwds({.forPIDs = {1}, .lsofOutput = output, .home = "/home/dev", .gitRootFinder = home}),
              (CwdMap{{1, {.label = "dev/notes", .fullPath = "~/notes", .projectRoot = "~"}}}));
}

TEST(CwdResolverTest, forNobodyThereIsNothing) {
    EXPECT_TRUE(processCwds({.forPIDs = {}}).empty());
    EXPECT_TRUE(processCwds({.forPIDs = {}, .lsofOutput = "p1\nfcwd\nn/srv\n"}).empty());
}

TEST(CwdResolverTest, touchesNoFilesWhereThatCouldHang) {
    bool asked = false;
    const GitRootFinder finder = [&asked](const std::string&) -> std::optional<std::string> {
        asked = true;
        return "/mnt/dead";
    };
    EXPECT_EQ(processCwds({.forPIDs = {1},
                           .lsofOutput = "p1\nfcwd\nn/mnt/dead/shop\n",
                           .gitRootFinder = finder,
                           .mayTouchFiles = false}),
              (CwdMap{{1, {.label = "shop", .fullPath = "/mnt/dead/shop"}}}));
    EXPECT_FALSE(asked);
}

TEST(CwdResolverTest, aDeletedDirectoryLosesTheRemarkBehindItsName) {
    EXPECT_EQ(fullPathOf("/no/such/place (deleted)"), "/no/such/place");
    EXPECT_EQ(fullPathOf("/no/such (deleted)/place"), "/no/such (deleted)/place");
    EXPECT_EQ(fullPathOf("/no/such/place(deleted)"), "/no/such/place(deleted)");

    const TemporaryFolder folder;
    const std::string deleted = (folder.path() / "shop").string();
    EXPECT_EQ(fullPathOf(deleted + " (deleted)"), deleted);
    folder.makeFolder("shop");
    EXPECT_EQ(fullPathOf(deleted + " (deleted)"), deleted) << "somebody made it again";
    folder.makeFolder("shop (deleted)");
    EXPECT_EQ(fullPathOf(deleted + " (deleted)"), deleted + " (deleted)") << "it is really called so";
}

TEST(CwdResolverTest, aDeletedDirectoryKeepsItsProject) {
    const TemporaryFolder folder;
    folder.makeFolder("shop/.git");
    const std::string shop = (folder.path() / "shop").string();
    const std::string output = "p1\nfcwd\nn" + shop + "/dist (deleted)\n";
    EXPECT_EQ(processCwds({.forPIDs = {1}, .lsofOutput = output}),
              (CwdMap{{1, {.label = "shop/dist", .fullPath = shop + "/dist", .projectRoot = shop}}}));
}

TEST(CwdResolverTest, asksLsofForTheWorkingDirectoriesOfAllAtOnce) {
    EXPECT_EQ(lsofArguments(std::vector<int32_t>{12, 345, 6}),
              (std::vector<std::string>{"-a", "-p", "12,345,6", "-d", "cwd", "-Fpn"}));
    EXPECT_EQ(lsofArguments(std::vector<int32_t>{7}),
              (std::vector<std::string>{"-a", "-p", "7", "-d", "cwd", "-Fpn"}));
}

TEST(ParseCwds, readsWhatLsofWritesForNamesItWillNotPrint) {
    const auto directories =
        CwdResolver::parseCwds("p1\nn/x/back\\\\slash\np2\nn/x/a\\nb\\tc\np3\nn/x/L\\xe4den\n"
                               "p4\nn/x/^A \\q \\x4\\\n");
    EXPECT_EQ(directories.at(1), "/x/back\\slash");
    EXPECT_EQ(directories.at(2), "/x/a\nb\tc");
    EXPECT_EQ(directories.at(3), "/x/L\xe4"
                                 "den");
    EXPECT_EQ(directories.at(4), "/x/^A \\q \\x4\\") << "what is no escape stays";
}

TEST(IsProtected, anEntryMayEndInAnyNumberOfSlashes) {
    const std::vector<std::string> projects{"~/code//"};
    EXPECT_TRUE(CwdResolver::isProtected("~/code/shop", projects, "/home/u"));
    EXPECT_FALSE(CwdResolver::isProtected("~/codex", projects, "/home/u"));
}

} // namespace VintrelCore::CwdResolver
