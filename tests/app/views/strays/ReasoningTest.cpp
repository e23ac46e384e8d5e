// What an expanded row says.
#include "Vintrel/views/Reasoning.h"

#include "tests/app/support/EngineTest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::OpenFileList;
using VintrelCore::ReviewReason;
using Texts = std::vector<std::string>;

class ReasoningTest : public EngineTest {
protected:
    [[nodiscard]] Reasoning reasoning(int32_t pid) {
        for (const ProcessItem& item : engine().items()) {
            if (item.pid == pid) {
                return Reasoning::of(item, engine());
            }
        }
        ADD_FAILURE() << "no item " << pid;
        return {};
    }

    /// An item with a terminal and a parent that nobody knows: there is nothing to say of it.
    static ProcessItem plainItem(int32_t pid) {
        ProcessItem item = reviewItem(pid);
        item.tty = "pts/3";
        return item;
    }

    static OpenFileList files(size_t count, size_t overflow = 0) {
        OpenFileList list{.files = {}, .overflow = overflow};
        for (size_t number = 1; number <= count; ++number) {
            list.files.push_back({.name = "~/work/file" + std::to_string(number)});
        }
        return list;
    }

    static constexpr const char* idle = "idle dev server — sustained low CPU across recent scans";
};

TEST_F(ReasoningTest, hasNoTagsWhereNoneApplies) {
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).tags, Texts{});
    EXPECT_EQ(reasoning(5).facts, Texts{"tty pts/3"});
    EXPECT_EQ(reasoning(5).ancestry, "");
    EXPECT_EQ(reasoning(5).openFiles, std::nullopt);
}

TEST_F(ReasoningTest, tellsAnOrphan) {
    ProcessItem item = plainItem(5);
    item.ppid = 1;
    scan({item});
    EXPECT_EQ(reasoning(5).tags, Texts{"orphan"});
}

TEST_F(ReasoningTest, somebodysChildOfNoParentWorthNamingIsNoOrphan) {
    ProcessItem item = plainItem(5);
    item.ppid = 0;
    world->found.processTable = {{1, {.ppid = 0, .label = "systemd"}}};
    scan({item});
    EXPECT_EQ(reasoning(5).tags, Texts{});
    EXPECT_EQ(reasoning(5).facts, Texts{"tty pts/3"});
}

TEST_F(ReasoningTest, tellsWhoHasNoTerminal) {
    for (const std::string marker : {"?", "??", "-"}) {
        ProcessItem item = plainItem(5);
        item.tty = marker;
        item.cpuPercent = 5; // not idle
        scan({item});
        EXPECT_EQ(reasoning(5).tags, Texts{"no tty"}) << marker;
        EXPECT_EQ(reasoning(5).facts, Texts{}) << marker;
    }
}

TEST_F(ReasoningTest, tellsAnIdleServerAfterThreeScans) {
    ProcessItem item = plainItem(5);
    item.cpuPercent = 0.4;
    scan({item});
    EXPECT_EQ(reasoning(5).tags, Texts{});
    scan();
    EXPECT_EQ(reasoning(5).tags, Texts{});
    scan();
    EXPECT_EQ(reasoning(5).tags, Texts{idle});
}

TEST_F(ReasoningTest, oneBusyScanIsEnoughNotToBeIdle) {
    ProcessItem item = plainItem(5);
    item.cpuPercent = 0.4;
    scan({item});
    scan();
    item.cpuPercent = 1.0;
    scan({item});
    EXPECT_EQ(reasoning(5).tags, Texts{});
}

TEST_F(ReasoningTest, whoTookOverANumberIsNotIdle) {
    ProcessItem item = plainItem(5);
    item.cpuPercent = 0.4;
    scan({item});
    scan();
    item.startTime->sec += 10;
    scan({item});
    EXPECT_EQ(reasoning(5).tags, Texts{});
}

TEST_F(ReasoningTest, tellsTheContainerItBelongsTo) {
    world->owners.owners = {{5, "shop-db"}, {6, "other"}};
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).tags, Texts{"owned by container shop-db"});
}

TEST_F(ReasoningTest, hasItsTagsInOneOrder) {
    ProcessItem item = safeItem(5);
    item.cpuPercent = 0;
    world->owners.owners = {{5, "shop-db"}};
    scan({item});
    scan();
    scan();
    EXPECT_EQ(reasoning(5).tags, (Texts{"orphan", "no tty", idle, "owned by container shop-db"}));
}

TEST_F(ReasoningTest, namesTheParent) {
    world->found.processTable = {{77, {.ppid = 0, .label = "zsh"}}};
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).facts, (Texts{"child of zsh", "tty pts/3"}));
    EXPECT_EQ(reasoning(5).ancestry, "") << "there is nobody but the parent";
}

TEST_F(ReasoningTest, namesAllParentsNearestFirst) {
    world->found.processTable = {{77, {.ppid = 60, .label = "zsh"}},
                                 {60, {.ppid = 1, .label = "terminal"}},
                                 {1, {.ppid = 0, .label = "systemd"}}};
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).facts, (Texts{"child of zsh", "tty pts/3"}));
    const std::string ancestry = reasoning(5).ancestry;
    const size_t first = ancestry.find("zsh");
    const size_t second = ancestry.find("terminal");
    const size_t third = ancestry.find("systemd");
    ASSERT_NE(third, std::string::npos) << ancestry;
    EXPECT_LT(first, second) << ancestry;
    EXPECT_LT(second, third) << ancestry;
}

TEST_F(ReasoningTest, endsWhereParentsGoInACircle) {
    world->found.processTable = {{77, {.ppid = 78, .label = "one"}}, {78, {.ppid = 77, .label = "two"}}};
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).facts.front(), "child of one");
    EXPECT_NE(reasoning(5).ancestry.find("two"), std::string::npos);
}

TEST_F(ReasoningTest, listsItsPorts) {
    world->found.listeningPorts = {{5, {5173, 3000}}, {6, {9}}};
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).facts, (Texts{"tty pts/3", "3000, 5173 listening"}));
    world->found.listeningPorts = {{5, {5183}}};
    scan();
    EXPECT_EQ(reasoning(5).facts, (Texts{"tty pts/3", "5183 listening"}));
}

TEST_F(ReasoningTest, listsThePortsOfWhatIsFoldedIntoTheRow) {
    world->found.listeningPorts = {{12, {5173}}};
    ProcessItem item = runnerItem(10, {11, 12});
    item.ppid = 0;
    scan({item});
    EXPECT_EQ(reasoning(10).facts, Texts{"5173 listening"});
}

TEST_F(ReasoningTest, saysWhoManagesIt) {
    world->found.managers = {{5, "mydev.service"}};
    scan({plainItem(5)});
    const Texts facts = reasoning(5).facts;
    EXPECT_NE(std::ranges::find(facts, "managed by mydev.service"), facts.end());
}

TEST_F(ReasoningTest, tellsWhyARowIsForReviewThatWouldBeSafe) {
    std::vector<ProcessItem> rows{plainItem(5)};
    for (const ReviewReason reason : VintrelCore::ReviewReasons::allCases) {
        ProcessItem row = plainItem(100 + static_cast<int32_t>(reason));
        row.ppid = 1;
        row.reviewReason = reason;
        rows.push_back(row);
    }
    scan(rows);
    EXPECT_EQ(reasoning(5).tags, Texts{});
    for (const ReviewReason reason : VintrelCore::ReviewReasons::allCases) {
        EXPECT_EQ(reasoning(100 + static_cast<int32_t>(reason)).tags,
                  (Texts{"orphan", std::string(inWords(reason))}));
    }
}

TEST_F(ReasoningTest, changesWithTheReasonForReview) {
    ProcessItem row = plainItem(5);
    row.reviewReason = ReviewReason::scriptMayDoMore;
    scan({row});
    EXPECT_EQ(reasoning(5).tags, Texts{"its script may do more"});
    row.reviewReason = ReviewReason::namedOnly;
    scan({row});
    EXPECT_EQ(reasoning(5).tags, Texts{"named only in its arguments"});
}

TEST_F(ReasoningTest, saysWhyItIsNotInTheSweep) {
    const auto saysSo = [this](int32_t pid) {
        const Texts facts = reasoning(pid).facts;
        return std::ranges::find(facts, "not in the sweep: its folder is unknown") != facts.end();
    };
    world->found.cwds = {{6, cwdOf("~/elsewhere")}};
    scan({safeItem(5), safeItem(6), plainItem(7)});
    EXPECT_FALSE(saysSo(5));
    engine().setProtectedProjects({"~/work"});
    EXPECT_TRUE(saysSo(5));
    EXPECT_FALSE(saysSo(6));
    EXPECT_FALSE(saysSo(7)) << "it would not be in one anyway";
}

TEST_F(ReasoningTest, hasItsFactsInOneOrder) {
    world->found.processTable = {{77, {.ppid = 0, .label = "zsh"}}};
    world->found.listeningPorts = {{5, {3000}}};
    scan({plainItem(5)});
    EXPECT_EQ(reasoning(5).facts, (Texts{"child of zsh", "tty pts/3", "3000 listening"}));
}

TEST_F(ReasoningTest, tellsAFlagOfDevelopment) {
    ProcessItem item = plainItem(5);
    item.command = "node --watch server.js";
    item.ppid = 1;
    scan({item});
    EXPECT_EQ(reasoning(5).tags, (Texts{"orphan", "dev-mode flag"}));
}

TEST_F(ReasoningTest, hasItsOpenFilesOnceTheyAreKnown) {
    world->openFiles = files(2);
    scan({plainItem(5)});
    engine().loadOpenFiles(5);
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(5); }));
    EXPECT_EQ(reasoning(5).openFiles, Reasoning::describe(files(2)));
}

TEST_F(ReasoningTest, countsOpenFilesAndListsTheFirst) {
    EXPECT_EQ(
        Reasoning::describe(files(6)),
        (Reasoning::OpenFiles{"6 open files", {"~/work/file1", "~/work/file2", "~/work/file3"}, "3 more"}));
    EXPECT_EQ(Reasoning::describe(files(3)),
              (Reasoning::OpenFiles{"3 open files", {"~/work/file1", "~/work/file2", "~/work/file3"}, ""}));
    EXPECT_EQ(Reasoning::describe(files(4)).rest, "1 more");
    EXPECT_EQ(Reasoning::describe(files(0)), (Reasoning::OpenFiles{"0 open files", {}, ""}));
}

TEST_F(ReasoningTest, countsOpenFilesBeyondThoseThatAreKnown) {
    const Reasoning::OpenFiles described = Reasoning::describe(files(15, 20));
    EXPECT_EQ(described.count, "35 open files");
    EXPECT_EQ(described.paths.size(), Reasoning::shownPaths);
    EXPECT_EQ(described.rest, "32 more");
}

TEST_F(ReasoningTest, namesFilesBeforeSockets) {
    const OpenFileList mixed{.files = {{.name = "*:3000 (LISTEN)", .isSocket = true},
                                       {.name = "~/a"},
                                       {.name = "*:3001 (LISTEN)", .isSocket = true},
                                       {.name = "~/b"},
                                       {.name = "~/c"}}};
    EXPECT_EQ(Reasoning::describe(mixed),
              (Reasoning::OpenFiles{"5 open files", {"~/a", "~/b", "~/c"}, "2 more"}));
}

} // namespace Vintrel
