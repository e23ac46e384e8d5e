// Several writers of one store, and writers that are killed.
#include "VintrelCore/base/FileLock.h"
#include "tests/app/preferences/WritersTest.h"
#include "tests/support/Child.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace Vintrel {

using namespace VintrelTests;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

using PreferencesWritersTest = WritersTest;

/// Saving waits a few seconds for the lock. On a busy disk another writer may hold it for longer, and saving
/// says that it was not possible. It is tried again then, as a user would.
bool saveAtLast(const Preferences& values, Key key) {
    constexpr int mostTries = 4;
    for (int tries = 1; tries <= mostTries; ++tries) {
        if (values.save({key})) {
            return true;
        }
        std::cout << "setting " << values.scanInterval << " was refused, in try " << tries << '\n';
    }
    return false;
}

/// Saves the one setting of this writer again and again, and expects it to be there each time. How often it
/// was not.
int saveOften(Key key, int times, std::chrono::milliseconds pause = 0ms) {
    int lost = 0;
    for (int time = 1; time <= times; ++time) {
        const std::string text = "entry " + std::to_string(time);
        Preferences values;
        values.scanInterval = time;
        values.elapsedThreshold = time;
        values.ignoredNames = {text, text};
        values.protectedProjects = {text};
        const bool isSaved = saveAtLast(values, key);
        const Preferences read = Preferences::load().values;
        const bool isThere = key == Key::scanInterval       ? read.scanInterval == time
                             : key == Key::elapsedThreshold ? read.elapsedThreshold == time
                             : key == Key::ignoredNames     ? read.ignoredNames == values.ignoredNames
                                                        : read.protectedProjects == values.protectedProjects;
        lost += isSaved && isThere ? 0 : 1;
        std::this_thread::sleep_for(pause);
    }
    return lost;
}

void copyValue(Key key, const Preferences& from, Preferences& to) {
    switch (key) {
    case Key::elapsedThreshold:
        to.elapsedThreshold = from.elapsedThreshold;
        break;
    case Key::scanInterval:
        to.scanInterval = from.scanInterval;
        break;
    case Key::ignoredNames:
        to.ignoredNames = from.ignoredNames;
        break;
    case Key::protectedProjects:
        to.protectedProjects = from.protectedProjects;
        break;
    case Key::disabledKinds:
        to.disabledKinds = from.disabledKinds;
        break;
    case Key::customRules:
        to.customRules = from.customRules;
        break;
    case Key::notificationsEnabled:
        to.notificationsEnabled = from.notificationsEnabled;
        break;
    }
}

} // namespace

TEST_F(PreferencesWritersTest, thoseThatAreKilledBreakNothing) {
    constexpr int rounds = 200;
    std::mt19937 random(4'242); // the same moments in every run
    std::uniform_int_distribution<int> microseconds(0, 25'000);
    int leftovers = 0;
    for (int round = 0; round < rounds; ++round) {
        Child writer([this] {
            while (m_new.save(allKeys) && m_old.save(allKeys)) {
            }
            return 1;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        ASSERT_FALSE(writer.hasEnded()) << "it could not save";
        writer.kill();
        leftovers += hasLeftovers() ? 1 : 0;
        expectWhole();
        if (round % 20 == 0) {
            ASSERT_EQ(readByAnotherProgram(), described(Preferences::load().values));
        }
    }
    Preferences::removeLeftovers();
    EXPECT_EQ(names(), m_usual);
    expectWhole();
    std::cout << rounds << " killed writers: the settings were whole every time, and beside them stood "
              << "something in " << leftovers << " cases, in the end nothing\n";
}

TEST_F(PreferencesWritersTest, oneThatIsKilledBeforeAnyOfItsCallsBreaksNothing) {
    int calls = 0;
    int leftovers = 0;
    while (killedBeforeCall(calls + 1, [this] { return m_new.save(allKeys) ? 0 : 1; })) {
        ++calls;
        SCOPED_TRACE(calls);
        leftovers += hasLeftovers() ? 1 : 0;
        expectWhole();
        Preferences::removeLeftovers();
        ASSERT_EQ(names(), m_usual);
        expectWhole();
        const auto start = Clock::now();
        ASSERT_TRUE(m_old.save(allKeys));
        ASSERT_LT(Clock::now() - start, 3s) << "a dead writer keeps nothing locked";
    }
    EXPECT_GT(calls, 10);
    EXPECT_GT(leftovers, 0);
    EXPECT_EQ(Preferences::load().values, m_new) << "the last one came to its end";
    std::cout << "killed before each of " << calls << " calls, " << leftovers
              << " times something was left\n";
}

TEST_F(PreferencesWritersTest, oneThatIsKilledOverADamagedFileLosesNothing) {
    const std::string damaged = "[General]\nprotectedProjects=\"~/shop\n";
    int calls = 0;
    const auto damage = [&] {
        fs::remove_all(m_store.file().parent_path());
        m_store.write(damaged);
    };
    for (damage(); killedBeforeCall(calls + 1, [this] { return m_new.save(allKeys) ? 0 : 1; }); damage()) {
        ++calls;
        SCOPED_TRACE(calls);
        Preferences::removeLeftovers();
        const auto [read, problem] = Preferences::load();
        if (problem) {
            ASSERT_EQ(bytesOf(m_store.file()), damaged);
        } else {
            ASSERT_EQ(read, m_new);
            ASSERT_EQ(keptWith(damaged, m_store.file()).size(), 1U);
        }
    }
    EXPECT_GT(calls, 10);
}

TEST_F(PreferencesWritersTest, aWriterAtWorkIsNoLeftover) {
    constexpr int times = 30;
    // A pause longer than a waiting one looks away: both have their turns, however slow the disk is.
    Child writer([] { return saveOften(Key::scanInterval, times, 10ms); });
    int removals = 0;
    while (!writer.hasEnded()) {
        Preferences::removeLeftovers();
        ++removals;
    }
    EXPECT_EQ(writer.wait(), 0) << "so many of its settings were lost";
    EXPECT_GT(removals, 10);
    EXPECT_EQ(Preferences::load().values.scanInterval, times);
}

TEST_F(PreferencesWritersTest, severalAtTheSameTimeLoseNothing) {
    constexpr int times = 60;
    const std::vector<Key> keys = {Key::scanInterval, Key::elapsedThreshold, Key::ignoredNames,
                                   Key::protectedProjects};
    std::vector<std::unique_ptr<Child>> writers;
    for (const Key key : keys) {
        writers.push_back(std::make_unique<Child>([key] { return saveOften(key, times); }));
    }
    const auto haveEnded = [&writers] {
        return std::ranges::all_of(writers, [](const auto& writer) { return writer->hasEnded(); });
    };
    int reads = 0;
    while (!haveEnded()) { // a reader never sees settings that are not whole
        const auto [read, problem] = Preferences::load();
        ASSERT_EQ(problem, std::nullopt);
        ASSERT_EQ(read.customRules, m_old.customRules);
        ++reads;
        std::this_thread::sleep_for(1ms);
    }
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->wait(), 0) << "so many of its settings were lost";
    }
    Preferences all = m_old;
    all.scanInterval = times;
    all.elapsedThreshold = times;
    all.ignoredNames = {"entry 60", "entry 60"};
    all.protectedProjects = {"entry 60"};
    expectStored(all);
    EXPECT_EQ(names(), m_usual);
    std::cout << "4 writers of " << times << " settings each, " << reads << " reads in between\n";
}

TEST_F(PreferencesWritersTest, whileALockIsKeptForLongNothingIsLostEither) {
    ASSERT_TRUE(Preferences{}.save(allKeys));
    const SharedNumber isLocked;
    Child keeper([&] { // a writer that was stopped for a while
        const auto lock = VintrelCore::FileLock::take(m_store.file().string() + ".writing", 5s);
        isLocked.value() = lock ? 1 : -1;
        std::this_thread::sleep_for(2s);
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return isLocked.value() != 0; }));
    ASSERT_EQ(isLocked.value(), 1);
    std::vector<std::unique_ptr<Child>> writers;
    for (const Key key : allKeys) {
        writers.push_back(std::make_unique<Child>([key] { return distinctValues().save({key}) ? 0 : 1; }));
    }
    Preferences expected; // what each of them said is so
    int saved = 0;
    for (size_t writer = 0; const Key key : allKeys) {
        if (writers[writer++]->wait() == 0) {
            copyValue(key, distinctValues(), expected);
            ++saved;
        }
    }
    expectStored(expected);
    std::cout << saved << " of " << writers.size() << " writers saved although a lock was kept\n";
}

TEST_F(PreferencesWritersTest, twoOfOneSettingLeaveOneOfTheirValues) {
    Child other([this] {
        for (int time = 0; time < 50; ++time) {
            if (!m_new.save(allKeys)) {
                return 1;
            }
        }
        return 0;
    });
    for (int time = 0; time < 50; ++time) {
        ASSERT_TRUE(m_old.save(allKeys));
        expectWhole();
    }
    EXPECT_EQ(other.wait(), 0);
    expectWhole();
    EXPECT_EQ(names(), m_usual);
}

} // namespace Vintrel
