#include "tests/scenes/Scene.h"

#include "VintrelCore/VintrelCore.h"
#include "tests/system/RunnerProject.h"

#include <cstdlib>

namespace VintrelTests {

namespace fs = std::filesystem;

Scene::Scene() : m_environment(runnerEnvironment(m_home.folder())) {
    m_home.writeSettings("[General]\nelapsedThreshold=0.000001\n");
    const fs::path runtime = m_home.folder().makeFolder("run");
    fs::permissions(runtime, fs::perms::owner_all);
    m_environment.merge(std::map<std::string, std::string>{
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (runtime / "none").string()},
        {"GDK_BACKEND", "x11"},
        {"GSETTINGS_BACKEND", "memory"},
        {"LC_ALL", "C.UTF-8"}, // mosh-server insists on UTF-8
        {"XDG_CACHE_HOME", m_home.folder().makeFolder("cache").string()},
        {"XDG_CONFIG_HOME", m_home.folder().makeFolder("home/config").string()},
        {"XDG_RUNTIME_DIR", runtime.string()}});
}

Scene::~Scene() {
    std::list<Ended> below;
    for (const Ended& each : m_started) {
        for (const int32_t pid : treeOf(each.pid())) {
            below.emplace_back(pid);
        }
    }
}

std::map<std::string, std::string> Scene::environmentOf(const std::string& name) const {
    auto environment = m_environment;
    environment["PATH"] = (project(name) / "node_modules/.bin").string() + ":" +
                          (m_home.path() / "bin").string() + ":" VINTREL_TEST_PACKAGE_MANAGERS ":" +
                          std::getenv("PATH");
    return environment;
}

int32_t Scene::leaveBehind(const std::string& name, const Words& argv) {
    makeRunnerProject(m_home.folder(), name);
    // The shell leads the session and ends, so that process 1 adopts the program, which leads none.
    Words words{"/bin/sh", "-c", R"("$@" >output 2>&1 </dev/null & echo $!)", "sh"};
    words.insert(words.end(), argv.begin(), argv.end());
    Process starter(
        {.argv = words, .cwd = project(name), .environment = environmentOf(name), .newSession = true});
    const int32_t pid = std::stoi(starter.readLine());
    EXPECT_EQ(starter.wait(), 0);
    endWithTest({pid});
    return pid;
}

void Scene::endWithTest(const std::vector<int32_t>& pids) {
    for (const int32_t pid : pids) {
        m_started.emplace_back(pid);
    }
}

std::vector<int32_t> Scene::treeOf(int32_t pid) {
    const auto table = VintrelCore::AncestryResolver::processTable();
    std::vector<int32_t> tree{pid};
    for (size_t index = 0; index < tree.size(); ++index) {
        for (const auto& [child, node] : table) {
            if (node.ppid == tree[index]) {
                tree.push_back(child);
            }
        }
    }
    return tree;
}

} // namespace VintrelTests
