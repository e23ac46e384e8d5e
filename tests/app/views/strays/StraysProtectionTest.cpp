// The lock of a row.
#include "tests/app/views/strays/StraysModelTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysProtectionTest : public StraysModelTest {
protected:
    [[nodiscard]] const Texts& entries() { return engine().protectedProjects(); }

    /// One item in a folder, perhaps in a repository.
    void listIn(const std::string& folder, const std::optional<std::string>& root = std::nullopt) {
        VintrelCore::ProcessCwd cwd = cwdOf(folder);
        cwd.projectRoot = root;
        world->found.cwds = {{1, cwd}};
        list({safeItem(1)});
    }

    void toggle() {
        model().toggleProtected(safeItem(1));
        settle();
    }
};

TEST_F(StraysProtectionTest, takesTheRootOfTheProject) {
    listIn("~/work/shop/web", "~/work/shop");
    toggle();
    EXPECT_EQ(entries(), Texts{"~/work/shop"});
    EXPECT_TRUE(row(1).isProtected);
    EXPECT_EQ(stored().protectedProjects, Texts{"~/work/shop"});
}

TEST_F(StraysProtectionTest, takesTheFolderWhereThereIsNoProject) {
    listIn("~/scratch/try");
    toggle();
    EXPECT_EQ(entries(), Texts{"~/scratch/try"});
    EXPECT_TRUE(row(1).isProtected);
}

TEST_F(StraysProtectionTest, addsBehindWhatIsThere) {
    engine().setProtectedProjects({"~/z", "~/a"});
    listIn("~/work/shop");
    toggle();
    EXPECT_EQ(entries(), (Texts{"~/z", "~/a", "~/work/shop"}));
}

TEST_F(StraysProtectionTest, doesNothingWhereTheFolderIsUnknown) {
    engine().setProtectedProjects({"~/a"});
    list({safeItem(1)});
    toggle();
    EXPECT_EQ(entries(), Texts{"~/a"});
    EXPECT_FALSE(row(1).isProtected);
}

TEST_F(StraysProtectionTest, takesAwayEveryEntryThatCoversTheItem) {
    engine().setProtectedProjects({"~/work", "~/other", "~/work/shop/web", "~/work/shop", "~/work/sho"});
    listIn("~/work/shop/web", "~/work/shop");
    ASSERT_TRUE(row(1).isProtected);
    toggle();
    EXPECT_EQ(entries(), (Texts{"~/other", "~/work/sho"}));
    EXPECT_FALSE(row(1).isProtected);
}

TEST_F(StraysProtectionTest, takesAwayAnEntryAboveTheProject) {
    engine().setProtectedProjects({"~/work"});
    listIn("~/work/shop/web", "~/work/shop");
    toggle();
    EXPECT_EQ(entries(), Texts{});
}

TEST_F(StraysProtectionTest, takesAwayAnEntryThatIsWrittenAsAnAbsolutePath) {
    engine().setProtectedProjects({home().string() + "/work", "~/other"});
    listIn("~/work/shop");
    ASSERT_TRUE(row(1).isProtected);
    toggle();
    EXPECT_EQ(entries(), Texts{"~/other"});
}

TEST_F(StraysProtectionTest, twoClicksLeaveEverythingAsItWas) {
    engine().setProtectedProjects({"~/a"});
    listIn("~/work/shop");
    toggle();
    toggle();
    EXPECT_EQ(entries(), Texts{"~/a"});
}

TEST_F(StraysProtectionTest, protectsEveryRowOfTheProject) {
    world->found.cwds = {{1, {.label = "shop", .fullPath = "~/shop/web", .projectRoot = "~/shop"}},
                         {2, {.label = "shop", .fullPath = "~/shop/api", .projectRoot = "~/shop"}},
                         {3, cwdOf("~/shop2")}};
    list({safeItem(1), safeItem(2), safeItem(3)});
    toggle();
    EXPECT_TRUE(row(1).isProtected);
    EXPECT_TRUE(row(2).isProtected);
    EXPECT_FALSE(row(3).isProtected);
    EXPECT_EQ(pidsOf(model().sweepableSafeItems()), PIDs{3});
}

TEST_F(StraysProtectionTest, isNotShownOnRowsThatNeedReview) {
    engine().setProtectedProjects({"~/work"});
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    list({reviewItem(1)});
    EXPECT_FALSE(row(1).isProtected);
}

TEST_F(StraysProtectionTest, startsNoScan) {
    listIn("~/work/shop");
    const size_t scans = scansBegun();
    toggle();
    EXPECT_EQ(scansBegun(), scans);
}

} // namespace Vintrel
