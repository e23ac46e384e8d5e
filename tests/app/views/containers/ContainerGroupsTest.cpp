// What the containers tab says, without a widget.
#include "Vintrel/views/ContainerGroups.h"

#include "tests/core/docker/Printing.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using VintrelCore::Container;
using Containers = std::vector<Container>;
using Texts = std::vector<std::string>;

Container named(const std::string& name, std::optional<std::string> project = std::nullopt) {
    return {.id = "id-" + name,
            .name = name,
            .image = "image",
            .status = "Up 2 hours",
            .ports = "0.0.0.0:80->80/tcp",
            .composeProject = std::move(project)};
}

Texts projectsOf(const std::vector<ComposeGroup>& groups) {
    Texts projects;
    for (const ComposeGroup& group : groups) {
        projects.push_back(group.project);
    }
    return projects;
}

} // namespace

TEST(ContainerGroups, capitalsComeFirst) {
    const Containers containers{named("a", "web"), named("b", "Api"), named("c", "api")};
    EXPECT_EQ(projectsOf(composeGroups(containers)), (Texts{"Api", "api", "web"}));
}

TEST(ContainerGroups, sortByTheCharactersValues) {
    const Containers containers{named("a", "😀"),    named("b", "é"),      named("c", "ﬀ"),   named("d", "z"),
                                named("e", "shop2"), named("f", "shop10"), named("g", "shop")};
    EXPECT_EQ(projectsOf(composeGroups(containers)), (Texts{"shop", "shop10", "shop2", "z", "é", "ﬀ", "😀"}));
}

TEST(ContainerGroups, keepTheListedOrderWithin) {
    const Containers containers{named("z", "shop"), named("y", "blog"), named("x", "shop"), named("lone"),
                                named("a", "shop")};
    const std::vector<ComposeGroup> expected{
        {.project = "blog", .rows = {containers[1]}},
        {.project = "shop", .rows = {containers[0], containers[2], containers[4]}}};
    EXPECT_EQ(composeGroups(containers), expected);
}

TEST(ContainerGroups, theRestKeepsTheListedOrder) {
    const Containers containers{named("z"), named("y", "blog"), named("a"), named("m")};
    EXPECT_EQ(ungrouped(containers), (Containers{containers[0], containers[2], containers[3]}));
}

TEST(ContainerGroups, anEmptyLabelIsNoProject) {
    const Containers containers{named("a", ""), named("b", "shop")};
    EXPECT_EQ(projectsOf(composeGroups(containers)), Texts{"shop"});
    EXPECT_EQ(ungrouped(containers), Containers{containers[0]});
}

TEST(ContainerGroups, aListedEmptyLabelIsNoProject) {
    const Containers containers = VintrelCore::DockerCore::parsePS("abc\tweb\timage\tUp\t\t\n");
    ASSERT_EQ(containers.size(), 1U);
    EXPECT_TRUE(composeGroups(containers).empty());
    EXPECT_EQ(ungrouped(containers), containers);
}

TEST(ContainerGroups, aBlankLabelIsAProject) {
    EXPECT_EQ(projectsOf(composeGroups(Containers{named("a", " ")})), Texts{" "});
}

TEST(ContainerGroups, noContainersGiveNeither) {
    EXPECT_TRUE(composeGroups({}).empty());
    EXPECT_TRUE(ungrouped({}).empty());
}

TEST(ContainerGroups, aHeaderCountsTheContainers) {
    EXPECT_EQ(groupHeader({.project = "shop", .rows = Containers(3)}), "shop (3)");
    EXPECT_EQ(groupHeader({.project = "blog", .rows = Containers(1)}), "blog (1)");
}

TEST(ContainerGroups, aHeaderShowsNoControlCharacters) {
    EXPECT_EQ(groupHeader({.project = "a\x1b[31m\nb", .rows = Containers(1)}), "a?[31m b (1)");
}

TEST(ContainerGroups, figuresAreJoinedByAMiddleDot) {
    EXPECT_EQ(figuresText({.cpu = "0.15%", .memory = "12.5MiB"}), "0.15% · 12.5MiB");
    EXPECT_EQ(figuresText({.cpu = "--", .memory = "0B"}), "-- · 0B");
}

TEST(ContainerStates, withoutAClientNothingElseCounts) {
    for (const bool isLoaded : {false, true}) {
        for (const bool hasContainers : {false, true}) {
            EXPECT_EQ(containersState(false, isLoaded, hasContainers), ContainersState::notInstalled);
        }
    }
}

TEST(ContainerStates, noContainersAreLoadingUntilTheFirstAnswer) {
    EXPECT_EQ(containersState(true, false, false), ContainersState::loading);
    EXPECT_EQ(containersState(true, true, false), ContainersState::none);
}

TEST(ContainerStates, containersAreListed) {
    EXPECT_EQ(containersState(true, true, true), ContainersState::listed);
    EXPECT_EQ(containersState(true, false, true), ContainersState::listed);
}

TEST(ContainerStates, eachHasItsMessage) {
    EXPECT_EQ(stateMessage(ContainersState::notInstalled), "Docker isn\u2019t installed.");
    EXPECT_EQ(stateMessage(ContainersState::loading), "Loading\u2026");
    EXPECT_EQ(stateMessage(ContainersState::none), "No running containers.");
    EXPECT_EQ(stateMessage(ContainersState::listed), "");
}

TEST(ContainerStates, theSecondLineTellsWhatIsWrongWithTheEngine) {
    const std::vector<Problem> problems{
        {.source = Problem::Source::processes, .text = "ps could not be run"},
        {.source = Problem::Source::containers, .text = "the container engine does not answer"},
        {.source = Problem::Source::cleanLog, .text = "the clean log could not be written"}};
    EXPECT_EQ(stateDetail(problems), "The container engine does not answer");
}

TEST(ContainerStates, otherProblemsAreNotToldHere) {
    EXPECT_EQ(stateDetail({}), "");
    const std::vector<Problem> others{{.source = Problem::Source::details, .text = "lsof could not be run"}};
    EXPECT_EQ(stateDetail(others), "");
}

TEST(ContainerStates, anyFirstLetterIsCapitalised) {
    const auto detailOf = [](const std::string& text) {
        const std::vector<Problem> problems{{.source = Problem::Source::containers, .text = text}};
        return stateDetail(problems);
    };
    EXPECT_EQ(detailOf("état inconnu"), "État inconnu");
    EXPECT_EQ(detailOf("Already so"), "Already so");
    EXPECT_EQ(detailOf("42 of them"), "42 of them");
    EXPECT_EQ(detailOf(""), "");
}

TEST(ContainerTextsTest, aRowHasTheFiguresOfItsOwnContainer) {
    const VintrelCore::DockerCore::StatsMap stats{{"id-web", {.cpu = "0.15%", .memory = "12.5MiB"}},
                                                  {"id-gone", {.cpu = "99%", .memory = "9GiB"}}};
    EXPECT_EQ(containerTexts(named("web"), stats).figures, "0.15% · 12.5MiB");
    EXPECT_EQ(containerTexts(named("db"), stats).figures, "");
}

TEST(ContainerTextsTest, theHelpNamesTheContainer) {
    const ContainerTexts texts = containerTexts(named("shop-web-1"), {});
    EXPECT_EQ(texts.restartHelp, "Restart shop-web-1");
    EXPECT_EQ(texts.stopHelp, "Stop shop-web-1");
}

TEST(ContainerTextsTest, portsAreNotShown) {
    const ContainerTexts texts = containerTexts(named("web"), {});
    for (const std::string& text : {texts.name, texts.image, texts.status, texts.figures, texts.sentence}) {
        EXPECT_EQ(text.find("80"), std::string::npos) << text;
    }
}

TEST(ContainerTextsTest, aRowReadsAsASentence) {
    EXPECT_EQ(containerTexts(named("web"), {}).sentence, "web, image image, Up 2 hours");
    EXPECT_EQ(containerTexts(named("web"), {{"id-web", {.cpu = "0.15%", .memory = "12.5MiB"}}}).sentence,
              "web, image image, Up 2 hours, processor 0.15%, memory 12.5MiB");
    EXPECT_EQ(containerTexts({.id = "a", .name = "web", .image = "node:22"}, {}).sentence,
              "web, image node:22");
}

TEST(ContainerTextsTest, nothingForeignIsObeyed) {
    const Container container{
        .id = "a", .name = "w\u202eeb", .image = "no\tde\x07", .status = "Up\n2", .ports = ""};
    const ContainerTexts texts = containerTexts(container, {{"a", {.cpu = "1\x1b%", .memory = "2\xff"}}});
    EXPECT_EQ(texts.name, "w?eb");
    EXPECT_EQ(texts.image, "no de?");
    EXPECT_EQ(texts.status, "Up 2");
    EXPECT_EQ(texts.figures, "1?% · 2?");
    EXPECT_EQ(texts.stopHelp, "Stop w?eb");
    EXPECT_EQ(texts.sentence, "w?eb, image no de?, Up 2, processor 1?%, memory 2?");
}

} // namespace Vintrel
