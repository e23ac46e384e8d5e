// Processes in containers are stopped through the engine's client; here a script stands in for it.
#include "VintrelCore/terminate/KillCore.h"
#include "tests/core/terminate/Subject.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
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
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using KillCore::Moment;
using KillCore::World;

namespace {

const KillResult confirmedEnd{.outcome = KillOutcome::confirmed, .detail = KillDetail::ended};
const KillResult stopped{.outcome = KillOutcome::confirmed, .detail = KillDetail::containerStopped};

class EndingContainers : public ::testing::Test {
protected:
    /// A client that notes each of its words in brackets, and then does what `rest` says.
    std::string client(const std::string& rest) {
        const auto file =
            m_folder.write("docker", "#!/bin/sh\ncd '" + m_folder.path().string() +
                                         "'\n{ for word in \"$@\"; do printf '[%s]' \"$word\"; done; "
                                         "echo; } >>calls\n" +
                                         rest + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file.string();
    }

    World world(double gracePeriod, const std::string& rest) {
        World world = shortWait(gracePeriod);
        world.client = [path = client(rest)] { return path; };
        world.containerHere = [this](const ProcessItem& item) {
            const auto found = m_containers.find(item.pid);
            return std::optional(found != m_containers.end() ? found->second : "0123456789ab");
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
    std::map<int32_t, std::string> m_containers; // ids by pid; all others have the same
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
    m_containers[subject.pid()] = "feedfeedfeed";
    EXPECT_EQ(endOne(itemOf(subject), world(300, "exit 0"), {{subject.pid(), "production-db"}}), stopped);
    EXPECT_EQ(calls(), "[stop][feedfeedfeed]\n");
}

TEST_F(EndingContainers, handsTheNameOverAsItIsWhereNoIDCanBeKnown) {
    Subject subject(OnSIGTERM::leaves);
    m_containers[subject.pid()] = "";
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
    world.containerHere = [](const ProcessItem&) { return "0123456789ab"; };
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

TEST_F(EndingContainers, usesSignalsForTheNumberOfARemoteEngine) {
    for (const ProcessKind kind : {ProcessKind::docker, ProcessKind::node}) {
        Subject subject(OnSIGTERM::leaves);
        World remote = world(0.3, "exit 0");
        remote.containerHere = [&](const ProcessItem& item) {
            EXPECT_EQ(item.pid, subject.pid());
            return std::optional<std::string>();
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
        EXPECT_EQ(containerIn(own), id) << own;
    }
    // In a container, but in none that an engine could be told.
    for (const std::string& other : {std::string("/lxc/web"), "/docker/" + id.substr(1),
                                     "/docker/" + id + "a", "/system.slice/x-" + id + ".service"}) {
        EXPECT_EQ(containerIn(other), std::nullopt) << other;
    }
    kernel.knowsContainers = false;
    EXPECT_EQ(KillCore::containerOf(itemOf(subject, ProcessKind::docker), kernel), "");
    EXPECT_EQ(KillCore::containerOf(itemOf(subject, ProcessKind::node), kernel), std::nullopt);
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
    m_containers = {{first.pid(), "a"}, {second.pid(), "b"}};
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
    m_containers = {{willing.pid(), "willing"}, {refusing.pid(), "refusing"}};
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
