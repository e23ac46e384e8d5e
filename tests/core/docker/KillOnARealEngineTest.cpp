// The ending of containers through a real engine.
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/terminate/KillCore.h"
#include "tests/support/ContainerEngine.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <signal.h>

using namespace VintrelCore;
using namespace VintrelTests;
using KillCore::KillDetail;

namespace {

class KillOnARealEngine : public ::testing::Test {
protected:
    void SetUp() override {
        VINTREL_NEEDS_ROOT();
        m_engine.emplace();
        m_host.emplace("DOCKER_HOST", m_engine->host());
    }

    static ProcessItem itemOf(int32_t pid, ProcessKind kind) {
        return {.pid = pid, .kind = kind, .startTime = KillCore::startTime(pid)};
    }

    static KillDetail detailOf(const ProcessItem& item, const DockerCore::OwnerMap& owners) {
        return KillCore::killAll({&item, 1}, owners).front().detail;
    }

    std::optional<ContainerEngine> m_engine;
    std::optional<ScopedEnvironment> m_host;
};

} // namespace

TEST_F(KillOnARealEngine, stopsAContainerByItsFirstProcessWhateverItsKind) {
    for (const ProcessKind kind : {ProcessKind::docker, ProcessKind::node}) {
        const int32_t pid = m_engine->start("web-1", {"sleep", "1000"}, {"--rm"});
        EXPECT_EQ(detailOf(itemOf(pid, kind), DockerService::containerOwners()),
                  KillDetail::containerStopped);
        EXPECT_TRUE(eventually([pid] { return !isRunning(pid); }));
        EXPECT_TRUE(DockerService::listContainers().empty());
        EXPECT_TRUE(eventually([this] { return m_engine->docker({"ps", "-aq"}).empty(); }));
    }
}

TEST_F(KillOnARealEngine, aRestartPolicyDoesNotBringAStoppedContainerBack) {
    const int32_t pid = m_engine->start("web-1", {"sleep", "1000"}, {"--restart=always"});
    EXPECT_EQ(detailOf(itemOf(pid, ProcessKind::vite), DockerService::containerOwners()),
              KillDetail::containerStopped);
    EXPECT_TRUE(DockerService::listContainers().empty());
}

TEST_F(KillOnARealEngine, aNumberOfARemoteEngineIsNoContainerHere) {
    const int32_t container = m_engine->start("web-1", {"sleep", "1000"});
    for (const ProcessKind kind : {ProcessKind::docker, ProcessKind::node}) {
        Process here({.argv = {"sleep", "1000"}});
        EXPECT_EQ(detailOf(itemOf(here.pid(), kind), {{here.pid(), "web-1"}}), KillDetail::ended);
        EXPECT_EQ(here.wait(), -SIGTERM);
    }
    EXPECT_TRUE(isRunning(container));
}

TEST_F(KillOnARealEngine, stopsTheContainerOfTheProcessWhateverAnotherEngineCallsThatNumber) {
    const int32_t pid = m_engine->start("web-1", {"sleep", "1000"});
    const int32_t innocent = m_engine->start("production-db", {"sleep", "1000"});
    EXPECT_EQ(detailOf(itemOf(pid, ProcessKind::docker), {{pid, "production-db"}}),
              KillDetail::containerStopped);
    EXPECT_FALSE(isRunning(pid));
    EXPECT_TRUE(isRunning(innocent));
}

TEST_F(KillOnARealEngine, signalsDoItWhenTheEngineDoesNotKnowTheContainer) {
    const int32_t pid = m_engine->start("web-1", {"sleep", "1000"});
    KillCore::World otherEngines;
    otherEngines.containerHere = [](const ProcessItem&) {
        return KillCore::ContainerHere{.id = std::string(64, 'a')};
    };
    const ProcessItem item = itemOf(pid, ProcessKind::docker);
    EXPECT_EQ(KillCore::killAll({&item, 1}, {{pid, "web-1"}}, otherEngines).front().detail,
              KillDetail::ended);
    EXPECT_FALSE(isRunning(pid));
}

TEST_F(KillOnARealEngine, stopsAContainerThatTheEngineConfirms) {
    const int32_t pid = m_engine->start("web-1", {"sleep", "1000"});
    const int32_t innocent = m_engine->start("db-1", {"sleep", "1000"});
    KillCore::World withoutControlGroups;
    withoutControlGroups.containerHere = [](const ProcessItem&) {
        return KillCore::ContainerHere{.isToBeConfirmed = true};
    };
    const ProcessItem item = itemOf(pid, ProcessKind::node);
    EXPECT_EQ(KillCore::killAll({&item, 1}, {{pid, "web-1"}}, withoutControlGroups).front().detail,
              KillDetail::containerStopped);
    EXPECT_FALSE(isRunning(pid));

    const ProcessItem other = itemOf(innocent, ProcessKind::node);
    EXPECT_EQ(KillCore::containerOf(other, Platform::kernelView())->id.size(), 64U);
    EXPECT_TRUE(Platform::kernelView().factsOf(innocent)->isNamespacesFirst);
    Process here({.argv = {"sleep", "1000"}});
    const ProcessItem sandbox = itemOf(here.pid(), ProcessKind::node);
    EXPECT_EQ(KillCore::killAll({&sandbox, 1}, {{here.pid(), "db-1"}}, withoutControlGroups).front().detail,
              KillDetail::ended);
    EXPECT_TRUE(isRunning(innocent)) << "a container of that name has another process";
}

TEST_F(KillOnARealEngine, aContainerThatTakesItsTimeIsNotSignalledMeanwhile) {
    const int32_t pid = m_engine->start(
        "slow-1", {"sh", "-c", "trap 'sleep 3; exit' TERM; sleep 1000 & wait"}, {"--stop-timeout=60"});
    const auto stops =
        DockerService::askAboutStops(*DockerService::cliPath(), std::vector<std::string>{"slow-1"});
    ASSERT_TRUE(stops);
    ASSERT_EQ(stops->size(), 1U);
    EXPECT_EQ(stops->front().pid, pid);
    EXPECT_EQ(stops->front().timeout, 60);
    EXPECT_EQ(detailOf(itemOf(pid, ProcessKind::node), DockerService::containerOwners()),
              KillDetail::containerStopped);
}

TEST_F(KillOnARealEngine, aRecycledNumberStopsNoContainer) {
    const int32_t pid = m_engine->start("web-1", {"sleep", "1000"});
    ProcessItem item = itemOf(pid, ProcessKind::docker);
    ASSERT_TRUE(item.startTime);
    item.startTime->sec -= 1;
    EXPECT_EQ(detailOf(item, DockerService::containerOwners()), KillDetail::notTheSame);
    EXPECT_TRUE(isRunning(pid));
}

TEST_F(KillOnARealEngine, manyStopSideBySide) {
    constexpr int count = 20; // more than are stopped at the same time
    std::vector<ProcessItem> items;
    for (int index = 0; index < count; ++index) {
        const int32_t pid = m_engine->start("web-" + std::to_string(index), {"sleep", "1000"});
        items.push_back(itemOf(pid, ProcessKind::node));
    }
    for (const auto& result : KillCore::killAll(items, DockerService::containerOwners())) {
        EXPECT_EQ(result.detail, KillDetail::containerStopped);
    }
    EXPECT_TRUE(DockerService::listContainers().empty());
}
