// Every single call of the system fails once: the old log survives, or the new one is complete.
#include "VintrelCore/base/AtomicFile.h"
#include "tests/core/log/LogFolder.h"
#include "tests/core/log/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <ranges>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;
using CleanLogFile::append;
using CleanLogFile::encode;

namespace {

const std::string logName = "clean-log.json";

/// A log of twenty events, or damaged bytes, in a folder where there has been a writer before.
class TroubledLog : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(append(eventsFrom(1, 20), url(), retentionCap).isSaved);
        m_usual = nameSetOf(m_folder.path());
        m_old = bytesOf(url()).value();
    }

    void startWith(const std::string& bytes) {
        for (const std::string& name : namesIn(m_folder.path())) {
            if (name == logName || !m_usual.contains(name)) {
                std::filesystem::remove(m_folder.path() / name);
            }
        }
        m_folder.write(logName, bytes);
    }

    [[nodiscard]] std::string url() const { return m_folder.path() / logName; }

    [[nodiscard]] const std::string& old() const { return m_old; }

    /// What stands in the folder that was not there before.
    [[nodiscard]] Names strangers() const {
        Names names = nameSetOf(m_folder.path());
        std::erase_if(names, [this](const std::string& name) { return m_usual.contains(name); });
        return names;
    }

    /// How many calls an append makes that goes well.
    size_t callsOfAppend(const std::string& bytes) {
        startWith(bytes);
        const WatchedCalls calls;
        EXPECT_TRUE(append(eventsFrom(21, 22), url(), retentionCap).isSaved);
        return calls.made().size();
    }

    /// Appends while the call of that number fails; whether it was saved.
    bool appendWithFailing(size_t call, int error) {
        const WatchedCalls calls({.failingCall = call, .error = error});
        return append(eventsFrom(21, 22), url(), retentionCap).isSaved;
    }

private:
    TemporaryFolder m_folder;
    Names m_usual;
    std::string m_old;
};

constexpr int errors[] = {EIO, ENOSPC, EDQUOT, EACCES, EMFILE, EROFS};

} // namespace

TEST_F(TroubledLog, whicheverCallFailsNothingIsLost) {
    const size_t count = callsOfAppend(old());
    ASSERT_GE(count, 5U); // to lock, to make a file, to write, to flush, to rename
    int written = 0;
    int keptAside = 0;
    int refused = 0;
    for (const int error : errors) {
        for (size_t call = 1; call <= count; ++call) {
            SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(count) + ", error " +
                         std::to_string(error));
            startWith(old());
            const bool isSaved = appendWithFailing(call, error);
            const auto now = bytesOf(url());
            if (!isSaved) {
                ++refused;
                EXPECT_EQ(now, old());
                EXPECT_EQ(strangers(), Names{});
            } else if (now != encode(eventsFrom(1, 22))) { // what could not be read counts as damaged
                ++keptAside;
                EXPECT_EQ(now, encode(eventsFrom(21, 22)));
                EXPECT_EQ(bytesOf(url() + ".damaged"), old());
                EXPECT_EQ(strangers(), Names{logName + ".damaged"});
            } else {
                ++written;
                EXPECT_EQ(strangers(), Names{});
            }
        }
    }
    EXPECT_GT(refused, 0);
    std::cout << count << " calls, each with " << std::size(errors) << " errors: " << written
              << " times all is there, " << refused << " times what was there before, and " << keptAside
              << " times that is kept aside\n";
}

TEST_F(TroubledLog, whicheverCallFailsADamagedLogIsNotLost) {
    const std::string damaged = "damaged";
    const size_t count = callsOfAppend(damaged);
    for (const int error : errors) {
        for (size_t call = 1; call <= count; ++call) {
            SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(count) + ", error " +
                         std::to_string(error));
            startWith(damaged);
            const bool isSaved = appendWithFailing(call, error);
            EXPECT_EQ(bytesOf(url()), isSaved ? encode(eventsFrom(21, 22)) : damaged);
            size_t copies = bytesOf(url()) == damaged ? 1 : 0;
            for (const std::string& name : strangers()) {
                EXPECT_TRUE(name.starts_with(logName + ".damaged")) << name;
                EXPECT_EQ(bytesOf(std::filesystem::path(url()).replace_filename(name)), damaged);
                ++copies;
            }
            EXPECT_GE(copies, 1U);
        }
    }
}

TEST_F(TroubledLog, aWriteThatTakesLittleIsContinued) {
    startWith(old());
    {
        const WatchedCalls calls({.writesLittle = true});
        EXPECT_TRUE(append(eventsFrom(21, 22), url(), retentionCap).isSaved);
        EXPECT_GT(std::ranges::count(calls.names(), "write"), 100);
    }
    EXPECT_EQ(bytesOf(url()), encode(eventsFrom(1, 22)));
}

TEST_F(TroubledLog, aCallThatASignalInterruptsIsMadeAgain) {
    const size_t count = callsOfAppend(old());
    for (size_t call = 1; call <= count; ++call) {
        startWith(old());
        std::string name;
        bool isSaved = false;
        {
            const WatchedCalls calls({.failingCall = call, .error = EINTR});
            isSaved = append(eventsFrom(21, 22), url(), retentionCap).isSaved;
            name = calls.made()[call - 1].name;
        }
        const bool mayBeInterrupted = name == "read" || name == "write" || name == "flush" || name == "lock";
        if (mayBeInterrupted) { // the others never are on a local disk
            EXPECT_TRUE(isSaved) << name;
            EXPECT_EQ(bytesOf(url()), encode(eventsFrom(1, 22))) << name;
            EXPECT_EQ(strangers(), Names{}) << name;
        }
    }
}

TEST_F(TroubledLog, allIsOnTheDiskBeforeItTakesThePlaceOfTheOld) {
    startWith(old());
    const WatchedCalls calls;
    ASSERT_TRUE(append(eventsFrom(21, 22), url(), retentionCap).isSaved);
    const std::vector<SystemCall>& made = calls.made();
    const auto is = [](const char* name) {
        return [name](const SystemCall& call) { return call.name == name; };
    };
    const auto renamed = std::ranges::find_if(made, is("rename"));
    ASSERT_NE(renamed, made.end());
    const auto before = std::ranges::subrange(made.begin(), renamed);
    const auto after = std::ranges::subrange(renamed, made.end());
    const auto lastWrite = std::ranges::find_if(before | std::views::reverse, is("write")).base();
    ASSERT_NE(lastWrite, made.begin());
    EXPECT_TRUE(std::any_of(lastWrite, renamed, [](const SystemCall& call) {
        return call.name == "flush" && !call.isFolder;
    })) << "the file is flushed, and then renamed";
    EXPECT_TRUE(std::ranges::any_of(after, [](const SystemCall& call) {
        return call.name == "flush" && call.isFolder;
    })) << "and then its folder is flushed";
    EXPECT_TRUE(std::ranges::none_of(after, is("write")));
}

TEST_F(TroubledLog, isNeverOpenForOthersNotEvenWhileItIsWritten) {
    const ScopedUmask open(0);
    startWith(old());
    std::filesystem::permissions(url(), std::filesystem::perms(0666));
    const WatchedCalls calls;
    ASSERT_TRUE(append(eventsFrom(21, 22), url(), retentionCap).isSaved);
    EXPECT_TRUE(std::ranges::none_of(
        calls.made(), [](const SystemCall& call) { return call.name == "write" && call.isOpenForOthers; }));
}

TEST_F(TroubledLog, aFileThatIsReplacedSurvivesEveryFailure) {
    size_t count = 0;
    {
        const WatchedCalls calls;
        ASSERT_TRUE(AtomicFile::write(url(), "first"));
        count = calls.made().size();
    }
    for (const int error : errors) {
        for (size_t call = 1; call <= count; ++call) {
            startWith("before");
            bool isWritten = false;
            {
                const WatchedCalls calls({.failingCall = call, .error = error});
                isWritten = AtomicFile::write(url(), "after");
            }
            EXPECT_EQ(bytesOf(url()), isWritten ? "after" : "before") << call << " of " << count;
            EXPECT_EQ(strangers(), Names{}) << call << " of " << count;
        }
    }
}
