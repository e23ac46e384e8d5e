#include "VintrelCore/base/AtomicFile.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::TemporaryFolder;

namespace fs = std::filesystem;

namespace {

/// Where a path leads, in the shortest form of that place; "none" for links in a circle.
std::string leadsTo(const fs::path& path) {
    const auto target = AtomicFile::target(path);
    return target ? fs::weakly_canonical(*target).string() : "none";
}

} // namespace

TEST(AtomicFileTarget, ofAnythingButALinkIsThePathItself) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "bytes");
    EXPECT_EQ(leadsTo(file), file);
    EXPECT_EQ(leadsTo(folder.path() / "missing"), (folder.path() / "missing").string());
    EXPECT_EQ(leadsTo(folder.path() / "no/folder/either"), (folder.path() / "no/folder/either").string());
    EXPECT_EQ(leadsTo(folder.path()), folder.path().string());
}

TEST(AtomicFileTarget, isWhereLinksLead) {
    const TemporaryFolder folder;
    const std::string file = folder.write("real/file", "bytes");
    folder.makeFolder("links");
    fs::create_symlink(file, folder.path() / "links/absolute");
    fs::create_symlink("../real/file", folder.path() / "links/relative");
    fs::create_symlink("relative", folder.path() / "links/chain");
    fs::create_symlink("links/chain", folder.path() / "longer");
    for (const std::string link : {"links/absolute", "links/relative", "links/chain", "longer"}) {
        EXPECT_EQ(leadsTo(folder.path() / link), file) << link;
        EXPECT_FALSE(fs::is_symlink(AtomicFile::target(folder.path() / link).value())) << link;
    }
}

TEST(AtomicFileTarget, isWhereLinksLeadEvenWhenNothingIsThereYet) {
    const TemporaryFolder folder;
    fs::create_symlink("missing", folder.path() / "near");
    fs::create_symlink(folder.path() / "no/folder/file", folder.path() / "far");
    fs::create_symlink("near", folder.path() / "chain");
    EXPECT_EQ(leadsTo(folder.path() / "near"), (folder.path() / "missing").string());
    EXPECT_EQ(leadsTo(folder.path() / "far"), (folder.path() / "no/folder/file").string());
    EXPECT_EQ(leadsTo(folder.path() / "chain"), (folder.path() / "missing").string());
}

TEST(AtomicFileTarget, aLinkInALinkedFolderStartsWhereThatFolderReallyStands) {
    const TemporaryFolder folder;
    folder.makeFolder("real/deep/inner");
    fs::create_directory_symlink("real/deep/inner", folder.path() / "folder");
    fs::create_symlink("../file", folder.path() / "folder/link");
    EXPECT_EQ(leadsTo(folder.path() / "folder/link"), (folder.path() / "real/deep/file").string());
}

TEST(AtomicFileTarget, ofLinksInACircleIsNone) {
    const TemporaryFolder folder;
    fs::create_symlink("itself", folder.path() / "itself");
    fs::create_symlink("second", folder.path() / "first");
    fs::create_symlink("first", folder.path() / "second");
    fs::create_symlink("first", folder.path() / "into");
    for (const std::string link : {"itself", "first", "second", "into"}) {
        EXPECT_EQ(AtomicFile::target(folder.path() / link), std::nullopt) << link;
    }
}

TEST(AtomicFileTarget, aLongChainIsNoCircle) {
    const TemporaryFolder folder;
    const std::string file = folder.write("0", "bytes");
    for (int number = 1; number <= 30; ++number) {
        fs::create_symlink(std::to_string(number - 1), folder.path() / std::to_string(number));
    }
    EXPECT_EQ(leadsTo(folder.path() / "30"), file);
}
