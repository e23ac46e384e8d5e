// Asking the container engine's client in the background: a script stands in for the client, in a world (a
// process with an event loop) of its own.
#include "Vintrel/engine/Background.h"
#include "Vintrel/engine/DockerService.h"
#include "tests/app/services/NotingClient.h"
#include "tests/app/services/Waiting.h"
#include "tests/app/support/AppTest.h"
#include "tests/core/docker/ClientWorld.h"
#include "tests/core/docker/Printing.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/NeedsRoot.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QObject>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::Background;
using VintrelCore::Container;
using VintrelCore::DockerCore::StatsMap;
namespace DockerTasks = Vintrel::DockerService;

namespace {

using Containers = std::vector<Container>;

const std::string askedForTheList =
    "<ps><--format><" + std::string(VintrelCore::DockerCore::psFormat) + ">\n<ps><-q>\n";
const std::string askedForStats =
    "<stats><--no-stream><--format><" + std::string(VintrelCore::DockerCore::statsFormat) + ">\n";

const std::string askedForTheStopOf =
    "<inspect><--format><" + std::string(VintrelCore::DockerCore::inspectStopFormat) + ">";

const std::string listsTwo =
    "[ $1 = ps ] && printf 'abc\\tweb\\timage\\tUp\\t\\tshop\\ndef\\tdb\\ti\\tUp\\t\\t\\n'\n";
const Containers two{{"abc", "web", "image", "Up", "", "shop"}, {"def", "db", "i", "Up", "", std::nullopt}};

/// Only within a process of its own.
class World {
public:
    explicit World(const NotingClient& client) { becomeAWorldWithClient(client.script()); }

    World() { becomeAWorldWithoutClient(); }

    QObject owner;

    /// Starts an operation and waits for its answer, which has to come later and on this thread.
    template <typename Answer>
    std::optional<Answer> answerOf(const std::function<void(std::function<void(const Answer&)>)>& start) {
        std::optional<Answer> answer;
        int answers = 0;
        const auto thread = std::this_thread::get_id();
        start([&](const Answer& result) {
            EXPECT_EQ(std::this_thread::get_id(), thread);
            ++answers;
            answer = result;
        });
        EXPECT_FALSE(answer.has_value()) << "the call returns first";
        EXPECT_TRUE(spinUntil([&] { return answer.has_value() && !Background::shared().isBusy(); }));
        EXPECT_EQ(answers, 1);
        return answer;
    }

    std::optional<Containers> list() {
        return answerOf<Containers>([&](const auto& then) { DockerTasks::list(&owner, then); });
    }

    std::optional<StatsMap> stats() {
        return answerOf<StatsMap>([&](const auto& then) { DockerTasks::stats(&owner, then); });
    }

    std::optional<Containers> remove(const std::string& id) {
        return answerOf<Containers>([&](const auto& then) { DockerTasks::remove(id, &owner, then); });
    }

    std::optional<Containers> perform(const std::vector<DockerTasks::Arguments>& commands) {
        return answerOf<Containers>(
            [&](const auto& then) { DockerTasks::performThenRefresh(commands, &owner, then); });
    }

    void endProgram() { m_application.reset(); }

private:
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QCoreApplication> m_application =
        std::make_unique<QCoreApplication>(m_argc, static_cast<char**>(m_argv));
};

/// What the statement expects has to hold in a process of its own.
void expectInAWorldOfItsOwn(const std::function<void()>& work) {
    const auto workAndTell = [&work] {
        work();
        exitWithVerdict();
    };
    EXPECT_EXIT(workAndTell(), ::testing::ExitedWithCode(0), "");
}

} // namespace

TEST(DockerTasksDeathTest, listsRunningContainers) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client(listsTwo);
    expectInAWorldOfItsOwn([&] { EXPECT_EQ(World(client).list(), two); });
    EXPECT_EQ(client.asked(), askedForTheList);
}

TEST(DockerTasksDeathTest, fetchesWhatContainersUse) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client(
        "printf 'abc\\t0.15%%\\t12.5MiB / 7.6GiB\\nrubbish\\ndef\\t3%%\\t1GiB / 7.6GiB\\n'");
    expectInAWorldOfItsOwn([&] {
        EXPECT_EQ(World(client).stats(), (StatsMap{{"abc", {"0.15%", "12.5MiB"}}, {"def", {"3%", "1GiB"}}}));
    });
    EXPECT_EQ(client.asked(), askedForStats);
}

TEST(DockerTasksDeathTest, removingStopsRemovesAndListsAgain) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client(listsTwo);
    expectInAWorldOfItsOwn([&] { EXPECT_EQ(World(client).remove("old one"), two); });
    EXPECT_EQ(client.asked(),
              askedForTheStopOf + "<old one>\n<stop><old one>\n<rm><old one>\n" + askedForTheList)
        << "whatever becomes of stop and rm, which fail here";
}

TEST(DockerTasksDeathTest, performsInTurnAndListsOnce) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client(listsTwo);
    expectInAWorldOfItsOwn([&] {
        World world(client);
        EXPECT_EQ(world.perform({{"restart", "a b"}, {"stop", "$(c)"}, {"rm", "", "*"}}), two);
        EXPECT_EQ(world.perform({{"restart", "abc"}}), two);
        EXPECT_EQ(world.perform({}), two);
    });
    EXPECT_EQ(client.asked(), askedForTheStopOf + "<a b>\n<restart><a b>\n" + askedForTheStopOf +
                                  "<$(c)>\n<stop><$(c)>\n<rm><><*>\n" + askedForTheList + askedForTheStopOf +
                                  "<abc>\n<restart><abc>\n" + askedForTheList + askedForTheList);
}

TEST(DockerTasksDeathTest, listsOnlyWhenTheCommandsAreOver) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("[ $1 = inspect ] && exit\n"
                              "if [ $1 = ps ]; then cat $folder/state; exit; fi\n"
                              "sleep 0.3; printf \"$1\\tn\\ti\\ts\\t\\t\\n\" >> $folder/state\n");
    expectInAWorldOfItsOwn([&] {
        EXPECT_EQ(World(client).remove("abc"), (Containers{{"stop", "n", "i", "s", "", std::nullopt},
                                                           {"rm", "n", "i", "s", "", std::nullopt}}));
    });
}

TEST(DockerTasksDeathTest, withoutAClientEverythingIsEmpty) {
    VINTREL_NEEDS_ROOT();
    expectInAWorldOfItsOwn([] {
        World world;
        EXPECT_EQ(world.list(), Containers{});
        EXPECT_EQ(world.stats(), StatsMap{});
        EXPECT_EQ(world.remove("abc"), Containers{});
        EXPECT_EQ(world.perform({{"restart", "abc"}}), Containers{});
    });
}

TEST(DockerTasksDeathTest, aClientThatFailsGivesNothingWhateverItPrinted) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("case $1 in stats) printf 'abc\\t1%%\\t1B / 2B\\n' ;;\n"
                              "*) printf 'abc\\tweb\\ti\\tUp\\t\\t\\n' ;; esac; exit 1\n");
    expectInAWorldOfItsOwn([&] {
        World world(client);
        EXPECT_EQ(world.list(), Containers{});
        EXPECT_EQ(world.stats(), StatsMap{});
        EXPECT_EQ(world.remove("abc"), Containers{});
    });
}

TEST(DockerTasksDeathTest, theEventLoopRunsOnMeanwhile) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("sleep 1; " + listsTwo);
    expectInAWorldOfItsOwn([&] {
        World world(client);
        std::optional<Containers> answer;
        const double calling = secondsOf([&] {
            DockerTasks::list(&world.owner, [&](const Containers& containers) { answer = containers; });
        });
        EXPECT_LT(calling, 0.5);
        int turns = 0;
        for (; !answer && turns < 1'000; ++turns) {
            spinFor(20ms);
        }
        EXPECT_GT(turns, 10);
        EXPECT_EQ(answer, two);
    });
}

TEST(DockerTasksDeathTest, commandsAreRunForAnOwnerThatIsGone) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client(listsTwo);
    expectInAWorldOfItsOwn([&] {
        World world(client);
        auto shortLived = std::make_unique<QObject>();
        int answers = 0;
        const auto note = [&](const auto&) { ++answers; };
        DockerTasks::remove("abc", shortLived.get(), note);
        shortLived.reset();
        EXPECT_TRUE(spinUntil([] { return !Background::shared().isBusy(); }));
        shortLived = std::make_unique<QObject>();
        DockerTasks::list(shortLived.get(), note);
        DockerTasks::stats(shortLived.get(), note);
        shortLived.reset();
        EXPECT_TRUE(spinUntil([] { return !Background::shared().isBusy(); }));
        EXPECT_EQ(answers, 0);
    });
    EXPECT_TRUE(client.asked().contains("<stop><abc>\n<rm><abc>\n")) << client.asked();
}

TEST(DockerTasksDeathTest, theEndOfTheProgramTakesAHangingClientDown) {
    VINTREL_NEEDS_ROOT();
    const NotingClient client("echo $$ > $folder/pid.new; mv $folder/pid.new $folder/pid; exec sleep 100\n");
    expectInAWorldOfItsOwn([&] {
        World world(client);
        bool isAnswered = false;
        DockerTasks::remove("abc", &world.owner, [&](const Containers&) { isAnswered = true; });
        EXPECT_TRUE(spinUntil([&] { return !client.contentOf("pid").empty(); }));
        const int32_t pid = std::stoi("0" + client.contentOf("pid"));
        EXPECT_TRUE(isRunning(pid));
        EXPECT_LT(secondsOf([&] { world.endProgram(); }), 6);
        EXPECT_TRUE(eventually([&] { return !isRunning(pid); }));
        EXPECT_FALSE(isAnswered);
    });
    EXPECT_EQ(client.asked(), askedForTheStopOf + "<abc>\n") << "nothing new is begun";
}
