// One booted system with a desktop-like user session, captured, with a verdict for every process.
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/ProcFiles.h"
#include "VintrelCore/scan/SnapshotRecord.h"
#include "tests/support/Snapshots.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::FakeKernel;

namespace {

struct Process {
    int32_t pid = 0, ppid = 0, group = 0, session = 0, user = 0;
    int64_t age = 0;
    std::string tty, state, args;
};

struct Scene {
    std::string psOutput;
    FakeKernel kernel;
    std::map<int32_t, Process> processes;
    std::map<int32_t, std::string> verdicts;
};

std::ifstream open(const std::string& name) {
    std::ifstream file(std::string(VINTREL_TEST_DATA) + "/" + name);
    EXPECT_TRUE(file) << name;
    return file;
}

void readProcesses(Scene& scene) {
    auto file = open("scene-ps.txt");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        Process process;
        std::string cpu, rss;
        if (line.starts_with('#') ||
            !(fields >> process.pid >> process.ppid >> process.group >> process.session >> process.user >>
              process.age >> process.tty >> process.state >> cpu >> rss)) {
            continue;
        }
        std::getline(fields >> std::ws, process.args);
        std::ostringstream raw;
        raw << process.pid << ' ' << process.ppid << " 01:00 " << process.tty << " 0.0 " << rss << ' '
            << process.args;
        scene.psOutput += raw.str() + "\n";
        constexpr int64_t now = 100'000;
        scene.kernel[process.pid] = {.userID = process.user,
                                     .state = process.state.front(),
                                     .processGroupID = process.group,
                                     .sessionID = process.session,
                                     .startTime = {.sec = now - process.age}};
        scene.processes[process.pid] = process;
    }
}

void readControlGroups(Scene& scene) {
    auto file = open("scene-cgroup.txt");
    int32_t pid = 0;
    for (std::string groups; file >> pid >> groups;) {
        std::ranges::replace(groups, ',', '\n'); // the capture has a file's lines on one
        scene.kernel[pid].controlGroup = ProcFiles::parseControlGroup(groups);
    }
}

Scene readScene() {
    Scene scene;
    readProcesses(scene);
    readControlGroups(scene);
    // The capture has no environments. By systemd.exec(5), what the service's process 824 started has its
    // number there.
    scene.kernel.setUnitProcess(848, 824);
    auto file = open("scene-expected.txt");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        int32_t pid = 0;
        std::string verdict;
        if (!line.starts_with('#') && fields >> pid >> verdict) {
            scene.verdicts[pid] = verdict;
        }
    }
    return scene;
}

/// What the corrected parent column must be.
int32_t expectedParent(const Process& process, const std::string& verdict) {
    if (verdict == "ORPHAN") {
        return 1;
    }
    const bool isSomebodys = verdict == "manager" || verdict == "user-service" || verdict == "app-main" ||
                             verdict == "system-service" || verdict == "session-host";
    const bool isAdoptersChild = process.ppid == 1 || process.ppid == 69;
    return isSomebodys || (verdict == "other-user" && isAdoptersChild) ? 0 : process.ppid;
}

} // namespace

TEST(Scene, everyProcessHasTheParentThatItsVerdictSays) {
    const Scene scene = readScene();
    const auto records = snapshotRecords(scene.psOutput, scene.kernel.view());
    ASSERT_EQ(scene.verdicts.size(), 52U);
    size_t zombies = 0;
    for (const auto& [pid, verdict] : scene.verdicts) {
        const auto record = std::ranges::find(records, pid, &SnapshotRecord::pid);
        if (verdict == "zombie") {
            EXPECT_EQ(record, records.end()) << pid;
            ++zombies;
            continue;
        }
        ASSERT_NE(record, records.end()) << pid;
        EXPECT_EQ(record->ppid, expectedParent(scene.processes.at(pid), verdict)) << pid << ' ' << verdict;
    }
    EXPECT_EQ(records.size() + zombies, scene.verdicts.size());
}

TEST(Scene, whoLooksAfterAProcessIsNamed) {
    const Scene scene = readScene();
    const auto records = snapshotRecords(scene.psOutput, scene.kernel.view());
    const std::map<int32_t, std::string> expected{{812, "mydev.service"},
                                                  {865, "sysollama.service"},
                                                  {886, "tmux"},
                                                  {824, "app-code@bb22.service"},
                                                  {70, "init.scope"},
                                                  {836, ""},
                                                  {815, ""},
                                                  {17, ""}};
    for (const auto& [pid, manager] : expected) {
        const auto record = std::ranges::find(records, pid, &SnapshotRecord::pid);
        ASSERT_NE(record, records.end()) << pid;
        EXPECT_EQ(record->managedBy, manager) << pid;
    }
}

TEST(Scene, anotherUserSeesNoOrphansInIt) {
    const Scene scene = readScene();
    auto view = scene.kernel.view();
    view.userID = 1001;
    for (const SnapshotRecord& record : snapshotRecords(scene.psOutput, view)) {
        EXPECT_NE(record.ppid, 1) << record.pid;
    }
}

TEST(Scene, nothingIsCorrectedWhereOrphansAlwaysGoToProcessOne) {
    const Scene scene = readScene();
    auto view = scene.kernel.view();
    view.correctsParents = false;
    for (const SnapshotRecord& record : snapshotRecords(scene.psOutput, view)) {
        EXPECT_EQ(record.ppid, scene.processes.at(record.pid).ppid) << record.pid;
    }
}
