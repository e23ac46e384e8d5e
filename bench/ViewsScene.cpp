#include "bench/ViewsScene.h"

#include "Vintrel/views/StrayRow.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include <QDir>
#include <QEventLoop>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>

namespace Bench {

namespace {

using Vintrel::ScanSources;
using Vintrel::StrayRow;
using VintrelCore::ProcessItem;
using VintrelCore::ProcessKind;

/// A kind, how many candidates of it there are, and what the command line runs.
struct Share {
    ProcessKind kind;
    size_t count;
    const char* program;
};

// The first two make 200.
constexpr auto shares = std::to_array<Share>({{ProcessKind::vite, 110, "vite"},
                                              {ProcessKind::jest, 90, "jest"},
                                              {ProcessKind::uvicorn, 80, "uvicorn"},
                                              {ProcessKind::npm, 80, "npm"},
                                              {ProcessKind::pytest, 80, "pytest"},
                                              {ProcessKind::vitest, 80, "vitest"},
                                              {ProcessKind::playwrightTest, 80, "playwright"},
                                              {ProcessKind::bun, 80, "bun"},
                                              {ProcessKind::node, 80, "node"},
                                              {ProcessKind::nextjs, 80, "next"},
                                              {ProcessKind::astro, 80, "astro"},
                                              {ProcessKind::cargo, 80, "cargo"}});

constexpr auto areas = std::to_array<const char*>({"shop", "billing", "search", "website", "mobile"});
constexpr auto parts =
    std::to_array<const char*>({"api", "frontend", "worker", "admin", "gateway", "docs", "sync"});

std::string projectOf(size_t index) {
    return std::string(areas.at(index % areas.size())) + "-" + parts.at(index / areas.size() % parts.size());
}

/// The only digits in a command line are those of its port, so that digits make a filter that bites.
ProcessItem itemOf(const Share& share, size_t index) {
    constexpr size_t firstPort = 20'000;
    constexpr size_t ages = 50'000; // seconds
    constexpr size_t sizes = 400;   // MiB
    const bool isSafe = index % 2 == 0;
    const auto pid = static_cast<int32_t>(3'000 + index);
    return {.pid = pid,
            .ppid = isSafe ? 1 : 77,
            .command = "/home/me/work/" + projectOf(index) + "/node_modules/.bin/" + share.program +
                       " --config ./config/" + share.program + ".development.ts --host localhost --port " +
                       std::to_string(firstPort + index),
            .elapsed = static_cast<double>(3'600 + index * 37 % ages),
            .tty = "?",
            .kind = share.kind,
            .riskTier = isSafe ? VintrelCore::RiskTier::easy : VintrelCore::RiskTier::moderate,
            .cpuPercent = static_cast<double>(index % 40) / 10,
            .rssKB = static_cast<int64_t>((index * 7 % sizes + 5) * 1'024 + index),
            .startTime = VintrelCore::ProcStartTime{.sec = 1'000'000 + pid, .usec = 7}};
}

} // namespace

/// What the sources answer. Changed only while no scan is under way.
struct ViewsScene::World {
    VintrelCore::Scan::Result found{};

    World() {
        found.processTable = {{77, {.ppid = 1, .label = "shell"}}};
        for (const Share& share : shares) {
            for (size_t of = 0; of < share.count; ++of) {
                add(itemOf(share, found.items.size()), projectOf(found.items.size()));
            }
        }
    }

    void add(ProcessItem item, const std::string& project) {
        found.cwds[item.pid] = {.label = project,
                                .fullPath = "/home/me/work/" + project,
                                .projectRoot = "/home/me/work/" + project};
        constexpr int everyTenth = 10;
        if (item.pid % everyTenth == 0) {
            found.listeningPorts[item.pid].insert(item.pid);
        }
        found.items.push_back(std::move(item));
    }

    [[nodiscard]] static ScanSources sources(const std::shared_ptr<World>& world) {
        ScanSources sources;
        sources.containerOwners = [](int) { return VintrelCore::DockerService::OwnersAnswer{}; };
        sources.scan = [world](const auto&, int) { return world->found; };
        sources.usedCPU = [](const auto&) { return VintrelCore::CPUSampler::Reading{}; };
        sources.openFiles = [](const auto&, int) { return VintrelCore::OpenFileList{}; };
        sources.kill = [](const auto&, const auto&, int) {
            return std::vector<VintrelCore::KillCore::KillResult>{};
        };
        return sources;
    }
};

OwnFolders::OwnFolders() {
    const auto make = [this](const char* variable, const char* name) {
        const std::string folder = m_folder.filePath(QString::fromLatin1(name)).toStdString();
        QDir().mkpath(QString::fromStdString(folder));
        ::setenv(variable, folder.c_str(), 1);
    };
    make("HOME", "home");
    make("XDG_CONFIG_HOME", "config");
    make("XDG_DATA_HOME", "data");
    make("XDG_STATE_HOME", "state");
    make("XDG_CACHE_HOME", "cache");
}

ViewsScene::ViewsScene(FrameWatch& frames) : m_frames(frames), m_world(std::make_shared<World>()) {
    m_engine = std::make_unique<Vintrel::ScanEngine>(m_silence, World::sources(m_world));
    constexpr double never = 100'000; // seconds
    m_engine->setScanInterval(never);
    Vintrel::ContainerSources noContainers;
    noContainers.cliPath = [] { return std::nullopt; };
    m_content = new Vintrel::MenuBarView(*m_engine, m_fileBrowser, [] {}, noContainers);
    m_popover = std::make_unique<Vintrel::PopoverWindow>([this] { return m_content; });
    m_list = m_content->findChild<Vintrel::StrayListView*>();
    m_filter = m_content->findChild<QLineEdit*>();
    scan();
    std::set<ProcessKind> all;
    for (const Share& share : shares) {
        all.insert(share.kind);
    }
    setCollapsed(all);
    settle();
}

void ViewsScene::setCollapsed(const std::set<ProcessKind>& kinds) {
    FrameWatch::perform([&] {
        Vintrel::StraysModel& model = m_content->strays();
        for (const Share& share : shares) {
            if (model.collapsedKinds().contains(share.kind) != kinds.contains(share.kind)) {
                model.toggleCollapsed(share.kind);
            }
        }
    });
    settle();
}

void ViewsScene::expandFew() {
    std::set<ProcessKind> others;
    size_t rows = 0;
    for (const Share& share : shares) {
        if (rows < rowsOfFew) {
            rows += share.count;
        } else {
            others.insert(share.kind);
        }
    }
    setCollapsed(others);
}

void ViewsScene::expandAll() {
    setCollapsed({});
}

void ViewsScene::settle() {
    m_frames.settle([this] { return !m_engine->isScanning(); });
}

void ViewsScene::pause() {
    constexpr std::chrono::milliseconds time(500);
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
    settle();
}

void ViewsScene::scan() {
    FrameWatch::perform([this] { m_engine->scan(); });
    settle();
}

void ViewsScene::open() {
    FrameWatch::perform([this] { m_popover->present(); });
    settle();
}

void ViewsScene::close() {
    FrameWatch::perform([this] { m_popover->close(); });
    settle();
}

void ViewsScene::freeRows() {
    FrameWatch::perform([this] { m_list->freeRows(); });
    settle();
}

void ViewsScene::buildAllRows() {
    const QList<QScrollArea*> scrollAreas = m_popover->findChildren<QScrollArea*>();
    const auto around = std::ranges::find(scrollAreas, m_list, &QScrollArea::widget);
    QScrollBar* const bar = (*around)->verticalScrollBar();
    size_t before = 0;
    while (shownRows() != before) {
        before = shownRows();
        FrameWatch::perform([bar] { bar->setValue(bar->maximum()); });
        settle();
    }
    FrameWatch::perform([bar] { bar->setValue(0); });
    settle();
}

size_t ViewsScene::shownRows() const {
    return static_cast<size_t>(std::ranges::count_if(m_popover->findChildren<StrayRow*>(),
                                                     [](const StrayRow* row) { return !row->isHidden(); }));
}

size_t ViewsScene::rowsOnScreen() const {
    return static_cast<size_t>(
        std::ranges::count_if(m_popover->findChildren<StrayRow*>(), [](const StrayRow* row) {
            return row->isVisible() && !row->visibleRegion().isEmpty();
        }));
}

void ViewsScene::changeOneRow() {
    const QList<StrayRow*> rows = m_popover->findChildren<StrayRow*>();
    const auto row =
        std::ranges::find_if(rows, [](const StrayRow* one) { return !one->visibleRegion().isEmpty(); });
    constexpr int64_t notice = 10'240; // KiB
    std::ranges::find(m_world->found.items, (*row)->row().item.pid, &ProcessItem::pid)->rssKB += notice;
}

} // namespace Bench
