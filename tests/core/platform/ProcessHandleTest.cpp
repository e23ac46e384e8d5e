// A handle means one process, and no other one that gets its number.
#include "VintrelCore/platform/ProcessHandle.h"

#include "VintrelCore/platform/Platform.h"
#include "tests/core/platform/Numbers.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;
using Platform::Delivery;
using Platform::ProcessHandle;

TEST(ProcessHandle, knowsItsNumber) {
    const Subject subject(OnSIGTERM::dies);
    EXPECT_EQ(ProcessHandle(subject.pid()).pid(), subject.pid());
}

TEST(ProcessHandle, readsTheRecord) {
    const Subject subject(OnSIGTERM::dies);
    ProcessHandle handle(subject.pid());
    const auto record = handle.record();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->startTime, Platform::startTime(subject.pid()));
    EXPECT_FALSE(record->isStopped);
    EXPECT_FALSE(record->isZombie);
    EXPECT_FALSE(handle.hasEnded());
}

TEST(ProcessHandle, readsTheRecordAnewEachTime) {
    const Subject subject(OnSIGTERM::stays);
    ProcessHandle handle(subject.pid());
    const auto running = handle.record();
    ASSERT_TRUE(running);
    subject.stop();
    auto expected = *running;
    expected.isStopped = true;
    EXPECT_EQ(handle.record(), expected);
    EXPECT_FALSE(handle.hasEnded());
    EXPECT_EQ(handle.send(SIGCONT), Delivery::delivered);
    EXPECT_TRUE(eventually([&] { return handle.record() == running; }));
}

TEST(ProcessHandle, takesAZombieForEnded) {
    const Subject subject(OnSIGTERM::stays);
    ProcessHandle handle(subject.pid());
    const auto alive = handle.record();
    ASSERT_TRUE(alive);
    subject.becomeZombie();
    const auto record = handle.record();
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->isZombie);
    EXPECT_FALSE(record->isStopped);
    EXPECT_EQ(record->startTime, alive->startTime);
    EXPECT_TRUE(handle.hasEnded());
    EXPECT_TRUE(ProcessHandle(subject.pid()).hasEnded());
}

TEST(ProcessHandle, sendsASignalOnce) {
    Subject subject(OnSIGTERM::stays);
    ProcessHandle handle(subject.pid());
    ASSERT_TRUE(handle.record());
    EXPECT_EQ(handle.send(SIGUSR1), Delivery::delivered);
    EXPECT_EQ(subject.noted(), std::vector{SIGUSR1});
    EXPECT_EQ(handle.send(SIGTERM), Delivery::delivered);
    EXPECT_EQ(subject.noted(), (std::vector{SIGUSR1, SIGTERM}));
    EXPECT_EQ(handle.send(SIGKILL), Delivery::delivered);
    EXPECT_EQ(subject.wait(), -SIGKILL);
    EXPECT_EQ(handle.send(SIGTERM), Delivery::gone);
    EXPECT_TRUE(handle.hasEnded());
    EXPECT_EQ(handle.record(), std::nullopt);
}

TEST(ProcessHandle, ofNobodyReachesNobody) {
    Subject subject(OnSIGTERM::dies);
    subject.vanish();
    ProcessHandle handle(subject.pid());
    EXPECT_EQ(handle.record(), std::nullopt);
    EXPECT_TRUE(handle.hasEnded());
    EXPECT_EQ(handle.send(SIGURG), Delivery::gone);
}

TEST(ProcessHandle, doesNotReachALaterProcessOfItsNumber) {
    VINTREL_NEEDS_ROOT();
    Subject subject(OnSIGTERM::dies);
    ProcessHandle handle(subject.pid());
    ASSERT_TRUE(handle.record());
    subject.vanish();
    const auto stranger = WithNumber::start(subject.pid());
    ASSERT_TRUE(stranger) << "the number was taken at once";
    EXPECT_EQ(handle.send(SIGTERM), Delivery::gone);
    EXPECT_EQ(handle.send(SIGKILL), Delivery::gone);
    EXPECT_TRUE(handle.hasEnded());
    EXPECT_TRUE(stranger->isUntouched());
}

TEST(ProcessHandle, ofNobodyDoesNotReachALaterProcessOfItsNumber) {
    VINTREL_NEEDS_ROOT();
    Subject subject(OnSIGTERM::dies);
    subject.vanish();
    const ProcessHandle handle(subject.pid());
    const auto stranger = WithNumber::start(subject.pid());
    ASSERT_TRUE(stranger) << "the number was taken at once";
    EXPECT_EQ(handle.send(SIGTERM), Delivery::gone);
    EXPECT_TRUE(stranger->isUntouched());
}

TEST(ProcessHandle, saysWhenASignalIsNotPermitted) {
    VINTREL_NEEDS_ROOT();
    Subject subject(OnSIGTERM::leaves);
    const std::string told = asStranger([&] {
        ProcessHandle handle(subject.pid());
        std::string text = handle.record() ? "known, " : "unknown, ";
        text += word(handle.send(SIGTERM));
        text += handle.hasEnded() ? ", ended" : ", runs";
        return text;
    });
    EXPECT_EQ(told, "known, not permitted, runs");
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

TEST(ProcessHandle, ofAThreadReachesNobody) {
    Subject subject(OnSIGTERM::leaves, startASleepingThread);
    const pid_t thread = secondThreadOf(subject.pid());
    ASSERT_GT(thread, 0);
    ProcessHandle unread(thread);
    EXPECT_EQ(unread.send(SIGTERM), Delivery::gone);
    ProcessHandle read(thread);
    static_cast<void>(read.record());
    EXPECT_EQ(read.send(SIGTERM), Delivery::gone);
    EXPECT_TRUE(subject.isAlive());
    EXPECT_EQ(subject.noted(), std::vector<int>());
}

TEST(ProcessHandle, anItemWithTheNumberOfAThreadEndsNobody) {
    Subject subject(OnSIGTERM::leaves, startASleepingThread);
    const pid_t thread = secondThreadOf(subject.pid());
    ASSERT_GT(thread, 0);
    static_cast<void>(endOne({.pid = thread}, shortWait(0)));
    static_cast<void>(endOne({.pid = thread, .startTime = Platform::startTime(thread)}, shortWait(0)));
    EXPECT_TRUE(subject.isAlive());
    EXPECT_EQ(subject.noted(), std::vector<int>());
}
