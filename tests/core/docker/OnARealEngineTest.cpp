// The service against a real container engine.
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/platform/Platform.h"
#include "tests/support/ContainerEngine.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/ScopedEnvironment.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::DockerService {

using DockerCore::OwnerMap;
using VintrelTests::ContainerEngine;
using VintrelTests::ScopedEnvironment;

namespace {

const std::string composeLabel = "--label=com.docker.compose.project=";

} // namespace

/// All tests share one engine; each starts without containers.
class OnARealEngineTest : public testing::Test {
protected:
    static void TearDownTestSuite() { s_engine.reset(); }

    void SetUp() override {
        VINTREL_NEEDS_ROOT();
        if (!s_engine) {
            s_engine = std::make_unique<ContainerEngine>();
        }
        m_host.emplace("DOCKER_HOST", s_engine->host());
        ASSERT_TRUE(isInstalled());
        ASSERT_EQ(names(true), "");
    }

    void TearDown() override {
        for (const std::string& name : m_started) {
            s_engine->docker({"rm", "--force", "--volumes", name});
        }
    }

    int32_t start(const std::string& name, const std::vector<std::string>& extra = {}) {
        m_started.push_back(name);
        return s_engine->start(name, {"sleep", "1000"}, extra);
    }

    /// By the engine's own word.
    static std::string names(bool alsoStopped = false) {
        return s_engine->docker({"ps", alsoStopped ? "--all" : "--all=false", "--format", "{{.Names}}"});
    }

    static std::string idOf(const std::string& name) {
        return s_engine->docker({"inspect", "--format", "{{.Id}}", name}).substr(0, 12);
    }

    static ContainerEngine& engine() { return *s_engine; }

private:
    static std::unique_ptr<ContainerEngine> s_engine;
    std::optional<ScopedEnvironment> m_host;
    // Of another engine, which the user may have chosen.
    ScopedEnvironment m_noContext{"DOCKER_CONTEXT", std::nullopt};
    std::vector<std::string> m_started;
};

std::unique_ptr<ContainerEngine> OnARealEngineTest::s_engine;

TEST_F(OnARealEngineTest, withoutContainersEverythingIsEmpty) {
    EXPECT_TRUE(listContainers().empty());
    EXPECT_TRUE(containerStats().empty());
    EXPECT_TRUE(containerOwners().empty());
    EXPECT_TRUE(run({"ps", "-q"}).ok) << "the engine is there";
}

TEST_F(OnARealEngineTest, listsAContainerWithItsComposeProject) {
    start("shop-web-1", {composeLabel + "shop"});
    const auto containers = listContainers();
    ASSERT_EQ(containers.size(), 1U);
    const Container& web = containers.front();
    EXPECT_EQ(web.id, idOf("shop-web-1"));
    EXPECT_EQ(web.name, "shop-web-1");
    EXPECT_EQ(web.image, ContainerEngine::image);
    EXPECT_TRUE(web.status.starts_with("Up ")) << web.status;
    EXPECT_EQ(web.ports, "");
    EXPECT_EQ(web.composeProject, "shop");
}

TEST_F(OnARealEngineTest, theComposeProjectMayBeMissingOrOdd) {
    start("plain");
    start("odd", {composeLabel + " Mein Läden \\ \"店\" "});
    start("empty", {composeLabel});
    const auto containers = listContainers();
    ASSERT_EQ(containers.size(), 3U);
    EXPECT_EQ(containers[0].name, "empty") << "the engine names the newest first";
    EXPECT_EQ(containers[0].composeProject, std::nullopt);
    EXPECT_EQ(containers[1].composeProject, "Mein Läden \\ \"店\"");
    EXPECT_EQ(containers[2].composeProject, std::nullopt);
}

TEST_F(OnARealEngineTest, whatDoesNotRunIsNotListed) {
    start("stopped");
    start("running");
    engine().docker({"stop", "stopped"});
    ASSERT_EQ(names(true), "running\nstopped\n");

    const auto containers = listContainers();
    ASSERT_EQ(containers.size(), 1U);
    EXPECT_EQ(containers.front().name, "running");
    EXPECT_EQ(containerOwners().size(), 1U);
    EXPECT_EQ(containerStats().size(), 1U);
}

TEST_F(OnARealEngineTest, fetchesWhatEachContainerUses) {
    start("web-1");
    start("db-1");
    const DockerCore::StatsMap stats = containerStats();
    ASSERT_EQ(stats.size(), 2U);
    for (const std::string name : {"web-1", "db-1"}) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(stats.contains(idOf(name)));
        const ContainerStats& used = stats.at(idOf(name));
        EXPECT_TRUE(used.cpu.ends_with('%')) << used.cpu;
        EXPECT_TRUE(used.memory.ends_with('B')) << used.memory;
        EXPECT_EQ(used.memory.find('/'), std::string::npos) << used.memory;
    }
}

TEST_F(OnARealEngineTest, theFirstProcessOfAContainerIsTheContainers) {
    const int32_t web = start("web-1");
    const int32_t database = start("db-1");
    EXPECT_EQ(containerOwners(), (OwnerMap{{web, "web-1"}, {database, "db-1"}}));
}

TEST_F(OnARealEngineTest, aContainerMayHaveAnyNameThatTheEngineAllows) {
    const std::string name = "Web_1.shop-2..a__b--9";
    const int32_t pid = start(name);
    EXPECT_EQ(containerOwners(), (OwnerMap{{pid, name}}));
    ASSERT_EQ(listContainers().size(), 1U);
    EXPECT_EQ(listContainers().front().name, name);
    perform(std::array{stopArguments(name)});
    EXPECT_TRUE(containerOwners().empty());
}

TEST_F(OnARealEngineTest, stopsAContainer) {
    const int32_t stopped = start("web-1");
    const int32_t other = start("web-10");
    const auto before = Platform::startTime(stopped);
    ASSERT_TRUE(before);
    perform(std::array{stopArguments("web-1")});
    EXPECT_EQ(names(), "web-10\n");
    EXPECT_EQ(names(true), "web-10\nweb-1\n") << "it is stopped, not removed";
    EXPECT_NE(Platform::startTime(stopped), before);
    EXPECT_EQ(containerOwners(), (OwnerMap{{other, "web-10"}}));
}

TEST_F(OnARealEngineTest, aRestartPolicyDoesNotUndoAStop) {
    start("web-1", {"--restart=always"});
    perform(std::array{stopArguments(idOf("web-1"))});
    EXPECT_EQ(names(), "");
    EXPECT_TRUE(containerOwners().empty());
}

TEST_F(OnARealEngineTest, restartsAContainer) {
    const int32_t before = start("web-1");
    perform(std::array{restartArguments(idOf("web-1"))});
    const OwnerMap owners = containerOwners();
    ASSERT_EQ(owners.size(), 1U);
    EXPECT_NE(owners.begin()->first, before);
    EXPECT_EQ(owners.begin()->second, "web-1");
}

TEST_F(OnARealEngineTest, removesAContainerAndListsTheOthers) {
    start("web-1", {"--restart=always"});
    start("db-1");
    const auto left = removeContainer(idOf("web-1"));
    EXPECT_EQ(names(true), "db-1\n");
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left.front().name, "db-1");
}

TEST_F(OnARealEngineTest, removesWhatIsStoppedAlready) {
    start("web-1");
    engine().docker({"stop", "web-1"});
    EXPECT_TRUE(removeContainer("web-1").empty());
    EXPECT_EQ(names(true), "");
}

TEST_F(OnARealEngineTest, whatIsNotThereCannotBeRemoved) {
    start("db-1");
    const auto left = removeContainer("web-1");
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left.front().name, "db-1");
    EXPECT_FALSE(run(stopArguments("web-1")).ok);
}

} // namespace VintrelCore::DockerService
