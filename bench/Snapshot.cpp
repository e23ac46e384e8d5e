#include "bench/Snapshot.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace Bench::Snapshot {

namespace {

using namespace VintrelCore;

constexpr int32_t firstPID = 1'000;
constexpr size_t candidateEvery = 20;
constexpr size_t orphanEvery = 10;

// Each is completed by a number that tells its copies apart.
constexpr auto bystanders = std::to_array<std::string_view>({
    "[kworker/u8:3-events_unbound] ",
    "[irq/27-pciehp] ",
    "/lib/systemd/systemd-journald --instance=",
    "/usr/sbin/sshd -D -o Port=",
    "sshd: someone@pts/",
    "-bash ",
    "/usr/bin/zsh -il ",
    "vim src/components/Panel.tsx +",
    "/usr/bin/python3 /usr/share/unattended-upgrades/unattended-upgrade-shutdown --wait-for-signal ",
    "/usr/lib/postgresql/15/bin/postgres -D /var/lib/postgresql/15/main -c port=",
    "/usr/bin/gnome-shell --mode=user --display=",
    "/usr/share/code/code --type=renderer --crashpad-handler-pid=5391 --enable-crash-reporter=no_channel "
    "--user-data-dir=/home/someone/.config/Code --standard-schemes=vscode-webview,vscode-file "
    "--enable-sandbox --secure-schemes=vscode-webview,vscode-file --cors-schemes=vscode-webview,vscode-file "
    "--lang=en-US --num-raster-threads=4 --enable-main-frame-before-activation --renderer-client-id=",
    "/opt/browser/browser --type=renderer --extension-process --display-capture-permissions-policy-allowed "
    "--origin-trial-disabled-features=WebGPU --change-stack-guard-on-fork=enable --lang=en-US "
    "--num-raster-threads=4 --enable-main-frame-before-activation --launch-time-ticks=241235812 "
    "--shared-files=v8_context_snapshot_data:100 --field-trial-handle=0,i,1409621793,2047113971,262144 "
    "--variations-seed-version=20261112 --renderer-client-id=",
    "make -C build -j",
    "/usr/bin/ssh-agent -D -a /run/user/1000/keyring/.ssh ",
    "tail -n 100 -f /var/log/syslog.",
    "/usr/libexec/tracker-miner-fs-3 --domain=org.freedesktop.Tracker",
    "java -Xmx4g -cp /opt/search/lib/* org.search.bootstrap.Search -p ",
    "man bash ",
});

constexpr auto tools = std::to_array<std::string_view>({
    "node /home/someone/work/shop/node_modules/.bin/vite --port ",
    "node /home/someone/work/shop/node_modules/.bin/jest --watch --maxWorkers=",
    "node (vitest 2) ",
    "next-server (v15.0.3) ",
    "/home/someone/work/api/.venv/bin/python3 -m uvicorn app.main:app --reload --port ",
    "/usr/bin/python3 -m pytest -x tests --maxfail=",
    "bun run --hot server.ts ",
    "cargo watch -x check --delay ",
});

/// Spread over the whole table, and yet always the same.
size_t scattered(size_t index) {
    return static_cast<size_t>((uint64_t{index} * 0x9E3779B97F4A7C15U) >> 32);
}

std::string commandOf(size_t index) {
    if (index % candidateEvery == 0) {
        return std::string(tools[scattered(index) % tools.size()]) + std::to_string(5'000 + index % 1'000);
    }
    return std::string(bystanders[scattered(index) % bystanders.size()]) + std::to_string(index % 10'000);
}

void appendLine(std::string& output, int32_t pid, int32_t ppid, std::string_view command) {
    std::array<char, 80> columns{};
    const size_t number = scattered(static_cast<size_t>(pid));
    std::snprintf(columns.data(), columns.size(),
                  "%7" PRId32 " %7" PRId32 " %2zu-%02zu:%02zu:%02zu %-8s %4zu.%zu %6zu ", pid, ppid,
                  number % 30, number % 24, number % 60, number / 60 % 60, number % 3 == 0 ? "pts/3" : "?",
                  number % 40, number % 10, number % 900'000);
    output.append(columns.data()).append(command).push_back('\n');
}

} // namespace

std::string psOutput(size_t lines) {
    std::string output;
    for (size_t index = 0; index < lines; ++index) {
        const auto pid = firstPID + static_cast<int32_t>(index);
        const bool isOrphan = index % orphanEvery == 0;
        const int32_t parent = firstPID + static_cast<int32_t>(scattered(index) % (index + 1));
        appendLine(output, pid, isOrphan ? 1 : parent, commandOf(index));
    }
    return output;
}

std::vector<std::string_view> commands(std::string_view psOutput) {
    std::vector<std::string_view> commands;
    while (const auto text = Text::takeLine(psOutput)) {
        if (const auto line = ScanCore::parsePSLine(*text)) {
            commands.push_back(line->args);
        }
    }
    return commands;
}

Platform::KernelView kernelView() {
    constexpr int32_t someone = 1'000;
    constexpr int32_t session = 900;
    return {.correctsParents = true,
            .userID = someone,
            .ownControlGroup = "/user.slice/user-1000.slice/session-2.scope",
            .factsOf = [](int32_t pid) {
                return Platform::KernelFacts{
                    .userID = someone,
                    .state = 'S',
                    .sessionID = session,
                    .startTime = {.sec = pid},
                    .controlGroup = "/user.slice/user-1000.slice/user@1000.service/app.slice/app-terminal-" +
                                    std::to_string(pid % 100) + ".scope"};
            }};
}

std::vector<ProcessItem> candidates(size_t count) {
    std::vector<ProcessItem> items;
    items.reserve(count);
    for (size_t index = 0; index < count; ++index) {
        const auto pid = firstPID + static_cast<int32_t>(index);
        const bool isRunner = index % 10 == 0;
        const bool isRunnersChild = index % 10 == 1;
        items.push_back({.pid = pid,
                         .ppid = isRunnersChild ? pid - 1 : 1,
                         .command = isRunner ? "npm run dev" : commandOf(index * candidateEvery),
                         .elapsed = 7'200,
                         .tty = "?",
                         .kind = isRunner ? ProcessKind::npm : ProcessKind::node,
                         .rssKB = 80'000});
    }
    return items;
}

std::string psOutput(const std::vector<ProcessItem>& items) {
    std::string output;
    for (const ProcessItem& item : items) {
        appendLine(output, item.pid, item.ppid, item.command);
    }
    return output;
}

CwdResolver::CwdMap workingDirectories(const std::vector<ProcessItem>& items) {
    CwdResolver::CwdMap cwds;
    for (const ProcessItem& item : items) {
        const std::string project = "project-" + std::to_string(item.pid % 50);
        cwds.emplace(item.pid, ProcessCwd{.label = project + "/packages/web",
                                          .fullPath = "~/work/" + project + "/packages/web",
                                          .projectRoot = "~/work/" + project});
    }
    return cwds;
}

} // namespace Bench::Snapshot
