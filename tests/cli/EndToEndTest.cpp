// One machine with everything on it: real strays, a protected project, a container and a package runner, as a
// user would look at them and end them. The test sees only the processes that it started.
#include "VintrelCore/VintrelCore.h"
#include "VintrelCore/base/Text.h"
#include "tests/cli/VintrelRun.h"
#include "tests/support/ContainerEngine.h"
#include "tests/support/Process.h"
#include "tests/support/Stray.h"
#include "tests/system/RunnerProject.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

std::string number(int32_t pid) {
    return std::to_string(pid);
}

/// The lines of an outcome's output.
std::vector<std::string> linesOf(const VintrelOutcome& outcome) {
    std::vector<std::string> lines;
    std::string_view rest = outcome.output;
    while (const auto line = Text::takeLine(rest)) {
        lines.emplace_back(*line);
    }
    return lines;
}

std::vector<int32_t> childrenOf(int32_t pid) {
    std::vector<int32_t> children;
    for (const auto& [child, node] : AncestryResolver::processTable()) {
        if (node.ppid == pid) {
            children.push_back(child);
        }
    }
    return children;
}

constexpr const char* settings = "[General]\nelapsedThreshold=0.000001\nprotectedProjects=~/mine\n"
                                 "customRules=sleep 4711 = Sleeper\n";

/// A machine with everything on it.
struct Machine {
    Machine() {
        home.writeSettings(settings);
        makeRunnerProject(home.folder(), "web");
        runner.emplace(ProcessOptions{.argv = {"npm", "run", "dev"},
                                      .cwd = home.path() / "web",
                                      .environment = runnerEnvironment(home.folder()),
                                      .newSession = true,
                                      .output = home.path() / "npm-output"});
        server = awaitServer(home.path() / "web");
        letStraysAge();
    }

    [[nodiscard]] VintrelOutcome run(const std::vector<std::string>& arguments) const {
        return home.run(arguments, {}, {{"DOCKER_HOST", engine.host()}});
    }

    [[nodiscard]] std::vector<CleanEvent> events() const {
        return CleanLogFile::load(home.path() / "data/Vintrel/clean-log.json", CleanLogFile::retentionCap);
    }

    VintrelHome home;
    ContainerEngine engine;
    int32_t container = engine.start("sleeper-1", {"sleep", "4711"});
    Stray safe{{.argv = {"vitest", "--watch"}, .cwd = home.folder().makeFolder("shop/.git").parent_path()}};
    Stray kept{{.argv = {"vitest", "--watch"}, .cwd = home.folder().makeFolder("mine")}};
    std::optional<Process> runner;
    int32_t server = 0;
};

} // namespace

TEST(EndToEnd, listsCleansAndKillsOnAMachineWithEverything) {
    Machine machine;
    const int32_t runner = machine.runner->pid();
    const auto shells = childrenOf(runner);
    ASSERT_EQ(shells.size(), 1U);
    const auto listed = parseTable(machine.run({"list"}).output);
    ASSERT_EQ(listed.size(), 4U);
    EXPECT_EQ(listed.at(machine.safe.pid()).bucket, "safe");
    EXPECT_EQ(listed.at(machine.kept.pid()).bucket, "safe 🔒");
    EXPECT_EQ(listed.at(runner).bucket, "review");
    EXPECT_EQ(listed.at(machine.container).bucket, "review");
    EXPECT_EQ(listed.at(machine.container).kind, "Sleeper");

    const auto cleaned = machine.run({"clean"});
    EXPECT_EQ(cleaned.status, 0) << cleaned.errors;
    ASSERT_EQ(linesOf(cleaned).size(), 2U) << cleaned.output;
    EXPECT_EQ(linesOf(cleaned)[0], "vitest " + number(machine.safe.pid()) + " (shop): ended");
    EXPECT_FALSE(isRunning(machine.safe.pid()));
    EXPECT_TRUE(isRunning(machine.kept.pid()) && isRunning(machine.server) && isRunning(machine.container));

    const auto partOf = machine.run({"kill", number(machine.server)});
    EXPECT_EQ(partOf.status, 1);
    EXPECT_EQ(partOf.errors, "vintrel: " + number(machine.server) + " is part of " + number(runner) +
                                 ": vintrel kill " + number(runner) + "\n");
    EXPECT_TRUE(isRunning(machine.server));

    const auto killed = machine.run({"kill", number(runner)});
    EXPECT_EQ(killed.status, 0) << killed.errors;
    EXPECT_EQ(linesOf(killed).front(), "Vite " + number(runner) + " (web): ended");
    EXPECT_FALSE(isRunning(runner) || isRunning(shells[0]) || isRunning(machine.server));

    const auto stopped = machine.run({"kill", number(machine.container)});
    EXPECT_EQ(stopped.status, 0) << stopped.errors;
    EXPECT_TRUE(linesOf(stopped).front().starts_with("Sleeper " + number(machine.container)))
        << stopped.output;
    EXPECT_TRUE(linesOf(stopped).front().ends_with(": container stopped")) << stopped.output;
    EXPECT_EQ(machine.engine.docker({"ps", "-q"}), "");
    EXPECT_NE(machine.engine.docker({"ps", "-aq"}), "") << "it is stopped, not removed";

    ASSERT_EQ(machine.events().size(), 3U);
    EXPECT_EQ(machine.events()[0].kind, "vitest");
    EXPECT_EQ(machine.events()[0].projectLabel, "shop");
    EXPECT_EQ(machine.events()[1].kind, "Vite");
    EXPECT_EQ(machine.events()[1].projectLabel, "web");
    EXPECT_EQ(machine.events()[2].kind, label(ProcessKind::custom));
    EXPECT_TRUE(isRunning(machine.kept.pid()));
}

TEST(EndToEnd, withoutAnEngineThatAnswersSignalsDoIt) {
    const Machine machine;

    const auto outcome =
        machine.home.run({"kill", number(machine.container)}, {},
                         {{"DOCKER_HOST", "unix://" + (machine.home.path() / "nobody.sock").string()}});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(linesOf(outcome).front().ends_with(": ended")) << outcome.output;
    EXPECT_FALSE(isRunning(machine.container));
}
