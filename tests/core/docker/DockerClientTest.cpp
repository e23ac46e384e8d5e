// What the client is asked, and what becomes of its answers: a script stands in for it.
#include "VintrelCore/docker/DockerService.h"
#include "tests/core/docker/ClientWorld.h"
#include "tests/core/docker/Printing.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::DockerService {

using VintrelTests::becomeAWorldWithClient;
using VintrelTests::becomeAWorldWithoutClient;
using VintrelTests::exitWithVerdict;
using VintrelTests::ScopedEnvironment;
using VintrelTests::TemporaryFolder;

namespace fs = std::filesystem;

namespace {

/// A client that notes the words of every command, one command a line, and answers as `answers` (a shell
/// script) says.
class NotingClient {
public:
    explicit NotingClient(const std::string& answers)
        : m_script(m_folder.write("client", "#!/bin/sh\n"
                                            "for word in \"$@\"; do printf '<%s>' \"$word\" >> " +
                                                notes() + "; done; echo >> " + notes() + "\n" + answers)) {}

    [[nodiscard]] const fs::path& script() const { return m_script; }

    /// What it was asked so far.
    [[nodiscard]] std::string asked() const {
        std::ifstream file(notes());
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    [[nodiscard]] std::string notes() const { return (m_folder.path() / "notes").string(); }

    TemporaryFolder m_folder;
    fs::path m_script;
};

const std::string askedForTheList = "<ps><--format><" + std::string(DockerCore::psFormat) + ">\n";
const std::string askedForTheIDs = "<ps><-q>\n";
const std::string askedForStats =
    "<stats><--no-stream><--format><" + std::string(DockerCore::statsFormat) + ">\n";
const std::string inspected = "<inspect><--format><" + std::string(DockerCore::inspectOwnerFormat) + ">";

const std::string askedForTheStopOf =
    "<inspect><--format><" + std::string(DockerCore::inspectStopFormat) + ">";

} // namespace

TEST(DockerClientDeathTest, withoutAClientEverythingIsEmpty) {
    VINTREL_NEEDS_ROOT();
    const auto tryEverything = [] {
        becomeAWorldWithoutClient();
        EXPECT_EQ(cliPath(), std::nullopt);
        EXPECT_FALSE(isInstalled());
        const Shell::Result result = run({"ps"});
        EXPECT_EQ(result.output, "");
        EXPECT_FALSE(result.ok);
        EXPECT_TRUE(listContainers().empty());
        EXPECT_TRUE(containerStats().empty());
        EXPECT_TRUE(containerOwners().empty());
        EXPECT_TRUE(removeContainer("abc").empty());
        perform(std::array{stopArguments("abc")});
        exitWithVerdict();
    };
    EXPECT_EXIT(tryEverything(), ::testing::ExitedWithCode(0), "");
}

TEST(DockerClientDeathTest, pathIsNotSearched) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("echo 'a\tb\tc\td\te\tf'");
    const ScopedEnvironment path("PATH", client.script().parent_path().string() + ":/usr/bin:/bin");
    fs::copy(client.script(), client.script().parent_path() / "docker");
    fs::permissions(client.script().parent_path() / "docker", static_cast<fs::perms>(0755));
    const auto look = [] {
        becomeAWorldWithoutClient();
        EXPECT_FALSE(isInstalled());
        EXPECT_TRUE(listContainers().empty());
        exitWithVerdict();
    };
    EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "");
}

TEST(DockerClientDeathTest, aClientThatEverybodyMayWriteIsNotRun) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("echo 'a\tb\tc\td\te\tf'");
    const auto look = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_TRUE(isInstalled());
        fs::permissions(Platform::dockerCandidates().front(), fs::perms::others_write, fs::perm_options::add);
        EXPECT_FALSE(isInstalled());
        EXPECT_TRUE(listContainers().empty());
        EXPECT_FALSE(run({"ps"}).ok);
        exitWithVerdict();
    };
    EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "");
}

TEST(DockerClientDeathTest, listsRunningContainers) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client(
        "printf 'abc\\tweb\\timage\\tUp\\t\\tshop\\nrubbish\\ndef\\tdb\\ti\\tUp\\t\\t\\n'");
    const auto list = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_EQ(listContainers(), (std::vector<Container>{{"abc", "web", "image", "Up", "", "shop"},
                                                            {"def", "db", "i", "Up", "", std::nullopt}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(list(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), askedForTheList + askedForTheIDs);
}

TEST(DockerClientDeathTest, aLineFeedInALabelMakesNoContainer) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $2 in\n"
                              "-q) printf 'aaaaaaaaaaaa\\nbbbbbbbbbbbb\\n' ;;\n"
                              "*) printf 'aaaaaaaaaaaa\\tweb\\ti\\tUp\\t\\tshop\\n'\n"
                              "   printf 'cccccccccccc\\tfalse\\ti\\tUp\\t\\t\\n'\n"
                              "   printf 'rm -rf\\tfalse\\ti\\tUp\\t\\t\\n'\n"
                              "   printf 'bbbbbbbbbbbb\\tdb\\ti\\tUp\\t\\t\\n' ;;\n"
                              "esac\n");
    const auto list = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_EQ(listContainers(),
                  (std::vector<Container>{{"aaaaaaaaaaaa", "web", "i", "Up", "", "shop"},
                                          {"bbbbbbbbbbbb", "db", "i", "Up", "", std::nullopt}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(list(), ::testing::ExitedWithCode(0), "");
}

TEST(DockerClientDeathTest, withoutTheIDsNoRowCanBeBelieved) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("[ $2 != -q ] && printf 'aaaaaaaaaaaa\\tweb\\ti\\tUp\\t\\tshop\\n'\n");
    const auto list = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_TRUE(listContainers().empty());
        exitWithVerdict();
    };
    EXPECT_EXIT(list(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), askedForTheList + askedForTheIDs);
}

TEST(DockerClientDeathTest, fetchesWhatContainersUse) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("printf 'abc\\t0.15%%\\t12.5MiB / 7.6GiB\\n'");
    const auto fetch = [&client] {
        becomeAWorldWithClient(client.script());
        const DockerCore::StatsMap stats = containerStats();
        EXPECT_EQ(stats, (DockerCore::StatsMap{{"abc", {"0.15%", "12.5MiB"}}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(fetch(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), askedForStats);
}

TEST(DockerClientDeathTest, tellsHowTheEngineTookTheQuestion) {
    VINTREL_NEEDS_ROOT();
    const auto stateWith = [](const std::string& answers, EngineState expected) {
        const NotingClient client(answers);
        const auto look = [&client, expected] {
            becomeAWorldWithClient(client.script());
            EXPECT_EQ(askForOwners().engine, expected);
            exitWithVerdict();
        };
        EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "") << answers;
    };
    stateWith("true", EngineState::answering);
    stateWith("case $1 in ps) echo abc;; *) printf '1\\t/x\\n';; esac", EngineState::answering);
    stateWith("echo 'permission denied while trying to connect to the Docker daemon socket' >&2; exit 1",
              EngineState::notPermitted);
    stateWith("echo 'Cannot connect to the Docker daemon. Is the docker daemon running?' >&2; exit 1",
              EngineState::notAnswering);
}

TEST(DockerClientDeathTest, isLateOnlyWhenTheClientWasStillWaiting) {
    VINTREL_NEEDS_ROOT();
    for (const bool hangs : {false, true}) {
        const NotingClient client(hangs ? "exec sleep 60"
                                        : "echo 'Cannot connect to the Docker daemon' >&2; exit 1");
        const auto look = [&client, hangs] {
            becomeAWorldWithClient(client.script());
            const auto answer = askForOwners();
            EXPECT_EQ(answer.engine, EngineState::notAnswering);
            EXPECT_EQ(answer.isLate, hangs);
            exitWithVerdict();
        };
        EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
    }
}

TEST(DockerClientDeathTest, warningsAreNoContainers) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $1 in\n"
                              "ps) echo 'WARNING: Error loading config file' >&2; echo abc ;;\n"
                              "inspect) printf '4242\\t/web-1\\n' ;;\n"
                              "esac\n");
    const auto fetch = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_EQ(containerOwners(), (DockerCore::OwnerMap{{4242, "web-1"}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(fetch(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "<ps><-q>\n" + inspected + "<abc>\n");
}

TEST(DockerClientDeathTest, asksForTheOwnersOfAllIdsAtOnce) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $1 in\n"
                              "ps) printf 'abc\\n\\ndef\\n' ;;\n"
                              "inspect) printf '4242\\t/web-1\\n0\\t/stopped\\n4300\\t/db\\n' ;;\n"
                              "esac\n");
    const auto fetch = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_EQ(containerOwners(), (DockerCore::OwnerMap{{4242, "web-1"}, {4300, "db"}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(fetch(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "<ps><-q>\n" + inspected + "<abc><def>\n");
}

TEST(DockerClientDeathTest, withoutContainersNothingIsInspected) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $1 in ps) printf '\\n' ;; inspect) printf '4242\\t/web-1\\n' ;; esac\n");
    const auto fetch = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_TRUE(containerOwners().empty());
        exitWithVerdict();
    };
    EXPECT_EXIT(fetch(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "<ps><-q>\n");
}

TEST(DockerClientDeathTest, aCommandThatFailsGivesNothingWhateverItPrinted) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $*-$1 in\n"
                              "*-stats) printf 'abc\\t1%%\\t1B / 2B\\n' ;;\n"
                              "'ps -q'-ps) echo abc ;;\n"
                              "*) printf 'abc\\tweb\\ti\\tUp\\t\\t\\n' ;;\n"
                              "esac\n"
                              "exit 1\n");
    const auto tryEverything = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_TRUE(listContainers().empty());
        EXPECT_TRUE(containerStats().empty());
        EXPECT_TRUE(containerOwners().empty());
        exitWithVerdict();
    };
    EXPECT_EXIT(tryEverything(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), askedForTheList + askedForStats + "<ps><-q>\n");
}

TEST(DockerClientDeathTest, aContainerThatWentAwayInBetweenDoesNotHideTheOthers) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $1 in\n"
                              "ps) printf 'abc\\ndef\\n' ;;\n"
                              "inspect) printf '4300\\t/db\\n'; echo 'no such object: abc' >&2; exit 1 ;;\n"
                              "esac\n");
    const auto fetch = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_EQ(containerOwners(), (DockerCore::OwnerMap{{4300, "db"}}));
        exitWithVerdict();
    };
    EXPECT_EXIT(fetch(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "<ps><-q>\n" + inspected + "<abc><def>\n");
}

TEST(DockerClientDeathTest, runSaysWhatTheClientSaid) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("echo \"$1\"; [ \"$1\" = works ]\n");
    const auto tryBoth = [&client] {
        becomeAWorldWithClient(client.script());
        const Shell::Result good = run({"works", "a b", "", "$(c) 'd' \"e\"", "*"});
        EXPECT_EQ(good.output, "works\n");
        EXPECT_TRUE(good.ok);
        const Shell::Result bad = run({"breaks"});
        EXPECT_EQ(bad.output, "breaks\n");
        EXPECT_FALSE(bad.ok);
        exitWithVerdict();
    };
    EXPECT_EXIT(tryBoth(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), "<works><a b><><$(c) 'd' \"e\"><*>\n<breaks>\n") << "no shell is involved";
}

TEST(DockerClientDeathTest, performsInTurnWhateverBecomesOfTheOnesBefore) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("[ \"$2\" != abc ]\n");
    const auto perform = [&client] {
        becomeAWorldWithClient(client.script());
        DockerService::perform(std::array{stopArguments("abc"), restartArguments("def"),
                                          removeArguments("abc"), Arguments{"ps"}});
        exitWithVerdict();
    };
    EXPECT_EXIT(perform(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), askedForTheStopOf + "<abc>\n<stop><abc>\n" + askedForTheStopOf +
                                  "<def>\n<restart><def>\n<rm><abc>\n<ps>\n");
}

TEST(DockerClientDeathTest, removingStopsRemovesAndListsAgain) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("[ $1 = ps ] && printf 'def\\tdb\\ti\\tUp\\t\\t\\n'\n");
    const auto remove = [&client] {
        becomeAWorldWithClient(client.script());
        EXPECT_EQ(removeContainer("abc"),
                  (std::vector<Container>{{"def", "db", "i", "Up", "", std::nullopt}}))
            << "what becomes of stop and rm does not matter";
        exitWithVerdict();
    };
    EXPECT_EXIT(remove(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(),
              askedForTheStopOf + "<abc>\n<stop><abc>\n<rm><abc>\n" + askedForTheList + askedForTheIDs);
}

TEST(DockerClientDeathTest, removingWaitsForAsLongAsTheContainerTakesToStop) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $1 in\n"
                              "inspect) printf 'abc\\t4242\\t2026-11-22T08:40:10Z\\t0\\n' ;;\n"
                              "stop) exec sleep 60 ;;\n"
                              "esac\n");
    const auto remove = [&client] {
        becomeAWorldWithClient(client.script());
        const auto begin = std::chrono::steady_clock::now();
        static_cast<void>(removeContainer("abc"));
        const auto taken = std::chrono::steady_clock::now() - begin;
        EXPECT_GE(taken, std::chrono::seconds(10)) << "what the engine may take beside the container's time";
        EXPECT_LT(taken, std::chrono::seconds(25));
        exitWithVerdict();
    };
    EXPECT_EXIT(remove(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(client.asked(), askedForTheStopOf + "<abc>\n<stop><abc>\n<rm><abc>\n" + askedForTheList);
}

} // namespace VintrelCore::DockerService
