// What goes wrong with the file: what was recorded is kept until it can be written.
#include "tests/app/log/StoreTest.h"
#include "tests/support/NeedsRoot.h"

#include <algorithm>

#include <gtest/gtest.h>

using namespace VintrelTests;
using namespace VintrelCore;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

class CleanLogStoreFaultsTest : public StoreTest {
public:
    /// The files beside the log that hold exactly these bytes.
    [[nodiscard]] size_t keptWith(const std::string& bytes) const {
        size_t kept = 0;
        for (const std::string& name : namesIn(folder())) {
            kept += name != "clean-log.json" && bytesOf(folder() / name) == bytes ? 1U : 0U;
        }
        return kept;
    }
};

} // namespace

TEST_F(CleanLogStoreFaultsTest, anEventThatCouldNotBeWrittenIsWrittenWithTheNext) {
    fs::create_directories(dataFolder());
    std::ofstream(folder()) << "a file in place of the folder";
    const auto store = makeStore();
    const Observer observer(*store);
    store->record(eventAt(1));
    EXPECT_FALSE(store->isSaved());
    store->record(eventAt(2));
    EXPECT_FALSE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 2)) << "it is here";
    EXPECT_EQ(observer.changes(), 2U) << "and shown";
    EXPECT_EQ(bytesOf(folder()), "a file in place of the folder");

    fs::remove(folder());
    store->record(eventAt(3));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 3));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 3));
    EXPECT_EQ(observer.changes(), 3U);
}

TEST_F(CleanLogStoreFaultsTest, onAReadOnlyDiskTheLogIsShownAndTheFileStays) {
    VINTREL_NEEDS_ROOT();
    const ScratchDisk disk(folder(), "size=256k,mode=0700");
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(1, 3)));
    const auto store = makeStore();
    ASSERT_TRUE(disk.makeReadOnly());
    const auto before = bytesOf(log());
    store->record(eventAt(4));
    store->record(eventsFrom(5, 6));
    EXPECT_FALSE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 6));
    EXPECT_EQ(bytesOf(log()), before);

    ASSERT_EQ(::mount("scratch", folder().c_str(), "tmpfs", MS_REMOUNT, nullptr), 0);
    store->record(eventAt(7));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 7));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 7));
}

TEST_F(CleanLogStoreFaultsTest, onAFullDiskTheLogIsShownAndTheFileStays) {
    VINTREL_NEEDS_ROOT();
    const ScratchDisk disk(folder(), "size=64k,mode=0700");
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(1, 3)));
    const auto store = makeStore();
    const auto before = bytesOf(log());
    std::ofstream(folder() / "filler") << std::string(100'000, 'f') << std::flush;
    store->record(eventAt(4));
    EXPECT_FALSE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 4));
    EXPECT_EQ(bytesOf(log()), before);
    fs::remove(folder() / "filler");
    store->record(eventAt(5));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 5));
}

TEST_F(CleanLogStoreFaultsTest, whatOthersAddMeanwhileDoesNotHideWhatIsNotWrittenYet) {
    fs::create_directories(log()); // a folder in place of the log
    const auto store = makeStore();
    store->record(eventAt(4));
    ASSERT_FALSE(store->isSaved());
    fs::remove(log());
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(1, 3)));
    EXPECT_TRUE(spinUntil([&] { return store->events() == eventsFrom(1, 4); }, soon));
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(5, 5)));
    EXPECT_TRUE(spinUntil([&] { return store->events() == eventsFrom(1, 5); }, soon));
    store->record(eventAt(6));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 6));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 6));
}

TEST_F(CleanLogStoreFaultsTest, aLogThatCannotBeReachedForAWhileIsStillShown) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    fs::rename(log(), folder() / "aside");
    fs::create_directories(log());
    store->record(eventAt(4));
    EXPECT_FALSE(store->isSaved());
    EXPECT_EQ(std::ranges::count(store->events(), eventAt(4)), 1);
    fs::remove(log());
    fs::rename(folder() / "aside", log());
    store->record(eventAt(5));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(store->events(), eventsFrom(1, 5));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 5));
}

TEST_F(CleanLogStoreFaultsTest, eventsThatCannotBeWrittenAreCappedToo) {
    std::ofstream(folder()) << "a file in place of the folder";
    const auto store = makeStore(3);
    for (int64_t at = 1; at <= 6; ++at) {
        store->record(eventAt(at));
    }
    EXPECT_EQ(store->events(), eventsFrom(4, 6));
    fs::remove(folder());
    store->record(eventAt(7));
    EXPECT_EQ(store->events(), eventsFrom(5, 7));
    EXPECT_EQ(eventsIn(log()), eventsFrom(5, 7));
    EXPECT_TRUE(store->isSaved());
}

TEST_F(CleanLogStoreFaultsTest, withoutAPlaceItIsALogInMemory) {
    Store store("", retentionCap);
    EXPECT_EQ(store.events(), Events{});
    store.record(eventsFrom(1, 2));
    EXPECT_EQ(store.events(), eventsFrom(1, 2));
    EXPECT_FALSE(store.isSaved());
}

TEST_F(CleanLogStoreFaultsTest, aPipeInPlaceOfTheLogIsNotWaitedFor) {
    fs::create_directories(folder());
    ASSERT_EQ(::mkfifo(log().c_str(), 0600), 0);
    const auto start = std::chrono::steady_clock::now();
    const auto store = makeStore();
    store->record(eventAt(1));
    spinFor(100ms);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
    EXPECT_EQ(store->events(), eventsFrom(1, 1));
    EXPECT_FALSE(store->isSaved());
    EXPECT_TRUE(fs::is_fifo(log()));
}

TEST_F(CleanLogStoreFaultsTest, aFileThatIsRemovedMeanwhileComesBack) {
    for (const bool isNoticed : {false, true}) {
        SCOPED_TRACE(isNoticed);
        writeLog(eventsFrom(1, 3));
        const auto store = makeStore();
        store->record(eventAt(4));
        fs::remove(log());
        if (isNoticed) {
            spinFor(500ms);
        }
        store->record(eventAt(5));
        EXPECT_TRUE(store->isSaved());
        ASSERT_FALSE(store->events().empty());
        EXPECT_EQ(store->events().back(), eventAt(5));
        EXPECT_EQ(eventsIn(log()), store->events()) << "what is shown is what is there";
        const Events shown = store->events();
        spinFor(300ms);
        EXPECT_EQ(store->events(), shown);
        ASSERT_TRUE(appendElsewhere(url(), eventsFrom(6, 6)));
        EXPECT_TRUE(spinUntil([&] { return store->events().back() == eventAt(6); }, soon));
    }
}

TEST_F(CleanLogStoreFaultsTest, aFolderThatIsRemovedMeanwhileComesBack) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    fs::remove_all(dataFolder());
    spinFor(300ms);
    store->record(eventAt(4));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(eventsIn(log()), store->events());
    EXPECT_EQ(store->events().back(), eventAt(4));
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(5, 5)));
    EXPECT_TRUE(spinUntil([&] { return store->events().back() == eventAt(5); }, soon));
}

TEST_F(CleanLogStoreFaultsTest, aFileThatIsDamagedMeanwhileIsKeptAndNothingIsLost) {
    for (const bool isNoticed : {false, true}) {
        SCOPED_TRACE(isNoticed);
        fs::remove_all(folder());
        const auto store = makeStore();
        store->record(eventsFrom(1, 3));
        writeBytes("[{\"kind\" : \"Vi");
        if (isNoticed) {
            spinFor(500ms);
        }
        store->record(eventAt(4));
        EXPECT_TRUE(store->isSaved());
        EXPECT_EQ(store->events(), eventsFrom(1, 4));
        EXPECT_EQ(eventsIn(log()), eventsFrom(1, 4));
        EXPECT_EQ(keptWith("[{\"kind\" : \"Vi"), 1U);
    }
}

TEST_F(CleanLogStoreFaultsTest, aDamagedFileThatTookTheLogsPlaceIsKeptAndNothingIsLost) {
    const auto store = makeStore();
    store->record(eventsFrom(1, 3));
    std::ofstream(folder() / "other") << "damaged";
    fs::rename(folder() / "other", log());
    spinFor(500ms);
    EXPECT_EQ(store->events(), eventsFrom(1, 3)) << "what is known is shown";
    store->record(eventAt(4));
    EXPECT_EQ(store->events(), eventsFrom(1, 4));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 4));
    EXPECT_EQ(keptWith("damaged"), 1U);
}
