// What the kernel tells, held against what ps makes of it, over processes as odd as they come. In a
// process namespace of its own.
#include "VintrelCore/scan/SnapshotRecord.h"
#include "tests/support/Stray.h"
#include "tests/system/BothTables.h"
#include "tests/system/OddProcesses.h"

#include <ctime>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::string_literals;

namespace {

constexpr uid_t otherAccount = 4'242;

/// What the rules make of facts, in words. Without this process's own children: tools are among them.
std::map<int32_t, std::string> recordsOf(Platform::Facts& facts) {
    const auto list = [](const std::vector<FoldedShell>& shells) {
        std::string text;
        for (const FoldedShell& shell : shells) {
            text += std::to_string(shell.pid) + " " + shell.command + ";";
        }
        return text;
    };
    std::map<int32_t, std::string> records;
    for (const SnapshotRecord& record : snapshotRecords(facts.processes(), facts.kernelView())) {
        if (record.ppid == ::getpid()) {
            continue;
        }
        records.emplace(record.pid, record.command + " of " + std::to_string(record.ppid) + " managed by '" +
                                        record.managedBy + "' runner " + std::to_string(record.isRunner) +
                                        " " + list(record.foldedShells) +
                                        testing::PrintToString(record.onlyChildren) +
                                        list(record.shellsAbove) + std::to_string(record.onlyChildOf));
    }
    return records;
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

TEST(FactsFromBoth, leadToTheSameRecords) {
    std::list<Stray> strays;
    strays.emplace_back(StrayOptions{.argv = {"vitest", "--watch"}});
    strays.emplace_back(StrayOptions{.argv = {"vitest"}, .leader = true});
    strays.emplace_back(StrayOptions{.argv = {"vitest"}, .terminal = "open"});
    strays.emplace_back(StrayOptions{.argv = {"vitest"}, .adopter = true});
    strays.emplace_back(StrayOptions{.argv = {"vitest"}, .zombie = true});
    strays.emplace_back(
        StrayOptions{.argv = {"npm run dev", "--below", "sh", "-c", "vite", "--below", "node", "vite"}});
    strays.emplace_back(
        StrayOptions{.argv = {"sh", "-c", "vite", "--below", "node", "vite"}, .adopter = true});

    ToolFacts tools({});
    const auto byTools = recordsOf(tools);
    const auto kernel = Platform::kernelFacts();
    const auto byKernel = recordsOf(*kernel);
    for (const Stray& stray : strays) {
        EXPECT_EQ(byKernel.contains(stray.pid()), byTools.contains(stray.pid())) << stray.pid();
    }
    size_t compared = 0;
    for (const auto& [pid, record] : byTools) {
        if (const auto other = byKernel.find(pid); other != byKernel.end()) { // else it has ended since
            EXPECT_EQ(other->second, record) << pid;
            ++compared;
        }
    }
    EXPECT_GE(compared, strays.size());
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
