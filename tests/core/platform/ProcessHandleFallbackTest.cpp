// Handles where the system refuses descriptors for processes: start times are all they have.
#include "VintrelCore/platform/ProcessHandle.h"
#include "tests/core/platform/Numbers.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"
#include "tests/support/WithoutProcessDescriptors.h"

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;
using Platform::ProcessHandle;

namespace {

/// Runs `work` in a copy of this program that is refused descriptors for processes, or signals through them,
/// with each of the errors that systems refuse them with.
void withoutDescriptors(const std::string& expected, const std::function<std::string()>& work) {
    for (const long call : {SYS_pidfd_open, SYS_pidfd_send_signal}) {
        for (const int error : {EPERM, ENOSYS}) {
            const std::string told = inChild([&]() -> std::string {
                return refuseProcessDescriptors(error, call) ? work() : "could not be refused descriptors";
            });
            EXPECT_EQ(told, expected) << "call " << call << " refused with " << error;
        }
    }
}

} // namespace

TEST(ProcessHandleWithoutDescriptors, sendsAndSeesTheEnd) {
    withoutDescriptors("delivered, runs, delivered, ended, gone", [] {
        Subject subject(OnSIGTERM::leaves);
        ProcessHandle handle(subject.pid());
        std::string told = handle.record() ? "" : "unknown, ";
        told += word(handle.send(SIGUSR1));
        told += handle.hasEnded() ? ", ended, " : ", runs, ";
        told += word(handle.send(SIGTERM));
        eventually([&] { return !subject.isAlive(); });
        told += handle.hasEnded() ? ", ended, " : ", runs, ";
        told += subject.wait() == 0 ? "" : "forced, ";
        return told + word(handle.send(SIGTERM));
    });
}

TEST(ProcessHandleWithoutDescriptors, doesNotReachAnotherProcessOfItsNumber) {
    VINTREL_NEEDS_ROOT();
    withoutDescriptors("gone, ended, untouched", []() -> std::string {
        Subject subject(OnSIGTERM::dies);
        ProcessHandle handle(subject.pid());
        static_cast<void>(handle.record());
        std::this_thread::sleep_for(std::chrono::milliseconds(30)); // starts are counted in ticks of 10 ms
        subject.vanish();
        const auto stranger = WithNumber::start(subject.pid());
        if (!stranger) {
            return "the number was taken at once";
        }
        std::string told = word(handle.send(SIGTERM));
        told += handle.hasEnded() ? ", ended" : ", runs";
        told += stranger->isUntouched() ? ", untouched" : ", signalled";
        return told;
    });
}

TEST(ProcessHandleWithoutDescriptors, ofNobodyDoesNotReachALaterProcessOfItsNumber) {
    VINTREL_NEEDS_ROOT();
    withoutDescriptors("gone, untouched", []() -> std::string {
        Subject subject(OnSIGTERM::dies);
        subject.vanish();
        const ProcessHandle handle(subject.pid());
        const auto stranger = WithNumber::start(subject.pid());
        if (!stranger) {
            return "the number was taken at once";
        }
        const std::string told = word(handle.send(SIGTERM));
        return told + (stranger->isUntouched() ? ", untouched" : ", signalled");
    });
}

TEST(ProcessHandleWithoutDescriptors, ofAThreadReachesNobody) {
    withoutDescriptors("gone, untouched", [] {
        Subject subject(OnSIGTERM::leaves, startASleepingThread);
        ProcessHandle handle(secondThreadOf(subject.pid()));
        static_cast<void>(handle.record());
        const std::string told = word(handle.send(SIGTERM));
        return told + (subject.isAlive() && subject.noted().empty() ? ", untouched" : ", signalled");
    });
}
