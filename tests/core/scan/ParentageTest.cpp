// Who looks after a process: each rule by itself.
#include "VintrelCore/scan/Parentage.h"

#include "tests/support/Snapshots.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using VintrelTests::FakeKernel;

namespace {

constexpr int32_t strayPID = 500;
constexpr int32_t sessionLeader = strayPID;
constexpr int32_t follower = 1;

struct Candidate {
    std::string command = "vitest --watch";
    std::string tty = "?";
    int32_t parent = 1;
    std::string controlGroup = "/";
    int32_t session = follower;
    int32_t user = 1000;
    char state = 'S';
};

/// The record of the candidate after correction, in a snapshot with the usual adopters.
SnapshotRecord corrected(const Candidate& candidate, const std::string& ownControlGroup = "/") {
    const auto record = [](int32_t pid, int32_t ppid, const std::string& command) {
        return SnapshotRecord{.pid = pid,
                              .ppid = ppid,
                              .elapsed = "1:00",
                              .tty = "?",
                              .cpuPercent = "0",
                              .rss = "1",
                              .command = command};
    };
    std::vector<SnapshotRecord> records{
        record(1, 0, "/sbin/init"), record(69, 1, "/lib/systemd/systemd --user"),
        record(80, 1, "/usr/bin/gnome-shell"), record(strayPID, candidate.parent, candidate.command)};
    records.back().tty = candidate.tty;
    FakeKernel kernel;
    kernel[69] = {.userID = 1000,
                  .state = 'S',
                  .sessionID = 69,
                  .startTime = {.sec = 1},
                  .controlGroup = "/user@1000.service/init.scope"};
    kernel[80] = {
        .userID = 1000, .state = 'S', .sessionID = 80, .startTime = {.sec = 2}, .controlGroup = "/x.scope"};
    kernel[strayPID] = {.userID = candidate.user,
                        .state = candidate.state,
                        .sessionID = candidate.session,
                        .startTime = {.sec = 100},
                        .controlGroup = candidate.controlGroup};
    Parentage::correct(records, kernel.view(ownControlGroup));
    return records.back();
}

const std::string userManager = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

} // namespace

TEST(Parentage, anAdoptersChildThatNobodyLooksAfterIsAnOrphan) {
    EXPECT_EQ(corrected({}).ppid, 1);
    EXPECT_EQ(corrected({.parent = 69}).ppid, 1);
    EXPECT_EQ(corrected({.parent = 69}).managedBy, "");
}

TEST(Parentage, otherProcessesKeepTheirParent) {
    EXPECT_EQ(corrected({.parent = 80}).ppid, 80);
    EXPECT_EQ(corrected({.parent = 0}).ppid, 0);
    EXPECT_EQ(corrected({.parent = 4711}).ppid, 4711);
}

TEST(Parentage, aTerminalOrAnAdoptersOfficeKeepsTheParent) {
    EXPECT_EQ(corrected({.tty = "pts/3", .parent = 69}).ppid, 69);
    EXPECT_EQ(corrected({.command = "dinit", .parent = 1}).ppid, 1);
    EXPECT_EQ(corrected({.parent = 69, .state = 'Z'}).ppid, 69);
}

TEST(Parentage, anotherUsersProcessIsNeverAnOrphan) {
    EXPECT_EQ(corrected({.user = 0}).ppid, 0);
    EXPECT_EQ(corrected({.tty = "pts/1", .user = 1001}).ppid, 0);
    EXPECT_EQ(corrected({.parent = 80, .user = 0}).ppid, 80);
}

TEST(Parentage, aProcessWhoseRecordsCannotBeReadIsNeverAnOrphan) {
    std::vector<SnapshotRecord> records{
        {.pid = 7, .ppid = 1, .elapsed = "", .tty = "?", .cpuPercent = "", .rss = "", .command = "vitest"}};
    Parentage::correct(records, FakeKernel().view());
    EXPECT_EQ(records.front().ppid, 0);
}

TEST(Parentage, containersLookAfterTheirOwn) {
    const std::string id(64, 'a');
    for (const std::string& group :
         {"/docker/" + id, "/system.slice/docker-" + id + ".scope",
          std::string("/user.slice/libpod-12ab.scope"), std::string("/kubepods/burstable/pod1/x"),
          std::string("/lxc/web"), std::string("/lxc.payload.web/x.scope"),
          std::string("/machine.slice/machine-web.scope"), std::string("/buildkit/x")}) {
        const SnapshotRecord record = corrected({.controlGroup = group});
        EXPECT_EQ(record.ppid, 0) << group;
        EXPECT_FALSE(record.managedBy.empty()) << group;
    }
}

TEST(Parentage, anApplicationNamedAfterTheEngineIsNoContainer) {
    EXPECT_EQ(corrected({.controlGroup = userManager + "app-docker-desktop-77.scope"}).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = userManager + "app-docker-abc.scope"}).ppid, 1);
}

TEST(Parentage, theProgramsOwnContainerDoesNotCount) {
    const std::string own = "/docker/0123456789ab";
    EXPECT_EQ(corrected({.controlGroup = own}, own).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = own + "/child"}, own).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = own + "/docker/fedcba987654"}, own).ppid, 0); // one inside of it
    EXPECT_EQ(corrected({.controlGroup = "/docker/fedcba987654"}, own).ppid, 0);
    EXPECT_EQ(corrected({.controlGroup = own + "cd"}, own).ppid, 0); // another whose name begins like it
}

TEST(Parentage, servicesLookAfterTheirOwn) {
    EXPECT_EQ(corrected({.controlGroup = "/system.slice/ollama.service"}).managedBy, "ollama.service");
    EXPECT_EQ(corrected({.controlGroup = "/system.slice/app-x.service"}).ppid,
              0); // not of the user's manager
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = userManager + "mydev.service"}).managedBy,
              "mydev.service");
    EXPECT_EQ(corrected({.controlGroup = userManager + "init.scope"}).managedBy, "init.scope");
    EXPECT_EQ(corrected({.controlGroup = "/init.scope"}).ppid, 0);
    EXPECT_EQ(corrected({.controlGroup = "/user.slice/user@1000.service"}).ppid, 0);
}

TEST(Parentage, whatTheDesktopLaunchedLeavesOrphans) {
    for (const char* unit :
         {"app-code@aa11.service", "vte-spawn-12.scope", "vte-spawn-12.service",
          "gnome-terminal-server.service", "org.gnome.Terminal.service", "gnome-shell-wayland.service",
          "gnome-session-manager@gnome.service", "dbus-:1.2-org.gnome.Console@0.service",
          "xdg-desktop-portal-gnome.service", "plasma-plasmashell.service", "session-7.scope"}) {
        EXPECT_EQ(corrected({.parent = 69, .controlGroup = userManager + unit}).ppid, 1) << unit;
    }
    for (const char* unit :
         {"dbus-org.service", "dbus.service", "gnome-terminal-server2.service", "my-app-x.service"}) {
        EXPECT_EQ(corrected({.parent = 69, .controlGroup = userManager + unit}).ppid, 0) << unit;
    }
}

TEST(Parentage, inADesktopServiceTheApplicationItselfIsNoOrphan) {
    const std::string group = userManager + "app-code@aa11.service";
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = group, .session = sessionLeader}).managedBy,
              "app-code@aa11.service");
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = group, .session = follower}).ppid, 1);
    // A scope has no such application: its launcher is gone.
    EXPECT_EQ(corrected({.controlGroup = userManager + "app-code-7.scope", .session = sessionLeader}).ppid,
              1);
}

TEST(Parentage, hostProgramsLookAfterTheirOwn) {
    for (const char* command :
         {"tmux new -d vitest", "tmux: server", "/usr/bin/tmux", "screen -S x",
          "SCREEN -dmS t npx vitest --watch", "zellij --server /x", "abduco -n x vitest", "dtach -n x vitest",
          "/usr/libexec/podman/conmon -c x", "dockerd", "rootlesskit x",
          "/usr/bin/containerd-shim-runc-v2 -id 1", "containerd",
          "node /home/u/.vscode-server/bin/x/server.js vitest", "/home/u/.cursor-server/node vitest"}) {
        EXPECT_EQ(corrected({.command = command}).ppid, 0) << command;
        EXPECT_FALSE(corrected({.command = command}).managedBy.empty()) << command;
    }
    EXPECT_EQ(corrected({.command = "node tmux"}).ppid, 1); // only the program itself counts
    EXPECT_EQ(corrected({.command = "/opt/tmuxinator vitest"}).ppid, 1);
}

TEST(Parentage, withoutAnyUnitASessionLeaderIsADaemonByItsOwnChoice) {
    EXPECT_EQ(corrected({.session = sessionLeader}).ppid, 0);
    EXPECT_EQ(corrected({.controlGroup = "", .session = sessionLeader}).ppid, 0);
    EXPECT_EQ(corrected({.controlGroup = "", .session = follower}).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = "/user.slice/session-7.scope", .session = sessionLeader}).ppid, 1);
}

TEST(IsAdopter, isAnOfficeAndNotAName) {
    for (const char* command :
         {"/lib/systemd/systemd --user", "systemd --user", "systemd --deserialize=9 --user", "/init",
          "Relay(123)", "/usr/bin/lxqt-session", "dinit", "/sbin/dinit"}) {
        EXPECT_TRUE(Parentage::isAdopter(7, command)) << command;
    }
    for (const char* command :
         {"systemd", "systemd --users", "/lib/systemd/systemd --system", "init", "/sbin/init", "Relay",
          "vim --user", "containerd-shim", "conmon", "docker-init", "tini -- x", "tmux", "screen", ""}) {
        EXPECT_FALSE(Parentage::isAdopter(7, command)) << command;
        EXPECT_TRUE(Parentage::isAdopter(1, command)) << command;
    }
}

TEST(UnitOf, isTheFirstBelowTheUserManagerOrElseTheFirst) {
    const auto name = [](const char* path) { return std::string(Parentage::unitOf(path).name); };
    EXPECT_EQ(name("/user.slice/user-1000.slice/user@1000.service/app.slice/a.scope/b.service"), "a.scope");
    EXPECT_EQ(name("/user.slice/user-1000.slice/user@1000.service"), "user@1000.service");
    EXPECT_EQ(name("/system.slice/a.service/b.scope"), "a.service");
    EXPECT_EQ(name("/a.slice/b"), "");
    EXPECT_EQ(name("/"), "");
    EXPECT_EQ(name(""), "");
    EXPECT_EQ(name("/.service/.scope"), "");
    EXPECT_TRUE(Parentage::unitOf("/user@5.service/x.service").belongsToUserManager);
    EXPECT_FALSE(Parentage::unitOf("/user@5.service").belongsToUserManager);
}
