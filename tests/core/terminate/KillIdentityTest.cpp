// Whom a number means: start times, and names that are made to mislead a reader of the kernel's records.
#include "VintrelCore/terminate/KillCore.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;

namespace {

const KillResult confirmedEnd{.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};

/// At most 15 bytes each, so that nothing of them is cut off.
const std::array<std::string, 8> hostileNames{"a) S 1 (b c", "x\ny",           "\xff\xfe", "\n) Z 1 1",
                                              ")))",         "a) T 1 1 1 1 1", " ",        "1 (R) 2 3 4 5 6"};

double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

double seconds(const ProcStartTime& time) {
    return static_cast<double>(time.sec) + static_cast<double>(time.usec) / 1e6;
}

/// The kernel's name of a process, as it is.
std::string nameOf(int32_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm", std::ios::binary);
    std::string name{std::istreambuf_iterator<char>(file), {}};
    if (!name.empty()) {
        name.pop_back(); // the line's end
    }
    return name;
}

/// A child that takes on a name when it is told to.
class RenamedLater {
public:
    explicit RenamedLater(const std::string& name) {
        if (::pipe2(m_go.data(), O_CLOEXEC) != 0 || (m_pid = ::fork()) < 0) {
            throw std::runtime_error("no child");
        }
        char byte = 0;
        while (m_pid == 0) {
            if (::read(m_go[0], &byte, 1) == 1) {
                ::prctl(PR_SET_NAME, name.c_str());
            }
        }
    }

    RenamedLater(const RenamedLater&) = delete;
    RenamedLater& operator=(const RenamedLater&) = delete;

    ~RenamedLater() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        ::close(m_go[0]);
        ::close(m_go[1]);
    }

    [[nodiscard]] int32_t pid() const { return m_pid; }

    void rename() const { EXPECT_EQ(::write(m_go[1], "!", 1), 1); }

private:
    std::array<int, 2> m_go{-1, -1};
    pid_t m_pid = 0;
};

} // namespace

TEST(KillStartTime, isWhenTheProcessStarted) {
    const double before = now();
    const Subject subject(OnSIGTERM::dies);
    const auto start = KillCore::startTime(subject.pid());
    ASSERT_TRUE(start);
    EXPECT_NEAR(seconds(*start), before, 0.5);
    EXPECT_EQ(KillCore::startTime(subject.pid()), start) << "it never moves";
}

TEST(KillStartTime, isAbsentForNoProcess) {
    for (const int32_t nobody : {0, -1, 1 << 30}) {
        EXPECT_EQ(KillCore::startTime(nobody), std::nullopt) << nobody;
    }
}

TEST(HostileNames, doNotChangeAStart) {
    for (const std::string& name : hostileNames) {
        const double before = now();
        Subject subject(OnSIGTERM::leaves, [&] { ::prctl(PR_SET_NAME, name.c_str()); });
        ASSERT_EQ(nameOf(subject.pid()), name);
        const ProcessItem item = subject.item();
        ASSERT_TRUE(item.startTime) << name;
        EXPECT_NEAR(seconds(*item.startTime), before, 0.5) << name;
        EXPECT_EQ(KillCore::startTime(item.pid), item.startTime) << name;
    }
}

TEST(HostileNames, takenOnLaterLeaveAProcessTheSame) {
    for (const std::string& name : hostileNames) {
        const RenamedLater child(name);
        const ProcessItem item{.pid = child.pid(), .startTime = KillCore::startTime(child.pid())};
        ASSERT_TRUE(item.startTime);
        child.rename();
        ASSERT_TRUE(eventually([&] { return nameOf(item.pid) == name; })) << name;
        EXPECT_EQ(KillCore::startTime(item.pid), item.startTime) << name;
        EXPECT_EQ(endOne(item, shortWait(0.1)), confirmedEnd) << name;
    }
}

TEST(HostileNames, doNotHideAnotherStart) {
    for (const std::string& name : hostileNames) {
        Subject subject(OnSIGTERM::leaves, [&] { ::prctl(PR_SET_NAME, name.c_str()); });
        ProcessItem item = subject.item();
        ASSERT_TRUE(item.startTime);
        --item.startTime->sec;
        EXPECT_EQ(endOne(item, shortWait(0)).detail, KillDetail::notTheSame) << name;
        EXPECT_EQ(subject.noted(), std::vector<int>()) << name;
    }
}

TEST(HostileNames, doNotMakeAZombieOrAStoppedProcessOfALivingOne) {
    std::deque<Subject> subjects;
    std::vector<ProcessItem> items;
    for (const std::string& name : hostileNames) {
        items.push_back(
            subjects.emplace_back(OnSIGTERM::stays, [&] { ::prctl(PR_SET_NAME, name.c_str()); }).item());
    }
    EXPECT_EQ(KillCore::killAll(items, {}, shortWait(0.5)),
              std::vector<KillResult>(hostileNames.size(), confirmedEnd));
    for (Subject& subject : subjects) {
        EXPECT_EQ(subject.wait(), -SIGKILL);
        EXPECT_EQ(subject.noted(), std::vector{SIGTERM}); // and no SIGCONT
    }
}

TEST(HostileNames, ofProgramFilesAreAsHarmless) {
    const TemporaryFolder folder;
    for (const std::string& name : hostileNames) {
        const auto file = folder.path() / name;
        std::filesystem::copy_file(std::filesystem::canonical("/bin/sleep"), file);
        const double before = now();
        Process process({.argv = {file.string(), "60"}});
        ASSERT_TRUE(eventually([&] { return nameOf(process.pid()) == name; })) << name;
        const auto start = KillCore::startTime(process.pid());
        ASSERT_TRUE(start) << name;
        EXPECT_NEAR(seconds(*start), before, 0.5) << name;
        EXPECT_EQ(endOne({.pid = process.pid(), .startTime = start}, shortWait(0.1)), confirmedEnd) << name;
        EXPECT_EQ(process.wait(), -SIGTERM) << name;
    }
}
