#include "VintrelCore/base/Path.h"

#include <gtest/gtest.h>

using namespace VintrelCore;

TEST(Path, lastComponentIsTheNameBehindTheLastSlash) {
    EXPECT_EQ(Path::lastComponent("/usr/bin/node"), "node");
    EXPECT_EQ(Path::lastComponent("/usr/bin/"), "bin");
    EXPECT_EQ(Path::lastComponent("node"), "node");
    EXPECT_EQ(Path::lastComponent("/"), "");
    EXPECT_EQ(Path::lastComponent("//"), "");
    EXPECT_EQ(Path::lastComponent(""), "");
}

TEST(Path, parentLosesTheLastComponent) {
    EXPECT_EQ(Path::parent("/a/b"), "/a");
    EXPECT_EQ(Path::parent("/a//b/"), "/a");
    EXPECT_EQ(Path::parent("/a"), "/");
    EXPECT_EQ(Path::parent("/"), "/");
    EXPECT_EQ(Path::parent("a"), "");
}

TEST(Path, isAtOrBelowComparesWholeComponents) {
    EXPECT_TRUE(Path::isAtOrBelow("/a/b", "/a/b"));
    EXPECT_TRUE(Path::isAtOrBelow("/a/b/c", "/a/b"));
    EXPECT_FALSE(Path::isAtOrBelow("/a/bc", "/a/b"));
    EXPECT_FALSE(Path::isAtOrBelow("/a", "/a/b"));
}
