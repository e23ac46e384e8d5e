// Who looks after a process: each rule by itself.
#include "VintrelCore/scan/Parentage.h"

#include "VintrelCore/scan/Caretakers.h"
#include "tests/support/Snapshots.h"

#include <optional>
#include <string>
#include <utility>
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
    int32_t processGroup = strayPID;
};

SnapshotRecord record(int32_t pid, int32_t ppid, const std::string& command) {
    return {.pid = pid,
            .ppid = ppid,
            .elapsed = "1:00",
            .tty = "?",
            .cpuPercent = "0",
            .rss = "1",
            .command = command};
}

/// What surrounds the candidate: the program's own control group, other processes, and what the kernel knows
/// of them.
struct Surroundings {
    std::string ownControlGroup = "/";
    std::string processOne = "/sbin/init";
    std::vector<SnapshotRecord> others{};
    FakeKernel kernel{};
};

/// The record of the candidate after correction, in a snapshot with the usual adopters.
SnapshotRecord corrected(const Candidate& candidate, Surroundings around = {}) {
    std::vector<SnapshotRecord> records{record(1, 0, around.processOne),
                                        record(69, 1, "/lib/systemd/systemd --user"),
                                        record(80, 1, "/usr/bin/gnome-shell")};
    records.insert(records.end(), around.others.begin(), around.others.end());
    records.push_back(record(strayPID, candidate.parent, candidate.command));
    records.back().tty = candidate.tty;
    FakeKernel& kernel = around.kernel;
    kernel[69] = {.userID = 1000,
                  .state = 'S',
                  .sessionID = 69,
                  .startTime = {.sec = 60},
                  .controlGroup = "/user@1000.service/init.scope"};
    kernel[80] = {
        .userID = 1000, .state = 'S', .sessionID = 80, .startTime = {.sec = 61}, .controlGroup = "/x.scope"};
    kernel[strayPID] = {.userID = candidate.user,
                        .state = candidate.state,
                        .processGroupID = candidate.processGroup,
                        .sessionID = candidate.session,
                        .startTime = {.sec = 100},
                        .controlGroup = candidate.controlGroup};
    Parentage::correct(records, kernel.view(around.ownControlGroup));
    return records.back();
}

const std::string userManager = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

/// Another child of the user's service manager, with the candidate in one control group.
void addNeighbour(Surroundings& around, int32_t pid, int32_t session, int64_t start,
                  const std::string& controlGroup) {
    around.others.push_back(record(pid, 69, "node server.js"));
    around.kernel[pid] = {.userID = 1000,
                          .state = 'S',
                          .sessionID = session,
                          .startTime = {.sec = start},
                          .controlGroup = controlGroup};
}

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
    EXPECT_EQ(corrected({.controlGroup = userManager + "app-docker-77.scope"}).ppid, 1);
}

TEST(Parentage, theProgramsOwnContainerDoesNotCount) {
    const std::string own = "/docker/0123456789ab";
    EXPECT_EQ(corrected({.controlGroup = own}, {.ownControlGroup = own}).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = own + "/child"}, {.ownControlGroup = own}).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = own + "/docker/fedcba987654"}, {.ownControlGroup = own}).ppid,
              0); // one inside of it
    EXPECT_EQ(corrected({.controlGroup = "/docker/fedcba987654"}, {.ownControlGroup = own}).ppid, 0);
    EXPECT_EQ(corrected({.controlGroup = own + "cd"}, {.ownControlGroup = own}).ppid,
              0); // another whose name begins like it
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
    for (const char* unit : {"app-code@aa11.service",
                             "vte-spawn-12.scope",
                             "vte-spawn-12.service",
                             "gnome-terminal-server.service",
                             "org.gnome.Terminal.service",
                             "gnome-shell-wayland.service",
                             "gnome-session-manager@gnome.service",
                             "dbus-:1.2-org.gnome.Console@0.service",
                             "xdg-desktop-portal-gnome.service",
                             "plasma-plasmashell.service",
                             "session-7.scope",
                             "wayland-wm@sway.desktop.service",
                             "sway.service",
                             "niri.service",
                             "hyprland.service",
                             "hyprland-session.service",
                             "i3.service",
                             "i3bar.service",
                             "foot-server.service",
                             "wezterm-mux.service",
                             "wezterm-mux-server.service",
                             "code-tunnel.service",
                             "kitty.service"}) {
        EXPECT_EQ(corrected({.parent = 69, .controlGroup = userManager + unit}).ppid, 1) << unit;
    }
    for (const char* unit : {"dbus-org.service", "dbus.service", "gnome-terminal-server2.service",
                             "my-app-x.service", "swayidle.service", "niriu.service", "foot-server2.service",
                             "code-tunnel2.service", "my-sway.service"}) {
        EXPECT_EQ(corrected({.parent = 69, .controlGroup = userManager + unit}).ppid, 0) << unit;
    }
}

TEST(Parentage, inADesktopServiceTheApplicationItselfIsNoOrphan) {
    const std::string group = userManager + "app-code@aa11.service";
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = group, .session = sessionLeader}).managedBy,
              "app-code@aa11.service");
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = group, .session = follower}).ppid, 1);
}

TEST(Parentage, theApplicationItselfStaysWhatItIsBesideOlderLeftovers) {
    // A service that was restarted: what the former run left behind is older than the new one.
    const std::string group = userManager + "app-code@aa11.service";
    const Candidate application{.parent = 69, .controlGroup = group, .session = sessionLeader};
    Surroundings around;
    addNeighbour(around, 400, 399, 50, group);
    addNeighbour(around, 401, 401, 51, group);
    EXPECT_EQ(corrected(application, around).managedBy, "app-code@aa11.service");

    around.kernel.setUnitProcess(strayPID, strayPID);
    EXPECT_EQ(corrected(application, around).ppid, 0);

    // One that forked itself away: the process that the unit was started with has gone.
    around.kernel.setUnitProcess(strayPID, 499);
    EXPECT_EQ(corrected(application, around).ppid, 0);
}

TEST(Parentage, whatLeadsASessionBesideTheRunningApplicationIsAnOrphan) {
    const std::string group = userManager + "app-code@aa11.service";
    const Candidate server{.parent = 69, .controlGroup = group, .session = sessionLeader};
    Surroundings around;
    addNeighbour(around, 400, 400, 50, group);
    around.kernel.setUnitProcess(strayPID, 400);
    EXPECT_EQ(corrected(server, around).ppid, 1);

    around.kernel[400].state = 'Z';
    EXPECT_EQ(corrected(server, around).ppid, 0);
    around.kernel[400].state = 'S';
    around.kernel[400].controlGroup = userManager + "other.service"; // the number is another process's now
    EXPECT_EQ(corrected(server, around).ppid, 0);
    around.kernel[400].controlGroup = group;
    around.kernel[400].startTime = {.sec = 101};
    EXPECT_EQ(corrected(server, around).ppid, 0);
}

TEST(Parentage, inAScopeTheApplicationItselfIsNoOrphan) {
    // Launchers name a scope after the number of the process that they start into it.
    const std::string group = userManager + "app-gnome-firefox-500.scope";
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = group}).managedBy, "app-gnome-firefox-500.scope");
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = group, .session = sessionLeader}).ppid, 0);

    // It has forked itself away, as editors with windows do, or its scope has another kind of name.
    for (const char* scope : {"app-gnome-gvim-499.scope", "app-gvim-0f3c.scope", "run-r12.scope"}) {
        const std::string other = userManager + scope;
        EXPECT_EQ(corrected({.parent = 69, .controlGroup = other, .session = sessionLeader}).ppid, 0)
            << scope;
        const bool isUnnumberedApp = std::string_view(scope) == "app-gvim-0f3c.scope";
        EXPECT_EQ(corrected({.parent = 69, .controlGroup = other}).ppid, isUnnumberedApp ? 0 : 1) << scope;
    }
    const std::string unnumbered = userManager + "app-gvim-0f3c.scope";
    Surroundings around;
    addNeighbour(around, 399, 300, 40, unnumbered); // older
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = unnumbered}, around).ppid, 1);
    // Into a terminal's scope its shell was launched, and nothing into a login.
    const std::string shells = userManager + "vte-spawn-0f3c.scope";
    EXPECT_EQ(corrected({.parent = 69, .controlGroup = shells, .session = sessionLeader}).ppid, 1);
    EXPECT_EQ(corrected({.controlGroup = "/user.slice/session-500.scope"}).ppid, 1);
}

TEST(Parentage, besideTheApplicationOfAScopeThereAreOrphans) {
    const std::string group = userManager + "app-gnome-code-400.scope";
    const Candidate leader{.parent = 69, .controlGroup = group, .session = sessionLeader};
    Surroundings around;
    addNeighbour(around, 399, 300, 40, group); // older than both
    EXPECT_EQ(corrected(leader, around).ppid, 1);

    Surroundings younger;
    addNeighbour(younger, 400, 300, 60, group);
    younger.others.back().ppid = 80; // the launcher lives
    EXPECT_EQ(corrected(leader, younger).ppid, 1);
}

TEST(Parentage, whatAnApplicationMayHaveDetachedInItsScopeStaysWithItHoweverOldTheScope) {
    // The process of the scope's name is gone. That the leader is left of an application that was closed, and
    // is not the application, which forked itself away after an update of an hour, shows in nothing.
    const std::string group = userManager + "app-gnome-code-400.scope";
    const Candidate leader{.parent = 69, .controlGroup = group, .session = sessionLeader};
    for (const int64_t start : {99, 60, 1}) {
        Surroundings around;
        around.kernel.setControlGroupStart(group, {.sec = start});
        EXPECT_EQ(corrected(leader, around).managedBy, "app-gnome-code-400.scope") << start;

        addNeighbour(around, 450, 450, 99, group); // detached before it
        EXPECT_EQ(corrected(leader, std::move(around)).ppid, 1) << start;
    }
}

TEST(Parentage, anApplicationThatForkedTwiceIsNoOrphanInItsService) {
    // The second time it gave up its session's lead. Its session is of a process that is gone, and neither
    // that of the process with which the service began nor divided into a shell's jobs.
    const std::string group = userManager + "app-code@aa11.service";
    const Candidate application{.parent = 69, .controlGroup = group, .session = 499, .processGroup = 499};
    Surroundings around;
    around.kernel.setUnitProcess(strayPID, 498);
    addNeighbour(around, 400, 399, 50, group); // left by a former run
    EXPECT_EQ(corrected(application, around).managedBy, "app-code@aa11.service");

    Candidate other = application;
    other.processGroup = strayPID;
    EXPECT_EQ(corrected(other, around).ppid, 1) << "a job of a shell";
    other = application;
    other.session = other.processGroup = 498;
    EXPECT_EQ(corrected(other, around).ppid, 1) << "in the session of what has ended";

    Surroundings led = around;
    addNeighbour(led, 499, 499, 90, group);
    EXPECT_EQ(corrected(application, led).ppid, 1) << "its session has a leader";
    Surroundings running = around;
    addNeighbour(running, 498, 498, 90, group);
    EXPECT_EQ(corrected(application, running).ppid, 1) << "the application runs beside it";
    Surroundings untold;
    EXPECT_EQ(corrected(application, untold).ppid, 1) << "nothing tells with which process it began";
}

TEST(Parentage, whatBeganWithItsUnitMayBeTheApplicationThatForkedItselfAway) {
    const auto parentAt = [](const std::string& unit, std::optional<ProcStartTime> unitStart,
                             bool runsBeside) {
        const std::string group = userManager + unit;
        Surroundings around;
        around.kernel.setUnitProcess(strayPID, 498);
        if (unitStart) {
            around.kernel.setControlGroupStart(group, *unitStart);
        }
        if (runsBeside) {
            addNeighbour(around, 498, 498, 95, group);
        }
        return corrected({.parent = 69, .controlGroup = group, .session = 498, .processGroup = 498},
                         std::move(around))
            .ppid;
    };
    for (const char* unit : {"app-gnome-gvim-498.scope", "app-gvim@aa11.service"}) {
        EXPECT_EQ(parentAt(unit, ProcStartTime{.sec = 99}, false), 0) << unit;
        EXPECT_EQ(parentAt(unit, ProcStartTime{.sec = 90}, false), 0) << unit;
        EXPECT_EQ(parentAt(unit, ProcStartTime{.sec = 101}, false), 0) << unit << ", moved into it";
        EXPECT_EQ(parentAt(unit, ProcStartTime{.sec = 80}, false), 1) << unit;
        EXPECT_EQ(parentAt(unit, std::nullopt, false), 1) << unit;
        EXPECT_EQ(parentAt(unit, ProcStartTime{.sec = 99}, true), 1) << unit;
    }
    EXPECT_EQ(parentAt("vte-spawn-498.scope", ProcStartTime{.sec = 99}, false), 1);
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

TEST(Parentage, whatHostsATerminalIsNoOrphan) {
    for (const int32_t parent : {1, 69}) {
        const Candidate candidate{.command = "/usr/bin/xterm -e vitest --watch", .parent = parent};
        EXPECT_EQ(corrected(candidate).ppid, 1);

        Surroundings holding;
        holding.kernel.letHoldTerminal(strayPID);
        EXPECT_EQ(corrected(candidate, holding).ppid, 0);
        EXPECT_EQ(corrected(candidate, holding).managedBy, "xterm");

        // The descriptors of a program with privileges cannot be read, but its shell can be seen.
        Surroundings shell;
        shell.others.push_back(record(600, strayPID, "vitest --watch"));
        EXPECT_EQ(corrected(candidate, shell).ppid, 1);
        shell.others.back().tty = "pts/4";
        EXPECT_EQ(corrected(candidate, shell).ppid, 0);
        EXPECT_EQ(corrected(candidate, shell).managedBy, "xterm");
    }
}

TEST(Parentage, anotherProcessOnATerminalChangesNothing) {
    Surroundings around;
    around.others.push_back(record(600, 599, "vitest --watch"));
    around.others.back().tty = "pts/4";
    around.kernel.letHoldTerminal(600);
    EXPECT_EQ(corrected({}, around).ppid, 1);
}

namespace {

/// The parent of the candidate when this is process 1, of the session 1.
int32_t parentBelow(const std::string& processOne, const Candidate& candidate) {
    Surroundings around{.processOne = processOne};
    around.kernel[1] = {.userID = 1000, .state = 'S', .sessionID = 1, .controlGroup = "/"};
    return corrected(candidate, std::move(around)).ppid;
}

} // namespace

TEST(Parentage, aSystemsProcessOneAdoptsEveryOrphan) {
    for (const char* first :
         {"/usr/lib/systemd/systemd", "/sbin/init", "init [2]", "/init", "runit", "/sbin/openrc-init",
          "s6-svscan -t0 /run/service", "/bin/busybox init", "/sbin/launchd", "/sbin/dinit"}) {
        EXPECT_EQ(parentBelow(first, {.session = 1}), 1) << first;
        EXPECT_EQ(parentBelow(first, {.session = 7}), 1) << first;
    }
}

TEST(Parentage, aContainersProcessOneHasWorkInItsSessionAndOrphansInOthers) {
    for (const char* first :
         {"/sbin/tini -- vitest", "/sbin/docker-init -- x", "dumb-init x", "python3 /usr/bin/supervisord",
          "/bin/bash ./entry.sh", "python3 sup.py", "sleep infinity", "npm test", "busybox sh",
          "/bin/sh -c echo Container started; while sleep 1 & wait $!; do :; done"}) {
        EXPECT_EQ(parentBelow(first, {.session = 1}), 0) << first;
        EXPECT_EQ(parentBelow(first, {.session = 7}), 1) << first;
        EXPECT_EQ(parentBelow(first, {.session = sessionLeader}), 0) << first;
        const Candidate inAUnit{.controlGroup = "/system.slice/docker-x.scope", .session = sessionLeader};
        EXPECT_EQ(parentBelow(first, inAUnit), 0) << first;
        EXPECT_EQ(parentBelow(first, {.parent = 69, .session = 1}), 1) << first; // another adopter's child
    }
    Surroundings hidden{.processOne = "sleep infinity"}; // the kernel does not tell its session
    EXPECT_EQ(corrected({.session = 7}, hidden).ppid, 0);
    EXPECT_EQ(corrected({.session = 7}, hidden).managedBy, "sleep");
}

namespace {

constexpr ProcStartTime containersStart{.sec = 50, .usec = 500'000};

/// A container whose process 1 has put its command, number 7, into a session of its own.
Surroundings containerWithACommandInItsOwnSession(ProcStartTime commandsStart) {
    Surroundings around{.processOne = "/usr/bin/dumb-init -- bash start.sh"};
    around.kernel[1] = {.userID = 1000, .state = 'S', .sessionID = 1, .startTime = containersStart};
    around.others.push_back(record(7, 1, "bash start.sh"));
    around.kernel[7] = {.userID = 1000, .state = 'S', .sessionID = 7, .startTime = commandsStart};
    return around;
}

} // namespace

TEST(Parentage, theSessionOfAContainersCommandIsItsWorkToo) {
    const ProcStartTime atOnce{.sec = 51, .usec = 400'000};
    const auto container = containerWithACommandInItsOwnSession(atOnce);
    EXPECT_EQ(corrected({.session = 7}, container).ppid, 0);
    EXPECT_EQ(corrected({.session = 7}, container).managedBy, "dumb-init");
    EXPECT_EQ(corrected({.session = 1}, container).ppid, 0);
    EXPECT_EQ(corrected({.session = 8}, container).ppid, 1) << "left behind by docker exec";
}

TEST(Parentage, theSessionOfWhatCameToAContainerLaterIsNotItsWork) {
    // Such as an editor's server that was started into it and then orphaned.
    const auto late = containerWithACommandInItsOwnSession({.sec = 51, .usec = 600'000});
    EXPECT_EQ(corrected({.session = 7}, late).ppid, 1);

    auto second = containerWithACommandInItsOwnSession({.sec = 51});
    second.others.push_back(record(6, 1, "sh -c vitest"));
    second.kernel[6] = {
        .userID = 1000, .state = 'S', .sessionID = 1, .startTime = {.sec = 50, .usec = 600'000}};
    EXPECT_EQ(corrected({.session = 7}, second).ppid, 1) << "the command is in the session of process 1";

    auto member = containerWithACommandInItsOwnSession({.sec = 51});
    member.kernel[7].sessionID = 5;
    EXPECT_EQ(corrected({.session = 5}, member).ppid, 1) << "the command does not lead that session";
}

TEST(IsAdopter, isAnOfficeAndNotAName) {
    for (const char* command :
         {"/lib/systemd/systemd --user", "systemd --user", "systemd --deserialize=9 --user", "/init",
          "Relay(123)", "/usr/bin/lxqt-session", "dinit", "/sbin/dinit"}) {
        EXPECT_TRUE(Caretakers::isAdopter(7, command)) << command;
    }
    for (const char* command :
         {"systemd", "systemd --users", "/lib/systemd/systemd --system", "init", "/sbin/init", "Relay",
          "vim --user", "containerd-shim", "conmon", "docker-init", "tini -- x", "tmux", "screen", ""}) {
        EXPECT_FALSE(Caretakers::isAdopter(7, command)) << command;
        EXPECT_TRUE(Caretakers::isAdopter(1, command)) << command;
    }
}
