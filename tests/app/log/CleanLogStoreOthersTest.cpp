// Other processes write the same log: what they add is shown, and nobody loses anything.
#include "tests/app/log/StoreTest.h"
#include "tests/support/Child.h"

#include <algorithm>
#include <thread>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace VintrelTests;
using namespace VintrelCore;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

class CleanLogStoreOthersTest : public StoreTest {
public:
    /// Another process adds to a log that holds `before`: within the time that is given, and once, the
    /// observers hear of it. Afterwards the store records, and both have everything.
    void expectNoticed(int64_t before) const {
        const auto store = makeStore();
        ASSERT_EQ(store->events(), eventsFrom(1, before));
        expectNoticed(*store, before);
    }

    void expectNoticed(Store& store, int64_t before) const {
        const Observer observer(store);
        for (int64_t at = before + 1; at <= before + 5; at += 2) {
            const size_t changes = observer.changes();
            ASSERT_TRUE(appendElsewhere(url(), eventsFrom(at, at)));
            EXPECT_TRUE(spinUntil([&] { return store.events() == eventsFrom(1, at); }, soon));
            EXPECT_EQ(observer.changes(), changes + 1);
            store.record(eventAt(at + 1));
            EXPECT_EQ(store.events(), eventsFrom(1, at + 1));
            EXPECT_EQ(CleanLogFile::load(url(), retentionCap), eventsFrom(1, at + 1));
            EXPECT_EQ(observer.changes(), changes + 2);
        }
        const size_t changes = observer.changes();
        spinFor(500ms);
        EXPECT_EQ(observer.changes(), changes);
        EXPECT_TRUE(store.isSaved());
    }

    /// Events of a writer: one a second.
    static Events eventsOf(const std::string& writer, int64_t count) {
        Events events;
        for (int64_t at = 1; at <= count; ++at) {
            events.push_back(eventAt(at, writer, std::to_string(at)));
        }
        return events;
    }
};

/// Whether each of these is there exactly once.
bool holdsEach(const Events& all, const Events& wanted) {
    return std::ranges::all_of(
        wanted, [&all](const CleanEvent& event) { return std::ranges::count(all, event) == 1; });
}

} // namespace

TEST_F(CleanLogStoreOthersTest, whatIsAddedIsNoticed) {
    writeLog(eventsFrom(1, 3));
    expectNoticed(3);
}

TEST_F(CleanLogStoreOthersTest, theFirstLogInAFolderIsNoticed) {
    fs::create_directories(folder());
    expectNoticed(0);
}

TEST_F(CleanLogStoreOthersTest, aLogInANewFolderIsNoticed) {
    expectNoticed(0);
}

TEST_F(CleanLogStoreOthersTest, aLogBelowSeveralNewFoldersIsNoticed) {
    fs::remove(dataFolder());
    expectNoticed(0);
}

TEST_F(CleanLogStoreOthersTest, aLogThatIsALinkIsNoticed) {
    const TemporaryFolder elsewhere;
    fs::create_directories(folder());
    fs::create_symlink(elsewhere.write("events.json", CleanLogFile::encode(eventsFrom(1, 2)).value()), log());
    expectNoticed(2);
    EXPECT_TRUE(fs::is_symlink(log()));
    EXPECT_EQ(eventsIn(elsewhere.path() / "events.json"), eventsFrom(1, 8));
}

TEST_F(CleanLogStoreOthersTest, aLogBehindSeveralLinksIsNoticed) {
    const TemporaryFolder elsewhere;
    elsewhere.write("deep/events.json", CleanLogFile::encode(eventsFrom(1, 2)).value());
    fs::create_symlink("deep/events.json", elsewhere.path() / "last");
    fs::create_directories(folder());
    fs::create_symlink(fs::relative(elsewhere.path() / "last", folder()), log());
    expectNoticed(2);
}

TEST_F(CleanLogStoreOthersTest, aLinkToWhatIsNotThereYetIsNoticed) {
    const TemporaryFolder elsewhere;
    fs::create_directories(folder());
    fs::create_symlink(elsewhere.path() / "events.json", log());
    expectNoticed(0);
}

TEST_F(CleanLogStoreOthersTest, aLinkIntoAFolderThatIsNotThereYetIsNoticed) {
    const TemporaryFolder elsewhere;
    fs::create_directories(folder());
    fs::create_symlink(elsewhere.path() / "a/b/events.json", log());
    expectNoticed(0);
}

TEST_F(CleanLogStoreOthersTest, aFolderThatIsALinkIsNoticed) {
    const TemporaryFolder elsewhere;
    elsewhere.write("clean-log.json", CleanLogFile::encode(eventsFrom(1, 2)).value());
    fs::create_directory_symlink(elsewhere.path(), folder());
    expectNoticed(2);
}

TEST_F(CleanLogStoreOthersTest, aLogWhoseFolderIsMadeAnewIsNoticed) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    fs::remove_all(folder());
    spinFor(300ms);
    const Events added = eventsOf("anew", 1);
    ASSERT_TRUE(appendElsewhere(url(), added));
    EXPECT_TRUE(spinUntil([&] { return holdsEach(store->events(), added); }, soon));
    ASSERT_TRUE(appendElsewhere(url(), eventsOf("later", 1)));
    EXPECT_TRUE(spinUntil([&] { return holdsEach(store->events(), eventsOf("later", 1)); }, soon));
}

TEST_F(CleanLogStoreOthersTest, aLogThatIsWrittenAgainAsItWasIsNoChange) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    const Observer observer(*store);
    ASSERT_TRUE(CleanLogFile::save(eventsFrom(1, 3), url()));
    spinFor(700ms);
    EXPECT_EQ(observer.changes(), 0U);
}

TEST_F(CleanLogStoreOthersTest, otherFilesInTheFolderAreNoChange) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    const Observer observer(*store);
    for (const char* const name : {"ports.json", "clean-log.json.bak", "clean-log.json.lock"}) {
        std::ofstream(folder() / name) << "[]";
    }
    spinFor(500ms);
    EXPECT_EQ(observer.changes(), 0U);
    EXPECT_EQ(store->events(), eventsFrom(1, 3));
}

TEST_F(CleanLogStoreOthersTest, whatIsAddedIsReadAgainBeforeRecording) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    const Observer observer(*store);
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(4, 6)));
    store->record(eventAt(7)); // before any loop could have told of it
    EXPECT_EQ(store->events(), eventsFrom(1, 7));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 7));
    EXPECT_EQ(observer.changes(), 1U);
    spinFor(500ms);
    EXPECT_EQ(observer.changes(), 1U) << "it is known already";
}

TEST_F(CleanLogStoreOthersTest, theFirstLogIsReadAgainBeforeRecording) {
    const auto store = makeStore();
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(1, 2)));
    store->record(eventAt(3));
    EXPECT_EQ(store->events(), eventsFrom(1, 3));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 3));
}

TEST_F(CleanLogStoreOthersTest, aLogThatWasWrittenInPlaceIsReadAgainBeforeRecording) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    store->record(eventAt(4));
    writeLog(eventsFrom(1, 6)); // as some editors do: the file is the same one
    store->record(eventAt(7));
    EXPECT_EQ(store->events(), eventsFrom(1, 7));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 7));
}

TEST_F(CleanLogStoreOthersTest, theLogOfAnotherWithMoreEventsShowsTheNewest) {
    writeLog(eventsFrom(1, 4));
    const auto store = makeStore(5);
    ASSERT_TRUE(appendElsewhere(url(), eventsFrom(5, 8)));
    EXPECT_TRUE(spinUntil([&] { return store->events() == eventsFrom(4, 8); }, soon));
    store->record(eventAt(9));
    EXPECT_EQ(store->events(), eventsFrom(5, 9));
    EXPECT_EQ(eventsIn(log()), eventsFrom(5, 9));
}

TEST_F(CleanLogStoreOthersTest, twoStoresOfOneLogShowTheSame) {
    const auto one = makeStore();
    const auto other = makeStore();
    const Observer ofOne(*one);
    const Observer ofOther(*other);
    one->record(eventAt(1));
    EXPECT_TRUE(spinUntil([&] { return other->events() == eventsFrom(1, 1); }, soon));
    other->record(eventAt(2));
    EXPECT_TRUE(spinUntil([&] { return one->events() == eventsFrom(1, 2); }, soon));
    one->record(eventAt(3));
    other->record(eventAt(4));
    EXPECT_TRUE(spinUntil([&] { return one->events() == eventsFrom(1, 4); }, soon));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 4));
    EXPECT_EQ(ofOne.changes(), 4U);
    spinFor(300ms);
    EXPECT_LE(ofOther.changes(), 4U);
}

TEST_F(CleanLogStoreOthersTest, whatTakesItsPlaceRightAfterItsOwnWriteIsNoticed) {
    const auto store = makeStore();
    store->record(eventAt(1));
    const fs::path next = folder() / "next";
    std::ofstream(next) << CleanLogFile::encode(eventsFrom(1, 3)).value();
    const auto nodeOf = [this] {
        struct stat status{};
        return ::stat(log().c_str(), &status) == 0 ? status.st_ino : ino_t{0};
    };
    std::jthread other([&, before = nodeOf()] { // a writer that could not get the lock
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (nodeOf() == before && std::chrono::steady_clock::now() < end) {
        }
        fs::rename(next, log());
    });
    spinFor(100ms);
    store->record(eventAt(2));
    other.join();
    EXPECT_TRUE(spinUntil([&] { return store->events() == eventsFrom(1, 3); }, soon));
}

TEST_F(CleanLogStoreOthersTest, fourWritersAndTheStoreLoseNothing) {
    constexpr int64_t count = 25;
    const std::vector<std::string> names = {"one", "two", "three", "four"};
    std::vector<std::unique_ptr<Child>> writers;
    const auto store = makeStore();
    for (const std::string& name : names) {
        writers.push_back(std::make_unique<Child>([this, &name] {
            int failed = 0;
            for (const CleanEvent& event : eventsOf(name, count)) {
                failed += CleanLogFile::append(Events{event}, url(), retentionCap).isSaved ? 0 : 1;
            }
            return failed;
        }));
    }
    for (const CleanEvent& event : eventsOf("store", count)) {
        store->record(event);
        EXPECT_EQ(std::ranges::count(store->events(), event), 1);
        spinFor(2ms);
    }
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->wait(), 0);
    }
    const Events all = CleanLogFile::load(url(), retentionCap);
    EXPECT_EQ(all.size(), 5U * count);
    EXPECT_TRUE(holdsEach(all, eventsOf("store", count)));
    for (const std::string& name : names) {
        EXPECT_TRUE(holdsEach(all, eventsOf(name, count))) << name;
    }
    EXPECT_TRUE(spinUntil([&] { return store->events() == all; }, soon));
    EXPECT_TRUE(store->isSaved());
}
