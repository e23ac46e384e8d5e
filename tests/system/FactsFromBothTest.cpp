// What the kernel tells, held against what ps and lsof make of it, over processes as odd as they come. In a
// process namespace of its own.
#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ToolFacts.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/OddProcesses.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::string_literals;
using Platform::ProcessFacts;

namespace {

constexpr uid_t otherAccount = 4'242;

std::map<int32_t, ProcessFacts> byPID(std::span<const ProcessFacts> processes) {
    std::map<int32_t, ProcessFacts> map;
    for (const ProcessFacts& process : processes) {
        map.emplace(process.pid, process);
    }
    return map;
}

double number(const std::string& text) {
    return Text::parseDecimal(text).value_or(-1);
}

/// The table three times: by the tools, and by the kernel before and after.
class Tables {
public:
    Tables()
        : m_before(byPID(Platform::kernelFacts()->processes())), m_tools(byPID(ToolFacts({}).processes())) {
        m_kernel = Platform::kernelFacts();
        m_after = byPID(m_kernel->processes());
    }

    /// Every field of one process in both.
    void compare(int32_t pid, const std::string& what) {
        SCOPED_TRACE(what + ", " + std::to_string(pid));
        const bool isShown = m_tools.contains(pid);
        const bool hasCommand = m_after.contains(pid) && !m_after.at(pid).command.empty();
        ASSERT_EQ(isShown, hasCommand) << "ps leaves out whom it has nothing to show of";
        if (!isShown) {
            return;
        }
        const ProcessFacts& tools = m_tools.at(pid);
        const ProcessFacts& kernel = m_after.at(pid);
        EXPECT_EQ(kernel.ppid, tools.ppid);
        EXPECT_EQ(kernel.tty, tools.tty);
        EXPECT_EQ(kernel.command, tools.command);
        EXPECT_EQ(kernel.name, tools.name);
        EXPECT_EQ(kernel.isZombie, tools.isZombie);
        EXPECT_EQ(kernel.startTime, tools.startTime);
        compareWhatMoves(m_before.at(pid), tools, kernel);
        if (!kernel.isZombie) {
            EXPECT_EQ(m_kernel->residentKB(pid), Text::parseInteger<int64_t>(tools.rss));
        }
    }

private:
    static void compareWhatMoves(const ProcessFacts& before, const ProcessFacts& tools,
                                 const ProcessFacts& after) {
        EXPECT_LE(ScanCore::parseElapsed(before.elapsed), ScanCore::parseElapsed(tools.elapsed));
        EXPECT_GE(ScanCore::parseElapsed(after.elapsed), ScanCore::parseElapsed(tools.elapsed));
        EXPECT_EQ(before.elapsed.size(), tools.elapsed.size()) << tools.elapsed << " and " << before.elapsed;
        EXPECT_GE(number(before.cpuPercent), number(tools.cpuPercent)) << "an idle one's share falls";
        EXPECT_LE(number(after.cpuPercent), number(tools.cpuPercent));
    }

    std::map<int32_t, ProcessFacts> m_before;
    std::map<int32_t, ProcessFacts> m_tools;
    std::unique_ptr<Platform::Facts> m_kernel;
    std::map<int32_t, ProcessFacts> m_after;
};

void compareAll(const OddProcesses& odd) {
    Tables tables;
    for (const auto& [pid, what] : odd.all()) {
        tables.compare(pid, what);
    }
}

/// Texts in every encoding and none.
std::vector<std::string> oddTexts() {
    std::vector<std::string> texts{"plain",
                                   "two words",
                                   " blanks around ",
                                   "  ",
                                   "tab\there",
                                   "line\nbreak",
                                   "\n",
                                   "\x1b[31mred\x1b[0m",
                                   "\x7f",
                                   "Läden",
                                   "日本語",
                                   "e\xcc\x81",
                                   "\U0001F600",
                                   "\U0001FAE8",
                                   "\U000E0041",
                                   "\xe2\x80\xae"
                                   "right to left",
                                   "\xe2\x80\x8b",
                                   "\xef\xbb\xbf",
                                   "\xe2\x80\xa8",
                                   "\xc2\xa0",
                                   "\xc2\xad",
                                   "\xc2\x80\xc2\x9f",
                                   "\xef\xbf\xbf",
                                   "\xee\x80\x80",
                                   "\xed\xa0\x80 x",
                                   "\xf4\x8f\xbf\xbd",
                                   "\xf4\x90\x80\x80 x",
                                   "\xe2\x82",
                                   "\xf0\x9f\x98",
                                   "\xc3",
                                   "a) S 1 (b",
                                   "100%",
                                   "<defunct>",
                                   "[brackets]"};
    for (int byte = 0x80; byte <= 0xFF; ++byte) { // each byte in Latin-1's place
        texts.push_back("L"s + static_cast<char>(byte) + "den \xc3\xa4 und " + static_cast<char>(byte));
    }
    return texts;
}

} // namespace

TEST(FactsFromBoth, tellTheSameOfArgumentsInEveryEncoding) {
    OddProcesses odd;
    for (const std::string& text : oddTexts()) {
        odd.addShell("argument " + text, "sh", {"before", text, "\xc3\xa4 behind"});
        odd.addShell("last " + text, "sh", {text});
        odd.addShell("name " + text, "x" + text);
    }
    odd.addShell("empty arguments", "sh", {"", "", "x", "", ""});
    compareAll(odd);
}

TEST(FactsFromBoth, tellTheSameOfLongArguments) {
    OddProcesses odd;
    odd.addShell("just below the limit", "sh", {std::string(65'000, 'x'), std::string(65'900, 'y')});
    odd.addShell("of several bytes", "sh", std::vector<std::string>(300, "Läden 日本"));
    compareAll(odd);
}

TEST(FactsFromBoth, tellTheBeginningOfArgumentsBeyondTheLimit) {
    OddProcesses odd;
    const int32_t pid =
        odd.addShell("beyond the limit", "sh", {std::string(70'000, 'x'), std::string(70'000, 'y')});
    const auto kernel = byPID(Platform::kernelFacts()->processes());
    const auto tools = byPID(ToolFacts({}).processes());
    // ps counts its other columns, too.
    const std::string& shorter = tools.at(pid).command;
    EXPECT_GT(shorter.size(), 131'000U);
    EXPECT_EQ(kernel.at(pid).command.substr(0, shorter.size()), shorter);
    EXPECT_EQ(kernel.at(pid).command.size(), size_t{128} << 10);
    EXPECT_EQ(Platform::kernelFacts()->arguments(pid), std::nullopt);
}

TEST(FactsFromBoth, tellTheSameOfTitles) {
    OddProcesses odd;
    for (const std::string& title : {"node (vitest)"s, "a title"s, ""s, " "s, "blank behind "s, "two\nlines"s,
                                     "L\xe4"
                                     "den"s}) {
        odd.addCopy("title " + title, [&title] { writeTitle(title); });
    }
    odd.addCopy("a title over all there was", [] { writeTitle(std::string(lengthOfArguments(), 'x')); });
    odd.addCopy("without arguments", dropArguments);
    odd.addShell("an empty name", "");
    for (const char* name :
         {"two\nlines", "a) S 1 (b", "((",
          "L\xe4"
          "den",
          "tab\t", " ", "", "sixteen bytes ab", "\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"}) {
        odd.addCopy("short name "s + name, [name] { ::prctl(PR_SET_NAME, name); });
        odd.addCopy("short name without arguments "s + name, [name] {
            ::prctl(PR_SET_NAME, name);
            dropArguments();
        });
        odd.addZombie("zombie "s + name, [name] { ::prctl(PR_SET_NAME, name); });
    }
    odd.addWithoutFirstThread("without its first thread");
    compareAll(odd);
}

TEST(FactsFromBoth, tellTheSameOfTerminals) {
    OddProcesses odd;
    for (int count = 0; count < 3; ++count) {
        odd.addCopy("with a terminal", takeTerminal);
    }
    odd.addCopy("a session without a terminal", [] { ::setsid(); });
    compareAll(odd);
}

TEST(FactsFromBoth, tellTheSameOfBusyProcesses) {
    OddProcesses odd;
    for (const double busy : {0.05, 0.2, 0.7}) {
        odd.addCopy("busy for " + std::to_string(busy) + " s", [busy] {
            while (static_cast<double>(::clock()) / CLOCKS_PER_SEC < busy) {
            }
        });
    }
    compareAll(odd);
}

TEST(FactsFromBoth, tellTheSameOfOtherAccounts) {
    OddProcesses odd;
    const auto becomeOther = [] { static_cast<void>(::setuid(otherAccount)); };
    odd.addShell("another account's", "sh", {"Läden", "\xff"}, becomeOther);
    odd.addZombie("another account's zombie", becomeOther);
    odd.addCopy("another account's, secretive", [&] {
        becomeOther();
        ::prctl(PR_SET_DUMPABLE, 0);
    });
    odd.addShell("another account's of many arguments", "sh",
                 std::vector<std::string>(40, std::string(100, 'x')), becomeOther);
    compareAll(odd);
}

TEST(FactsFromBoth, tellOnlyTheBeginningOfAnotherAccountsLongArguments) {
    OddProcesses odd;
    const int32_t pid = odd.addShell("another account's", "sh", {std::string(10'000, 'x')},
                                     [] { static_cast<void>(::setuid(otherAccount)); });
    const auto tools = byPID(ToolFacts({}).processes());
    const auto facts = Platform::kernelFacts();
    const auto kernel = byPID(facts->processes());
    EXPECT_EQ(kernel.at(pid).command, tools.at(pid).command.substr(0, 4'096));
    EXPECT_EQ(facts->arguments(pid), std::nullopt);
}

TEST(FactsFromBoth, tellTheSameOfListeners) {
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
