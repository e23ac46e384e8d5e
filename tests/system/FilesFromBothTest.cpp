// Folders, open files and listeners as the kernel tells them, held against what lsof makes of them. In a
// process namespace of its own.
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/scan/ToolFacts.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/OddProcesses.h"

#include <filesystem>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/un.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::string_literals;

TEST(FactsFromBoth, tellTheSameOfListeners) {
    haveANetworkOfOnesOwn();
    OddProcesses odd;
    const std::set<int> ports{5173, 8000, 8001, 8005};
    odd.addCopy("version 4", [] { listenOn(5173, AF_INET); });
    odd.addCopy("version 6", [] { listenOn(5173, AF_INET6); });
    odd.addCopy("both, and a port that is not asked for", [] {
        listenOn(8000, AF_INET);
        listenOn(8000, AF_INET6);
        listenOn(3000, AF_INET);
    });
    odd.addCopy("in another network", [] {
        ::unshare(CLONE_NEWNET);
        listenOn(8001, AF_INET);
    });
    listenOn(8005, AF_INET); // shared by all that follow, and by this process
    odd.addCopy("shares a socket", [] {});
    odd.addShell("shares a socket and became another program", "sh");
    const auto pids = odd.pids();

    ToolFacts tools({});
    const auto byTools = tools.listeners(ports, {}).byPID;
    const auto kernel = Platform::kernelFacts();
    const auto byKernel = kernel->listeners(ports, pids).byPID;
    for (const auto& [pid, what] : odd.all()) {
        const bool isInBoth = byTools.contains(pid) && byKernel.contains(pid);
        EXPECT_EQ(byTools.contains(pid), byKernel.contains(pid)) << what;
        EXPECT_TRUE(!isInBoth || byTools.at(pid) == byKernel.at(pid)) << what;
    }
    EXPECT_EQ(byTools.size(), 6U) << "the test is about something";
}

TEST(FactsFromBoth, findAListenerThatIsNoCandidate) {
    haveANetworkOfOnesOwn();
    OddProcesses odd;
    const int32_t candidate = odd.addCopy("a candidate", [] { listenOn(5173, AF_INET); });
    const int32_t other = odd.addCopy("another process", [] { listenOn(8000, AF_INET); });
    const auto byKernel = Platform::kernelFacts()->listeners({5173, 8000}, {&candidate, 1}).byPID;
    EXPECT_EQ(byKernel, (std::unordered_map<int32_t, std::set<int>>{{candidate, {5173}}, {other, {8000}}}));
}

TEST(FactsFromBoth, tellTheSameOfFoldersAndFiles) {
    OddProcesses odd;
    TemporaryFolder folder;
    for (const char* name : {"shop",
                             "L\xe4"
                             "den",
                             "line\nbreak", "tab\t", "back\\slash", "x (deleted)", "日本", "deleted"}) {
        const auto place = folder.makeFolder(name);
        const auto file = folder.write(std::string(name) + "/file", "x");
        odd.addShell("in "s + name, "sh", {}, [place, file] {
            static_cast<void>(::chdir(place.c_str()));
            for (const int flags : {O_RDONLY, O_RDWR}) {
                static_cast<void>(::open(file.c_str(), flags));
            }
            static_cast<void>(::open((file.string() + ".gone").c_str(), O_CREAT | O_RDWR, 0600));
            ::unlink((file.string() + ".gone").c_str());
            static_cast<void>(::open("/dev/null", O_RDWR));
            static_cast<void>(::open(place.c_str(), O_RDONLY | O_DIRECTORY));
        });
    }
    std::filesystem::remove_all(folder.path() / "deleted");
    const auto pids = odd.pids();
    ToolFacts tools({});
    const auto kernel = Platform::kernelFacts();
    EXPECT_EQ(kernel->folders(pids).byPID, tools.folders(pids).byPID);
    EXPECT_EQ(kernel->folders(pids).byPID.size(), pids.size());
    for (const auto& [pid, what] : odd.all()) {
        const auto filesOf = [pid](Platform::Facts& facts) {
            std::vector<std::string> names;
            for (const auto& file : OpenFilesResolver::filesAmong(facts.openDescriptors({&pid, 1}))) {
                if (!file.isSocket) {
                    names.push_back(file.name);
                }
            }
            return names;
        };
        EXPECT_EQ(filesOf(*kernel), filesOf(tools)) << what;
        EXPECT_GE(filesOf(*kernel).size(), 2U) << what << ": the file, and the one that is gone";
    }
}

TEST(FactsFromBoth, tellTheSameOfSockets) {
    haveANetworkOfOnesOwn();
    OddProcesses odd;
    TemporaryFolder folder;
    const std::string path = (folder.path() / "x.sock").string();
    odd.addCopy("with sockets of all sorts", [path] {
        listenOn(5173, AF_INET);
        listenOn(5174, AF_INET6);
        sockaddr_in there{};
        there.sin_family = AF_INET;
        there.sin_port = htons(5173);
        there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int connected = ::socket(AF_INET, SOCK_STREAM, 0);
        static_cast<void>(::connect(connected, reinterpret_cast<const sockaddr*>(&there), sizeof there));
        sockaddr_in here{};
        here.sin_family = AF_INET;
        here.sin_port = htons(41'234);
        const int datagrams = ::socket(AF_INET, SOCK_DGRAM, 0);
        static_cast<void>(::bind(datagrams, reinterpret_cast<const sockaddr*>(&here), sizeof here));
        sockaddr_un local{};
        local.sun_family = AF_UNIX;
        path.copy(local.sun_path, sizeof local.sun_path - 1);
        const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
        static_cast<void>(::bind(server, reinterpret_cast<const sockaddr*>(&local), sizeof local));
        static_cast<void>(::listen(server, 1));
        static_cast<void>(::socket(AF_UNIX, SOCK_DGRAM, 0));
        static_cast<void>(::socket(AF_INET, SOCK_STREAM, 0)); // in no table yet
        int pair[2];
        static_cast<void>(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair));
    });
    const auto pids = odd.pids();
    ToolFacts tools({});
    const auto kernel = Platform::kernelFacts();
    const auto socketsOf = [&](Platform::Facts& facts) {
        auto files = OpenFilesResolver::filesAmong(facts.openDescriptors(pids));
        std::erase_if(files, [](const OpenFile& file) { return !file.isSocket; });
        return files;
    };
    EXPECT_EQ(socketsOf(*kernel), socketsOf(tools));
    EXPECT_EQ(socketsOf(*kernel).size(), 7U) << "the test is about something";
}
