// The log in memory and what becomes of it on disk, as long as nobody else writes.
#include "tests/app/log/StoreTest.h"

#include <array>
#include <cstddef>

#include <QAbstractEventDispatcher>
#include <gtest/gtest.h>

#include <sys/inotify.h>

using namespace VintrelTests;
using namespace VintrelCore;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

class CleanLogStoreTest : public StoreTest {};

/// Counts how often a file takes its place in a folder.
class Arrivals {
public:
    explicit Arrivals(const fs::path& folder) : m_watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        ::inotify_add_watch(m_watch.get(), folder.c_str(), IN_MOVED_TO);
    }

    /// How often it was called `name`, since the last time it was asked.
    int of(const std::string& name) {
        alignas(inotify_event) std::array<std::byte, 65'536> buffer{};
        int count = 0;
        for (ssize_t size = 0; (size = ::read(m_watch.get(), buffer.data(), buffer.size())) > 0;) {
            for (size_t at = 0; at < static_cast<size_t>(size);) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
                count += event->len > 0 && name == event->name ? 1 : 0;
                at += sizeof(inotify_event) + event->len;
            }
        }
        return count;
    }

private:
    FileDescriptor m_watch;
};

} // namespace

TEST_F(CleanLogStoreTest, startsEmptyWithoutAFileAndMakesNone) {
    const auto store = makeStore();
    EXPECT_EQ(store->events(), Events{});
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(namesIn(folder()), std::vector<std::string>{});
}

TEST_F(CleanLogStoreTest, makesNoFolderBeforeThereIsAnEvent) {
    const auto store = makeStore();
    spinFor(50ms);
    EXPECT_EQ(namesIn(dataFolder()), std::vector<std::string>{});
    store->record(eventAt(1));
    EXPECT_EQ(namesIn(dataFolder()), std::vector<std::string>{"Vintrel"});
}

TEST_F(CleanLogStoreTest, keepsItsPlaceAndItsCap) {
    const auto store = makeStore(7);
    EXPECT_EQ(store->fileURL(), url());
    EXPECT_EQ(store->cap(), 7);
}

TEST_F(CleanLogStoreTest, theFirstEventMakesTheFolderAndTheFile) {
    const auto store = makeStore();
    store->record(eventAt(1));
    EXPECT_EQ(store->events(), eventsFrom(1, 1));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 1));
    EXPECT_TRUE(store->isSaved());
    EXPECT_EQ(modeOf(log()), 0600);
    EXPECT_EQ(modeOf(folder()), 0700);
}

TEST_F(CleanLogStoreTest, loadsTheNewestEventsUpToItsCap) {
    writeLog(eventsFrom(1, 1'005));
    EXPECT_EQ(makeStore(1'000)->events(), eventsFrom(6, 1'005));
    EXPECT_EQ(makeStore(3)->events(), eventsFrom(1'003, 1'005));
    EXPECT_EQ(makeStore(5'000)->events(), eventsFrom(1, 1'005));
}

TEST_F(CleanLogStoreTest, loadsWhatIsOutOfOrderByTime) {
    writeLog({eventAt(3), eventAt(1), eventAt(2)});
    EXPECT_EQ(makeStore()->events(), eventsFrom(1, 3));
}

TEST_F(CleanLogStoreTest, aDamagedFileIsEmptyUntilTheNextEventTakesItsPlace) {
    const std::string withoutMemory =
        R"([{"kind": "Vite", "projectLabel": "ledgra", "timestamp": "2025-03-14T09:26:53Z"}])";
    for (const std::string& damaged : {withoutMemory, std::string("[{\"kind\""), std::string()}) {
        SCOPED_TRACE(damaged);
        fs::remove_all(folder());
        writeBytes(damaged);
        const auto store = makeStore();
        EXPECT_EQ(store->events(), Events{});
        EXPECT_EQ(bytesOf(log()), damaged) << "looking changes nothing";
        store->record(eventAt(1));
        EXPECT_EQ(store->events(), eventsFrom(1, 1));
        EXPECT_EQ(eventsIn(log()), eventsFrom(1, 1));
        EXPECT_EQ(bytesOf(folder() / "clean-log.json.damaged"), damaged);
    }
}

TEST_F(CleanLogStoreTest, eachEventIsAddedAndWritten) {
    writeLog(eventsFrom(1, 3));
    const auto store = makeStore();
    for (int64_t at = 4; at <= 8; ++at) {
        store->record(eventAt(at));
        EXPECT_EQ(store->events(), eventsFrom(1, at));
        EXPECT_EQ(bytesOf(log()), CleanLogFile::encode(eventsFrom(1, at)));
    }
}

TEST_F(CleanLogStoreTest, anEventOfThePastFindsItsPlace) {
    const auto store = makeStore();
    store->record(eventAt(5));
    store->record(eventAt(3));
    store->record(eventAt(4));
    EXPECT_EQ(store->events(), eventsFrom(3, 5));
    EXPECT_EQ(eventsIn(log()), eventsFrom(3, 5));
}

TEST_F(CleanLogStoreTest, equalEventsAreDifferentOnes) {
    const auto store = makeStore();
    store->record(eventAt(1));
    store->record(eventAt(1));
    const Events both{eventAt(1), eventAt(1)};
    store->record(both);
    EXPECT_EQ(store->events().size(), 4U);
    EXPECT_EQ(eventsIn(log()).value().size(), 4U);
}

TEST_F(CleanLogStoreTest, theOldestGoWhenThereAreTooMany) {
    const auto store = makeStore(3);
    for (int64_t at = 1; at <= 5; ++at) {
        store->record(eventAt(at));
    }
    EXPECT_EQ(store->events(), eventsFrom(3, 5));
    EXPECT_EQ(eventsIn(log()), eventsFrom(3, 5));
    store->record(eventsFrom(10, 19));
    EXPECT_EQ(store->events(), eventsFrom(17, 19));
    EXPECT_EQ(eventsIn(log()), eventsFrom(17, 19));
}

TEST_F(CleanLogStoreTest, theThousandNewestAreKept) {
    writeLog(eventsFrom(1, 1'000));
    const auto store = makeStore();
    store->record(eventAt(1'001));
    EXPECT_EQ(store->events(), eventsFrom(2, 1'001));
    EXPECT_EQ(eventsIn(log()), eventsFrom(2, 1'001));
}

TEST_F(CleanLogStoreTest, observersAreToldOnceOfEachEventAndSeeIt) {
    const auto store = makeStore();
    const Observer observer(*store);
    for (int64_t at = 1; at <= 4; ++at) {
        store->record(eventAt(at));
        EXPECT_EQ(observer.changes(), static_cast<size_t>(at)) << "at once";
        EXPECT_EQ(observer.seen().back(), eventsFrom(1, at));
    }
    spinFor(soon + 500ms);
    EXPECT_EQ(observer.changes(), 4U) << "its own writing is no news";
}

TEST_F(CleanLogStoreTest, observersAreToldOnceWithALoopInBetween) {
    writeLog(eventsFrom(1, 1));
    const auto store = makeStore();
    const Observer observer(*store);
    for (int64_t at = 2; at <= 5; ++at) {
        store->record(eventAt(at));
        spinFor(300ms);
        EXPECT_EQ(observer.changes(), static_cast<size_t>(at - 1));
    }
}

TEST_F(CleanLogStoreTest, manyEventsAreOneWriteAndOneChange) {
    writeLog(eventsFrom(1, 2));
    const auto store = makeStore();
    const Observer observer(*store);
    Arrivals arrivals(folder());
    store->record(eventsFrom(3, 42));
    EXPECT_EQ(arrivals.of("clean-log.json"), 1);
    EXPECT_EQ(observer.changes(), 1U);
    EXPECT_EQ(store->events(), eventsFrom(1, 42));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 42));
    store->record(eventAt(43));
    EXPECT_EQ(arrivals.of("clean-log.json"), 1);
}

TEST_F(CleanLogStoreTest, noEventsAreNoWriteAndNoChange) {
    writeLog(eventsFrom(1, 2));
    const auto store = makeStore();
    const Observer observer(*store);
    Arrivals arrivals(folder());
    store->record(Events{});
    spinFor(200ms);
    EXPECT_EQ(arrivals.of("clean-log.json"), 0);
    EXPECT_EQ(observer.changes(), 0U);
    EXPECT_EQ(store->events(), eventsFrom(1, 2));
}

TEST_F(CleanLogStoreTest, anObserverMayRecord) {
    const auto store = makeStore();
    const Observer observer(*store);
    QObject context;
    QObject::connect(store.get(), &Store::eventsChanged, &context, [&store] {
        if (store->events().size() < 4) {
            store->record(eventAt(static_cast<int64_t>(store->events().size()) + 1));
        }
    });
    store->record(eventAt(1));
    EXPECT_EQ(store->events(), eventsFrom(1, 4));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 4));
    EXPECT_EQ(observer.changes(), 4U);
}

TEST_F(CleanLogStoreTest, anotherStoreGoesOnWhereOneEnded) {
    makeStore()->record(eventsFrom(1, 3));
    const auto store = makeStore();
    EXPECT_EQ(store->events(), eventsFrom(1, 3));
    store->record(eventAt(4));
    EXPECT_EQ(eventsIn(log()), eventsFrom(1, 4));
}

TEST_F(CleanLogStoreTest, waitsWithoutWakingUp) {
    const auto countWakes = [](std::chrono::milliseconds time) {
        int wakes = 0;
        QObject context;
        QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &context,
                         [&wakes] { ++wakes; });
        spinFor(time);
        return wakes;
    };
    const int alone = countWakes(1'500ms);
    const auto store = makeStore(); // without a file, and without a folder
    spinFor(300ms);
    EXPECT_LE(countWakes(1'500ms), alone + 2);
    store->record(eventAt(1));
    spinFor(300ms);
    EXPECT_LE(countWakes(1'500ms), alone + 2);
}
