#pragma once

#include "tests/cli/VintrelRun.h"
#include "tests/support/Process.h"

#include <cstdint>
#include <filesystem>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelTests {

/// Tests with real programs, each of them in a project of its own and left behind: what started it has ended,
/// as a launcher or a closed terminal does. For the program under test, all of them are old. Nothing of the
/// user's own, such as a session bus or running windows, is in reach. What the tests know of ends with them,
/// the rest with the test program's process namespace.
class Scene : public ::testing::Test {
protected:
    using Words = std::vector<std::string>;

    Scene();
    ~Scene() override;

    /// The folder of a project, in which all tools of RunnerProject are on the path.
    [[nodiscard]] std::filesystem::path project(const std::string& name) const {
        return m_home.path() / name;
    }

    /// Starts a program in a new project. The pid is that of its first process, even of one that forks
    /// itself away.
    int32_t leaveBehind(const std::string& project, const Words& argv);

    /// Sets a variable for what starts from now on.
    void setVariable(const std::string& name, const std::string& value) { m_environment[name] = value; }

    [[nodiscard]] std::map<std::string, std::string> environmentOf(const std::string& project) const;

    /// Ends these and all that is below them when the test ends.
    void endWithTest(const std::vector<int32_t>& pids);

    /// Its rows by pid.
    [[nodiscard]] std::map<int32_t, TableRow> list() const { return parseTable(m_home.run({"list"}).output); }

    [[nodiscard]] const VintrelHome& home() const { return m_home; }

    /// A process and all below it, from the top.
    [[nodiscard]] static std::vector<int32_t> treeOf(int32_t pid);

private:
    VintrelHome m_home;
    std::map<std::string, std::string> m_environment;
    std::list<Ended> m_started;
};

} // namespace VintrelTests
