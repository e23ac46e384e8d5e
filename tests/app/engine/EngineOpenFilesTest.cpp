// What a process has open is looked up when somebody asks.
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::OpenFileList;

class EngineOpenFiles : public EngineTest {
protected:
    OpenFileList load(int32_t pid, const OpenFileList& answer) {
        world->openFiles = answer;
        const size_t asked = world->openFilesQueries.size();
        engine().loadOpenFiles(pid);
        EXPECT_TRUE(spinUntil([&] { return world->openFilesQueries.size() > asked; }));
        spinFor(std::chrono::milliseconds(50));
        const auto found = engine().openFiles().find(pid);
        return found != engine().openFiles().end() ? found->second : OpenFileList{};
    }

    const OpenFileList log{.files = {{.name = "~/work/dev.log"}}, .overflow = 2};
    const OpenFileList socket{.files = {{.name = "*:3000 (LISTEN)", .isSocket = true}}};
};

TEST_F(EngineOpenFiles, areStoredByPid) {
    scan({safeItem(1), safeItem(2)});
    changes.clear();
    EXPECT_EQ(load(1, log), log);
    EXPECT_EQ(load(2, socket), socket);
    EXPECT_EQ(engine().openFiles().size(), 2U);
    EXPECT_EQ(world->openFilesQueries, (std::vector<PIDs>{{1}, {2}}));
    EXPECT_EQ(changes, (Fields{Field::openFiles, Field::openFiles}));
}

TEST_F(EngineOpenFiles, comeFromWhatIsFoldedIntoTheRowToo) {
    scan({runnerItem(10, {12, 11}), safeItem(20)});
    EXPECT_EQ(load(10, log), log);
    EXPECT_EQ(world->openFilesQueries, (std::vector<PIDs>{{10, 12, 11}}));
    EXPECT_EQ(engine().openFiles().size(), 1U);
}

TEST_F(EngineOpenFiles, ofWhoIsNoCandidateAreLookedUp) {
    EXPECT_EQ(load(77, log), log);
    EXPECT_EQ(world->openFilesQueries, (std::vector<PIDs>{{77}}));
}

TEST_F(EngineOpenFiles, areLookedUpAnewEveryTime) {
    scan({safeItem(1)});
    EXPECT_EQ(load(1, log), log);
    EXPECT_EQ(load(1, socket), socket);
    EXPECT_EQ(world->openFilesQueries.size(), 2U);
}

TEST_F(EngineOpenFiles, thatAreTheSameAsBeforeAreNotToldAgain) {
    scan({safeItem(1)});
    (void)load(1, log);
    changes.clear();
    (void)load(1, log);
    EXPECT_TRUE(changes.empty());
}

TEST_F(EngineOpenFiles, ofNothingAreAnEntryToo) {
    scan({safeItem(1)});
    (void)load(1, {});
    EXPECT_TRUE(engine().openFiles().contains(1)) << "it was looked up, and there is nothing";
}

TEST_F(EngineOpenFiles, aScanDoesNotLookThemUp) {
    scan({safeItem(1)});
    (void)load(1, log);
    changes.clear();
    world->openFiles = socket;
    scan();
    scan();
    EXPECT_EQ(world->openFilesQueries.size(), 1U);
    EXPECT_EQ(engine().openFiles().at(1), log);
    EXPECT_EQ(countOf(Field::openFiles), 0U);
}

TEST_F(EngineOpenFiles, ofWhoIsGoneAreForgotten) {
    scan({safeItem(1), safeItem(2)});
    (void)load(1, log);
    (void)load(2, log);
    changes.clear();
    scan({safeItem(2)});
    EXPECT_EQ(engine().openFiles().size(), 1U);
    EXPECT_TRUE(engine().openFiles().contains(2));
    EXPECT_EQ(countOf(Field::openFiles), 1U);
}

TEST_F(EngineOpenFiles, comeOffTheMainThread) {
    scan({safeItem(1)});
    (void)load(1, log);
    EXPECT_EQ(std::ranges::count(world->threads, std::this_thread::get_id()), 0);
}

TEST_F(EngineOpenFiles, doNotWaitForAScan) {
    beginScan({safeItem(1)});
    EXPECT_EQ(load(1, log), log);
    EXPECT_TRUE(engine().isScanning());
    finishScan();
    EXPECT_EQ(engine().openFiles().at(1), log);
}

TEST_F(EngineOpenFiles, areForgottenWhenTheNumberIsAnotherProcesss) {
    scan({safeItem(1), safeItem(2)});
    (void)load(1, log);
    (void)load(2, log);
    ProcessItem successor = safeItem(1);
    successor.startTime = VintrelCore::ProcStartTime{.sec = 9'999};
    scan({successor, safeItem(2)});
    EXPECT_FALSE(engine().openFiles().contains(1));
    EXPECT_TRUE(engine().openFiles().contains(2));
}

} // namespace Vintrel
