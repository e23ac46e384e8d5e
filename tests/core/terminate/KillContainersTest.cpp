// Processes in containers are stopped through the engine's client; here a script stands in for it.
#include "VintrelCore/terminate/KillCore.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using DockerCore::OwnerMap;
using KillCore::ContainerHere;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using KillCore::Moment;
using KillCore::World;

namespace {

const KillResult confirmedEnd{.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};

/// As engines write moments.
std::string inUTC(int64_t seconds) {
    const time_t time = seconds;
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    std::array<char, 40> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%FT%T.123456789Z", &utc)};
}

const KillResult stopped{.outcome = KillOutcome::confirmed, .detail = KillDetail::containerStopped};

class EndingContainers : public ::testing::Test {
protected:
    /// A client that notes each of its words in brackets, and then does what `rest` says. What it is asked
    /// before that about the containers, it answers by `m_answer`.
    std::string client(const std::string& rest) {
        const auto file =
            m_folder.write("docker", "#!/bin/sh\ncd '" + m_folder.path().string() +
                                         "'\n[ \"$1\" = inspect ] && { echo \"$*\" >>questions; " + m_answer +
                                         "; exit; }\n{ for word in \"$@\"; do printf '[%s]' \"$word\"; done; "
                                         "echo; } >>calls\n" +
                                         rest + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        m_folder.write("stops", m_stops);
        return file.string();
    }

    World world(double gracePeriod, const std::string& rest) {
        World world = shortWait(gracePeriod);
        world.client = [path = client(rest)] { return path; };
        world.containerHere = [this](const ProcessItem& item) {
            const auto found = m_containers.find(item.pid);
            return found != m_containers.end() ? found->second : ContainerHere{.id = "0123456789ab"};
        };
        return world;
    }

    [[nodiscard]] std::string calls() const {
        std::ifstream file(m_folder.path() / "calls");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static ProcessItem itemOf(const Subject& subject, ProcessKind kind = ProcessKind::docker) {
        ProcessItem item = subject.item();
        item.kind = kind;
        return item;
    }

    static void expectUntouched(Subject& subject) {
        EXPECT_TRUE(subject.isAlive());
        EXPECT_EQ(subject.noted(), std::vector<int>());
    }

    TemporaryFolder m_folder;
    std::map<int32_t, ContainerHere> m_containers; // by pid; all others are in the same
    std::string m_stops;                           // what the client knows about them, as it prints it
    std::string m_answer = "cat stops";
};

} // namespace

TEST_F(EndingContainers, isAStopWithoutASignalOrAWait) {
    Subject subject(OnSIGTERM::leaves);
    KillResult result;
    const double seconds = secondsOf(
        [&] { result = endOne(itemOf(subject), world(300, "exit 0"), {{subject.pid(), "shop-db-1"}}); });
    EXPECT_EQ(result, stopped);
    EXPECT_LT(seconds, noWait);
    EXPECT_EQ(calls(), "[stop][0123456789ab]\n");
    expectUntouched(subject);
}

TEST_F(EndingContainers, goesForEveryKindOfItem) {
    for (const ProcessKind kind : {ProcessKind::node, ProcessKind::vite, ProcessKind::custom}) {
        Subject subject(OnSIGTERM::leaves);
        EXPECT_EQ(endOne(itemOf(subject, kind), world(300, "exit 0"), {{subject.pid(), "web"}}), stopped);
        expectUntouched(subject);
    }
    EXPECT_EQ(calls(), "[stop][0123456789ab]\n[stop][0123456789ab]\n[stop][0123456789ab]\n");
}

TEST_F(EndingContainers, tellsTheEngineWhichContainerTheProcessIsInAndNotWhatTheOwnerIsCalled) {
    // The owners may be those of another engine, with a process of the same number.
    Subject subject(OnSIGTERM::leaves);
    m_containers[subject.pid()] = {.id = "feedfeedfeed"};
    EXPECT_EQ(endOne(itemOf(subject), world(300, "exit 0"), {{subject.pid(), "production-db"}}), stopped);
    EXPECT_EQ(calls(), "[stop][feedfeedfeed]\n");
}

TEST_F(EndingContainers, handsTheNameOverAsItIsWhereNoIDCanBeKnown) {
    Subject subject(OnSIGTERM::leaves);
    m_containers[subject.pid()] = {};
    EXPECT_EQ(endOne(itemOf(subject), world(300, "exit 0"), {{subject.pid(), "a b;$(exit 1)'*"}}), stopped);
    EXPECT_EQ(calls(), "[stop][a b;$(exit 1)'*]\n");
}

TEST_F(EndingContainers, givesTheClientTheUsualLimitOfDescriptorsInALargeBatch) {
    const World limiting = world(0, "ulimit -Sn >limit; exit 0");
    Subject subject(OnSIGTERM::leaves);
    const std::string told = inChild([&] {
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 128;
        ::setrlimit(RLIMIT_NOFILE, &limit);
        std::vector<ProcessItem> items(500, {.pid = 1 << 30, .startTime = ProcStartTime{}}); // of no process
        items.push_back(itemOf(subject));
        return describe(KillCore::killAll(items, {{subject.pid(), "web"}}, limiting).back());
    });
    EXPECT_EQ(told, describe(stopped));
    std::ifstream limit(m_folder.path() / "limit");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(limit), {}), "128\n");
}

TEST_F(EndingContainers, fallsBackToSignalsWhenTheStopFails) {
    Subject subject(OnSIGTERM::leaves);
    EXPECT_EQ(endOne(itemOf(subject), world(0.3, "exit 1"), {{subject.pid(), "web"}}), confirmedEnd);
    EXPECT_EQ(calls(), "[stop][0123456789ab]\n");
    EXPECT_EQ(subject.wait(), 0);
    EXPECT_EQ(subject.noted(), std::vector{SIGTERM});
}

TEST_F(EndingContainers, fallsBackToSignalsWhenTheClientIsEndedByASignal) {
    Subject subject(OnSIGTERM::stays);
    EXPECT_EQ(endOne(itemOf(subject), world(0.3, "kill -9 $$"), {{subject.pid(), "web"}}), confirmedEnd);
    EXPECT_EQ(subject.wait(), -SIGKILL);
}

TEST_F(EndingContainers, checksWhoItIsWhenItFallsBack) {
    Subject subject(OnSIGTERM::leaves);
    ProcessItem item = itemOf(subject);
    --item.startTime->sec;
    const KillResult result = endOne(item, world(0.3, "exit 1"), {{subject.pid(), "web"}});
    EXPECT_EQ(result.outcome, KillOutcome::notKilled);
    EXPECT_EQ(result.detail, KillDetail::notTheSame);
    expectUntouched(subject);
}

TEST_F(EndingContainers, usesSignalsWithoutAClient) {
    Subject subject(OnSIGTERM::leaves);
    World world = shortWait();
    world.containerHere = [](const ProcessItem&) { return ContainerHere{.id = "0123456789ab"}; };
    EXPECT_EQ(endOne(itemOf(subject), world, {{subject.pid(), "web"}}), confirmedEnd);
    EXPECT_EQ(subject.wait(), 0);
}

TEST_F(EndingContainers, usesSignalsWhenTheClientCannotBeRun) {
    Subject subject(OnSIGTERM::leaves);
    World missing = world(0.3, "exit 0");
    missing.client = [this] { return (m_folder.path() / "none").string(); };
    EXPECT_EQ(endOne(itemOf(subject), missing, {{subject.pid(), "web"}}), confirmedEnd);
    EXPECT_EQ(subject.wait(), 0);
}

TEST_F(EndingContainers, usesSignalsWithoutAnOwner) {
    Subject subject(OnSIGTERM::leaves);
    EXPECT_EQ(endOne(itemOf(subject), world(0.3, "exit 0"), {{subject.pid() + 1, "web"}}), confirmedEnd);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(subject.wait(), 0);
}

TEST_F(EndingContainers, isLeftAloneWhileItIsUnknownWhichProcessesAreContainers) {
    Subject subject(OnSIGTERM::leaves);
    World unknown = world(0.3, "exit 0");
    unknown.ownersAreKnown = false;
    EXPECT_EQ(describe(endOne(itemOf(subject), unknown, {})),
              "notKilled, engineNotAnswering, left " + std::to_string(subject.pid()));
    EXPECT_EQ(calls(), "");
    expectUntouched(subject);

    unknown.containerHere = [](const ProcessItem&) { return std::nullopt; };
    EXPECT_EQ(endOne(itemOf(subject), unknown, {}), confirmedEnd) << "it is in none";
}

TEST_F(EndingContainers, usesSignalsForTheNumberOfARemoteEngine) {
    for (const ProcessKind kind : {ProcessKind::docker, ProcessKind::node}) {
        Subject subject(OnSIGTERM::leaves);
        World remote = world(0.3, "exit 0");
        remote.containerHere = [&](const ProcessItem& item) {
            EXPECT_EQ(item.pid, subject.pid());
            return std::optional<ContainerHere>();
        };
        EXPECT_EQ(endOne(itemOf(subject, kind), remote, {{subject.pid(), "web"}}), confirmedEnd);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(subject.wait(), 0);
    }
}

TEST_F(EndingContainers, anOrdinaryProcessOfThisMachineIsInNone) {
    Subject subject(OnSIGTERM::leaves);
    for (const ProcessKind kind : {ProcessKind::docker, ProcessKind::node}) {
        EXPECT_EQ(KillCore::containerOf(itemOf(subject, kind), Platform::kernelView()), std::nullopt);
    }
    World real = world(0.3, "exit 0");
    real.containerHere = World().containerHere;
    EXPECT_EQ(endOne(itemOf(subject), real, {{subject.pid(), "web"}}), confirmedEnd);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(subject.wait(), 0);
}

TEST_F(EndingContainers, knowsAContainerByTheIDInTheControlGroupOfItsProcess) {
    const std::string id(64, 'a');
    Subject subject(OnSIGTERM::leaves);
    Platform::KernelView kernel = Platform::kernelView();
    kernel.ownControlGroup = "/user.slice";
    std::string group;
    kernel.factsOf = [&group](int32_t) { return Platform::KernelFacts{.controlGroup = group}; };
    const auto containerIn = [&](const std::string& controlGroup) {
        group = controlGroup;
        return KillCore::containerOf(itemOf(subject, ProcessKind::node), kernel);
    };
    for (const std::string& own : {"/system.slice/docker-" + id + ".scope", "/docker/" + id + "/init.scope",
                                   "/user.slice/libpod-" + id + ".scope/container",
                                   "/docker/" + std::string(64, 'b') + "/docker/" + id}) {
        EXPECT_EQ(containerIn(own), ContainerHere{.id = id}) << own;
    }
    // In a container, but in none that an engine could be told.
    for (const std::string& other : {std::string("/lxc/web"), "/docker/" + id.substr(1),
                                     "/docker/" + id + "a", "/system.slice/x-" + id + ".service"}) {
        EXPECT_EQ(containerIn(other), std::nullopt) << other;
    }
    kernel.knowsContainers = false;
    EXPECT_EQ(KillCore::containerOf(itemOf(subject, ProcessKind::docker), kernel), ContainerHere());
    EXPECT_EQ(KillCore::containerOf(itemOf(subject, ProcessKind::node), kernel), std::nullopt);
}

TEST_F(EndingContainers, knowsAContainerWithoutAnIDThereByItsNamespaceOfProcesses) {
    // As a user's own engine leaves it, which may not make control groups.
    Platform::KernelView kernel = Platform::kernelView();
    kernel.ownControlGroup = "/";
    Platform::KernelFacts facts{.controlGroup = "/user.slice/session-1.scope", .isNamespacesFirst = true};
    kernel.factsOf = [&facts](int32_t) { return facts; };
    const ProcessItem item{.pid = 17, .kind = ProcessKind::node};
    EXPECT_EQ(KillCore::containerOf(item, kernel), ContainerHere{.isToBeConfirmed = true});
    facts.controlGroup = "/docker/" + std::string(64, 'a');
    EXPECT_EQ(KillCore::containerOf(item, kernel), ContainerHere{.id = std::string(64, 'a')});
    facts.isNamespacesFirst = false;
    facts.controlGroup = "/user.slice/session-1.scope";
    EXPECT_EQ(KillCore::containerOf(item, kernel), std::nullopt);
}

TEST_F(EndingContainers, isLeftToTheEngineThatNamesThisVeryProcess) {
    for (const int64_t delay : {0, 9}) { // until the engine noted the start
        Subject subject(OnSIGTERM::leaves);
        const ProcessItem item = itemOf(subject, ProcessKind::node);
        m_containers[subject.pid()] = {.isToBeConfirmed = true};
        m_stops = "feedfeed\t" + std::to_string(subject.pid()) + "\t" + inUTC(item.startTime->sec + delay) +
                  "\t10\n";
        EXPECT_EQ(endOne(item, world(300, "exit 0"), {{subject.pid(), "web"}}), stopped) << delay;
        EXPECT_EQ(calls(), "[stop][feedfeed]\n") << "by its id, whatever it is called by now";
        expectUntouched(subject);
        std::filesystem::remove(m_folder.path() / "calls");
    }
}

TEST_F(EndingContainers, isNotLeftToAnEngineThatNamesAnotherProcess) {
    // A sandbox here, and a container of a remote engine whose process has the same number, or had it.
    Subject other(OnSIGTERM::leaves);
    const int64_t start = itemOf(other).startTime->sec;
    const std::string own = std::to_string(other.pid());
    for (const std::string& stop : {"feedfeed\t" + own + "\t" + inUTC(start - 5) + "\t10\n",
                                    "feedfeed\t" + own + "\t" + inUTC(start + 3'600) + "\t10\n",
                                    "feedfeed\t" + own + "\tyesterday\t10\n",
                                    "feedfeed\t1\t" + inUTC(start) + "\t10\n", std::string()}) {
        Subject subject(OnSIGTERM::leaves);
        m_containers[subject.pid()] = {.isToBeConfirmed = true};
        m_stops = stop;
        if (const auto at = m_stops.find(own); at != std::string::npos) {
            m_stops.replace(at, own.size(), std::to_string(subject.pid()));
        }
        ASSERT_EQ(endOne(itemOf(subject, ProcessKind::node), world(0.3, "exit 0"), {{subject.pid(), "web"}}),
                  confirmedEnd)
            << stop;
        EXPECT_EQ(calls(), "") << stop;
        EXPECT_EQ(subject.wait(), 0);
    }
}

TEST_F(EndingContainers, isNotSignalledWhileNoEngineHasSaidWhetherTheProcessIsItsOwn) {
    // It may be stopping that very container. A row whose container is known goes on.
    m_answer = "exec sleep 60";
    Subject unconfirmed(OnSIGTERM::leaves);
    Subject folded(OnSIGTERM::leaves);
    Subject known(OnSIGTERM::leaves);
    ProcessItem item = itemOf(unconfirmed, ProcessKind::node);
    item.folded = {folded.folded()};
    m_containers[unconfirmed.pid()] = {.isToBeConfirmed = true};
    const std::vector items{item, itemOf(known)};
    const OwnerMap owners{{unconfirmed.pid(), "web"}, {known.pid(), "db"}};
    const auto results = KillCore::killAll(items, owners, world(0.3, "exit 0"));
    EXPECT_EQ(describe(results[0]), "notKilled, engineNotAnswering, left " +
                                        std::to_string(unconfirmed.pid()) + " " +
                                        std::to_string(folded.pid()));
    EXPECT_EQ(results[1], stopped);
    EXPECT_EQ(calls(), "[stop][0123456789ab]\n");
    expectUntouched(unconfirmed);
    expectUntouched(folded);
    expectUntouched(known);
}

TEST_F(EndingContainers, isNotSignalledWhenTheAnswerAboutItsProcessBreaksOff) {
    m_answer = "kill -9 $$";
    Subject subject(OnSIGTERM::leaves);
    m_containers[subject.pid()] = {.isToBeConfirmed = true};
    EXPECT_EQ(
        describe(endOne(itemOf(subject, ProcessKind::node), world(0.3, "exit 0"), {{subject.pid(), "web"}})),
        "notKilled, engineNotAnswering, left " + std::to_string(subject.pid()));
    EXPECT_EQ(calls(), "");
    expectUntouched(subject);
}

TEST_F(EndingContainers, getsSignalsWhenTheEngineRefusesToTellItsProcess) {
    m_answer = "echo 'permission denied' >&2; exit 1";
    Subject subject(OnSIGTERM::leaves);
    m_containers[subject.pid()] = {.isToBeConfirmed = true};
    EXPECT_EQ(endOne(itemOf(subject, ProcessKind::node), world(0.3, "exit 0"), {{subject.pid(), "web"}}),
              confirmedEnd);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(subject.wait(), 0);
}

TEST_F(EndingContainers, isGivenItsOwnTimeAndThenLeftToTheEngineThatIsStillStoppingIt) {
    // The client is given ten seconds more than the container, which has none here.
    Subject subject(OnSIGTERM::leaves);
    m_stops = "0123456789ab\t" + std::to_string(subject.pid()) + "\t2026-11-22T08:00:00Z\t0\n";
    Subject folded(OnSIGTERM::leaves);
    ProcessItem item = itemOf(subject);
    item.folded = {folded.folded()};
    KillResult result;
    const double seconds =
        secondsOf([&] { result = endOne(item, world(0.3, "exec sleep 60"), {{subject.pid(), "web"}}); });
    EXPECT_GE(seconds, 10);
    EXPECT_LT(seconds, 25);
    EXPECT_EQ(describe(result), "notKilled, containerStopping, left " + std::to_string(subject.pid()) + " " +
                                    std::to_string(folded.pid()));
    EXPECT_FALSE(KillCore::isCleaned(result));
    expectUntouched(subject);
    expectUntouched(folded);
}

TEST_F(EndingContainers, countsAsStoppedWhenItsProcessIsGoneThoughTheClientIsLate) {
    Subject subject(OnSIGTERM::leaves);
    m_stops = "0123456789ab\t" + std::to_string(subject.pid()) + "\t2026-11-22T08:00:00Z\t0\n";
    const std::string end = "kill -9 " + std::to_string(subject.pid()) + "; exec sleep 60";
    EXPECT_EQ(endOne(itemOf(subject), world(0.3, end), {{subject.pid(), "web"}}), stopped);
    EXPECT_EQ(subject.wait(), -SIGKILL);
}

TEST_F(EndingContainers, signalsNothingOfTheRowEither) {
    Subject runner(OnSIGTERM::leaves);
    Subject server(OnSIGTERM::leaves);
    ProcessItem item = itemOf(runner, ProcessKind::node);
    item.folded = {server.folded()};
    const KillResult result = endOne(item, world(300, "exit 0"), {{runner.pid(), "web"}});
    EXPECT_EQ(result.outcome, KillOutcome::confirmed);
    EXPECT_EQ(result.detail, KillDetail::containerStopped);
    expectUntouched(runner);
    expectUntouched(server);
}

TEST_F(EndingContainers, stopSideBySide) {
    // Each client waits until the other one has started.
    const World meeting = world(300, R"(
: >"started-$2"
for turn in $(seq 400); do
  [ -e started-a ] && [ -e started-b ] && exit 0
  sleep 0.02
done
exit 1)");
    Subject first(OnSIGTERM::leaves);
    Subject second(OnSIGTERM::leaves);
    m_containers = {{first.pid(), {.id = "a"}}, {second.pid(), {.id = "b"}}};
    const std::vector items{itemOf(first), itemOf(second)};
    const auto results = KillCore::killAll(items, {{first.pid(), "a"}, {second.pid(), "b"}}, meeting);
    EXPECT_EQ(results, (std::vector{stopped, stopped}));
    expectUntouched(first);
    expectUntouched(second);
}

TEST_F(EndingContainers, andOrdinaryProcessesInOneBatch) {
    const World world = this->world(0.3, "[ \"$2\" = willing ]");
    Subject willing(OnSIGTERM::leaves);
    Subject ordinary(OnSIGTERM::leaves);
    Subject refusing(OnSIGTERM::leaves);
    const std::vector items{itemOf(ordinary, ProcessKind::vite), itemOf(willing), itemOf(refusing)};
    m_containers = {{willing.pid(), {.id = "willing"}}, {refusing.pid(), {.id = "refusing"}}};
    const OwnerMap owners{{willing.pid(), "willing"}, {refusing.pid(), "refusing"}};
    EXPECT_EQ(KillCore::killAll(items, owners, world), (std::vector{confirmedEnd, stopped, confirmedEnd}));
    expectUntouched(willing);
    EXPECT_EQ(ordinary.wait(), 0);
    EXPECT_EQ(refusing.wait(), 0);
}

TEST_F(EndingContainers, interruptedWhileItStopsIsNotSignalledEither) {
    Subject subject(OnSIGTERM::leaves);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const VintrelCore::FileDescriptor reading(ends[0]);
    const VintrelCore::FileDescriptor writing(ends[1]);
    World interruptible = world(300, "exec sleep 30");
    interruptible.interrupt = reading.get();
    // The client runs once it has noted its words.
    Process interrupter({.argv = {"/bin/sh", "-c",
                                  "until [ -s calls ]; do sleep 0.02; done; echo ! >/proc/" +
                                      std::to_string(::getpid()) + "/fd/" + std::to_string(writing.get())},
                         .cwd = m_folder.path()});
    KillResult result;
    const double seconds =
        secondsOf([&] { result = endOne(itemOf(subject), interruptible, {{subject.pid(), "web"}}); });
    EXPECT_LT(seconds, 20);
    EXPECT_EQ(result.outcome, KillOutcome::notKilled);
    EXPECT_EQ(result.detail, KillDetail::interrupted);
    EXPECT_EQ(result.left, std::vector<int32_t>{subject.pid()});
    expectUntouched(subject);
}
