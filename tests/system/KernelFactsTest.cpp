// What the kernel's facts hold where processes come and go, and where little may be seen. In a process
// namespace of its own.
#include "VintrelCore/platform/linux/ListeningSockets.h"
#include "VintrelCore/platform/linux/TerminalNames.h"
#include "tests/core/context/ListeningSocket.h"
#include "tests/core/context/ReplacedTool.h"
#include "tests/core/platform/Numbers.h"
#include "tests/support/Process.h"
#include "tests/system/BothTables.h"
#include "tests/system/OddProcesses.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <linux/netlink.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

constexpr uid_t otherAccount = 4'242;

using Sockets = std::vector<SocketTables::ListeningSocket>;

bool contains(const std::optional<Sockets>& sockets, int port) {
    return sockets &&
           std::ranges::find(*sockets, port, &SocketTables::ListeningSocket::port) != sockets->end();
}

Sockets sorted(Sockets sockets) {
    std::ranges::sort(sockets, {}, &SocketTables::ListeningSocket::inode);
    return sockets;
}

/// Where /proc is mounted anew, strangers' processes are hidden.
void hideStrangers(const char* how) {
    haveMountsOfOnesOwn();
    mustWork(::mount("proc", "/proc", "proc", 0, how) == 0, how);
    mustWork(::setgid(otherAccount) == 0 && ::setuid(otherAccount) == 0, "account");
}

} // namespace

TEST(KernelFacts, listenersAreTheSameByDumpAndByTable) {
    const ListeningSocket one;
    const ListeningSocket another;
    const auto dumped = Platform::ListeningSockets::dumped();
    const auto tabled = Platform::ListeningSockets::tabled();
    ASSERT_TRUE(contains(dumped, one.port()) && contains(dumped, another.port()));
    EXPECT_EQ(sorted(*dumped), sorted(tabled.value_or(Sockets())));
}

TEST(KernelFacts, aDumpThatFailedIsRefused) {
    using Platform::ListeningSockets::Progress;
    const auto progressOf = [](uint16_t type, uint16_t flags, int payload) {
        struct {
            nlmsghdr header{};
            int payload = 0;
        } message;
        message.header.nlmsg_len = NLMSG_LENGTH(sizeof payload);
        message.header.nlmsg_type = type;
        message.header.nlmsg_flags = flags;
        message.payload = payload;
        Sockets sockets;
        return Platform::ListeningSockets::take({reinterpret_cast<const char*>(&message), sizeof message},
                                                sockets);
    };
    EXPECT_EQ(progressOf(NLMSG_DONE, 0, 0), Progress::done);
    EXPECT_EQ(progressOf(NLMSG_DONE, 0, -ENOENT), Progress::refused) << "no such protocol";
    EXPECT_EQ(progressOf(NLMSG_DONE, NLM_F_DUMP_INTR, 0), Progress::refused) << "sockets came and went";
    EXPECT_EQ(progressOf(NLMSG_ERROR, 0, -EPERM), Progress::refused);
    EXPECT_EQ(progressOf(NLMSG_NOOP, 0, 0), Progress::more);
}

TEST(KernelFacts, aVariableThatMayHaveBeenCutOffIsUnknown) {
    const std::string large(100'000, 'x');
    for (const bool isLarge : {false, true}) {
        const std::string filling = isLarge ? large : "";
        const Process process(
            {.argv = {"sleep", "30"},
             .environment = {
                 {"A1", filling}, {"A2", filling}, {"A3", filling}, {"npm_lifecycle_event", "pretest"}}});
        const auto value = [&] {
            return Platform::kernelFacts()->environmentValue(process.pid(), "npm_lifecycle_event");
        };
        if (isLarge) {
            ASSERT_TRUE(eventually([&] { return !value(); }));
            EXPECT_EQ(value(), std::nullopt);
        } else {
            EXPECT_TRUE(eventually([&] { return value() == "pretest"; }));
        }
    }
}

TEST(KernelFacts, aTerminalThatCannotBeFoundIsOneAllTheSame) {
    const auto deviceOf = [](unsigned kind, unsigned number) {
        return (number & 0xFF) | kind << 8 | (number & 0xFFF00) << 12;
    };
    Platform::TerminalNames names;
    const FileDescriptor none;
    EXPECT_EQ(names.nameOf(0, none), "?");
    EXPECT_EQ(names.nameOf(deviceOf(136, 4'242), none), "pts/4242");
    EXPECT_EQ(names.nameOf(deviceOf(77, 3), none), "77:3");
}

TEST(KernelFacts, tellNothingOfAProcessThatGotANumberSince) {
    haveANetworkOfOnesOwn();
    std::optional<OddProcesses> odd(std::in_place);
    const int32_t pid = odd->addCopy("the one of the table", [] { listenOn(5173, AF_INET); });
    const auto unasked = Platform::kernelFacts(); // it has opened nothing of the process before that ends
    const auto facts = Platform::kernelFacts();
    ASSERT_TRUE(facts->arguments(pid) && facts->executable(pid) && facts->residentKB(pid));
    ASSERT_EQ(facts->folders({&pid, 1}).byPID.size(), 1U);
    ASSERT_FALSE(facts->openDescriptors({&pid, 1}).empty());
    ASSERT_TRUE(facts->kernelView().factsOf(pid));
    odd.reset();
    ::usleep(20'000); // starts are counted in hundredths of a second
    const auto stranger = WithNumber::start(pid);
    ASSERT_TRUE(stranger);
    listenOn(5173, AF_INET);

    for (Platform::Facts* const each : {facts.get(), unasked.get()}) {
        EXPECT_FALSE(each->arguments(pid) || each->executable(pid) || each->residentKB(pid));
        EXPECT_TRUE(each->folders({&pid, 1}).byPID.empty());
        EXPECT_TRUE(each->openDescriptors({&pid, 1}).empty());
        EXPECT_FALSE(each->kernelView().factsOf(pid));
        EXPECT_FALSE(each->listeners({5173}, {&pid, 1}).byPID.contains(pid));
    }
}

TEST(KernelFacts, tellNothingOfWhatIsNoProcess) {
    const auto facts = Platform::kernelFacts();
    for (const int32_t pid : {0, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_FALSE(facts->arguments(pid) || facts->executable(pid) || facts->residentKB(pid)) << pid;
        EXPECT_TRUE(facts->folders({&pid, 1}).byPID.empty() && facts->openDescriptors({&pid, 1}).empty())
            << pid;
    }
}

TEST(KernelFactsDeathTest, areThoseOfTheToolsForAnAccountThatMaySeeLittle) {
    for (const char* const how : {"", "hidepid=1", "hidepid=2"}) {
        const auto compare = [how] {
            OddProcesses strange;
            strange.addShell("a stranger's", "sh", {"Läden"});
            hideStrangers(how);
            OddProcesses odd;
            odd.addShell("one's own", "sh", {"Läden"});
            odd.addZombie("one's own zombie");
            compareAll(odd);
            const auto kernel = byPID(Platform::kernelFacts()->processes());
            const auto tools = byPID(ToolFacts({}).processes());
            const int32_t stranger = strange.pids().front();
            EXPECT_EQ(kernel.contains(stranger), tools.contains(stranger));
            EXPECT_EQ(kernel.contains(stranger), std::string_view(how).empty());
            const auto facts = Platform::kernelFacts();
            EXPECT_TRUE(facts->folders({&stranger, 1}).byPID.empty());
            EXPECT_TRUE(facts->openDescriptors({&stranger, 1}).empty());
            exitWithVerdict();
        };
        EXPECT_EXIT(compare(), ::testing::ExitedWithCode(0), "") << how;
    }
}

TEST(KernelFactsDeathTest, sayThatTheyAreNoneWithoutTheKernelsFolder) {
    const auto look = [] {
        haveMountsOfOnesOwn();
        mustWork(::umount2("/proc", MNT_DETACH) == 0, "no /proc");
        for (; ::umount2("/proc", MNT_DETACH) == 0;) { // there may be others below it
        }
        const auto facts = Platform::kernelFacts();
        EXPECT_TRUE(facts->processes().empty());
        EXPECT_EQ(facts->shortfall().fault, Shell::Fault::notLaunched);
        EXPECT_EQ(facts->listeners({5173}, {}).shortfall.fault, Shell::Fault::none) << "the kernel was asked";
        EXPECT_TRUE(facts->listeners({5173}, {}).byPID.empty());
        exitWithVerdict();
    };
    EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
}
