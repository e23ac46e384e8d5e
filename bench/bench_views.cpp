// What the popover costs with 1,000 candidates; views_scene.sh starts it.
//
//     bench_views open|filter|rescan|memory|idle ROUNDS
//
// Each prints rows of one table: what was measured, its median (least to most), the processor time that the
// main thread took (median), the target and whether it is met.
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/startup/ProcessState.h"
#include "Vintrel/views/parts/AppPalette.h"
#include "bench/OwnProcess.h"
#include "bench/ViewsScene.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <QEventLoop>
#include <QKeyEvent>
#include <QStyleFactory>

#include <malloc.h>
#include <unistd.h>

namespace {

using Bench::Frame;
using Bench::FrameWatch;
using Bench::Moment;
using Bench::Sample;
using Bench::ViewsScene;
using namespace Bench::OwnProcess;

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

const char* verdict(bool isMet) {
    return isMet ? "met" : "**missed**";
}

void report(const std::string& what, const std::vector<Sample>& samples, double target) {
    std::vector<double> times;
    std::vector<double> processorTimes;
    for (const Sample& sample : samples) {
        times.push_back(sample.time);
        processorTimes.push_back(sample.processorTime);
    }
    const auto [least, most] = std::ranges::minmax(times);
    std::printf("| %s | %.1f ms (%.1f to %.1f) | %.1f ms | at most %.0f ms | %s |\n", what.c_str(),
                median(times), least, most, median(processorTimes), target, verdict(median(times) <= target));
}

[[noreturn]] void giveUp(const char* why) {
    std::fprintf(stderr, "bench_views: %s\n", why);
    std::exit(EXIT_FAILURE);
}

// Opening

/// From the call to the end of the first frame that shows all there is. A scan went by while it was closed.
Sample measureOpening(ViewsScene& scene, bool areRowsFreed) {
    FrameWatch& watch = scene.frames();
    scene.close();
    scene.scan();
    if (areRowsFreed) {
        scene.freeRows();
    }
    watch.forget();
    Moment begin;
    FrameWatch::perform([&] {
        begin = Moment::now();
        scene.popover().present();
    });
    scene.settle();
    const size_t rows = scene.rowsOnScreen();
    const auto whole = std::ranges::find_if(
        watch.frames(), [rows](const Frame& frame) { return frame.headers > 0 && frame.rows >= rows; });
    if (whole == watch.frames().end()) {
        giveUp("no frame showed it all");
    }
    return Sample::between(begin, whole->end);
}

void measureOpenings(ViewsScene& scene, const std::string& what, int rounds, bool areRowsFreed,
                     double target) {
    scene.open();
    std::vector<Sample> samples;
    for (int round = 0; round < rounds; ++round) {
        samples.push_back(measureOpening(scene, areRowsFreed));
    }
    report(what, samples, target);
}

void measureOpen(ViewsScene& scene, int rounds) {
    constexpr double mostCollapsed = 50;
    constexpr double mostExpanded = 100;
    measureOpenings(scene, "warm open, 1,000 candidates in collapsed groups", rounds, false, mostCollapsed);
    scene.expandFew();
    if (scene.shownRows() != ViewsScene::rowsOfFew) {
        giveUp("there should be 200 rows");
    }
    measureOpenings(scene, "warm open, 200 of them expanded", rounds, false, mostExpanded);
    measureOpenings(scene, "the same, rows freed before", rounds, true, mostExpanded);
}

// Typing

/// From the key event to the end of the last frame that follows from it; after a pause, so that all that an
/// earlier one left to be done later is done.
Sample measureKeystroke(ViewsScene& scene, int key, const QString& text) {
    FrameWatch& watch = scene.frames();
    watch.forget();
    Moment begin;
    FrameWatch::perform([&] {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
        begin = Moment::now();
        QCoreApplication::sendEvent(&scene.filter(), &press);
    });
    scene.settle();
    if (watch.paintedRows() == 0) {
        giveUp("a keystroke changed no row");
    }
    const Moment end = watch.frames().back().end;
    FrameWatch::perform([&] {
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
        QCoreApplication::sendEvent(&scene.filter(), &release);
    });
    scene.pause();
    return Sample::between(begin, end);
}

/// Of the 1,000 candidates 271 have a 7 in their port, 19 two of them, and one three.
void measureKeystrokes(ViewsScene& scene, const std::string& what, int rounds) {
    std::map<std::string, std::vector<Sample>> samples;
    for (int round = 0; round < rounds; ++round) {
        for (const char* const matches : {"1,000 to 271", "271 to 19", "19 to 1"}) {
            samples[matches].push_back(measureKeystroke(scene, Qt::Key_7, QStringLiteral("7")));
        }
        for (const char* const matches : {"1 to 19", "19 to 271", "271 to 1,000"}) {
            samples[matches].push_back(measureKeystroke(scene, Qt::Key_Backspace, QStringLiteral("\b")));
        }
    }
    constexpr double most = 16;
    for (const char* const matches :
         {"1,000 to 271", "271 to 19", "19 to 1", "1 to 19", "19 to 271", "271 to 1,000"}) {
        report("keystroke, " + what + ", " + matches + " matches", samples[matches], most);
    }
}

void measureFilter(ViewsScene& scene, int rounds) {
    scene.expandAll();
    scene.open();
    measureKeystrokes(scene, std::to_string(scene.shownRows()) + " rows built", rounds);
    scene.buildAllRows();
    measureKeystrokes(scene, std::to_string(scene.shownRows()) + " rows built", rounds);
}

// Rescanning

void measureRescan(ViewsScene& scene, int rounds) {
    FrameWatch& watch = scene.frames();
    scene.expandFew();
    scene.open();
    size_t painted = 0;
    std::vector<double> processorTimes;
    for (int round = 0; round < rounds; ++round) {
        watch.forget();
        const double before = threadTime();
        scene.scan();
        processorTimes.push_back(threadTime() - before);
        painted += watch.paintedRows();
    }
    std::printf("| %d rescans with the same text, 200 rows: rows painted | %zu | %.1f ms each | 0 | %s |\n",
                rounds, painted, median(processorTimes), verdict(painted == 0));
    scene.changeOneRow();
    watch.forget();
    scene.scan();
    const size_t changed = watch.paintedRows();
    std::printf("| a rescan that changes one row: rows painted | %zu | | 1 | %s |\n", changed,
                verdict(changed == 1));
}

// Memory

/// Opens and closes it again and again, with as many rows built as are without scrolling, or with all of
/// them.
void openAndClose(ViewsScene& scene, int rounds, bool isToScroll) {
    for (int round = 0; round < rounds; ++round) {
        scene.open();
        if (isToScroll) {
            scene.buildAllRows();
        }
        if (isToScroll && scene.shownRows() != ViewsScene::candidates) {
            giveUp("there should be 1,000 rows");
        }
        scene.close();
        scene.freeRows();
    }
}

void reportGrowth(const std::string& what, long before, long after, bool hasTarget) {
    constexpr double kilobytes = 1'024;
    constexpr double most = 3;
    const double growth = static_cast<double>(after - before) / kilobytes;
    std::printf("| private memory %s | %+.1f MB, from %.1f to %.1f | | %s | %s |\n", what.c_str(), growth,
                static_cast<double>(before) / kilobytes, static_cast<double>(after) / kilobytes,
                hasTarget ? "at most 3 MB" : "", hasTarget ? verdict(growth <= most) : "");
}

/// Memory that was freed and is free for use again counts; malloc_trim tells how much of the growth that is.
void measureMemory(ViewsScene& scene, int rounds) {
    const long neverOpened = privateMemory();
    openAndClose(scene, 1, false);
    const long openedOnce = privateMemory();
    reportGrowth("after the first opening, all groups collapsed", neverOpened, openedOnce, false);
    scene.expandAll();
    const auto measure = [&](bool isToScroll, const std::string& rows) {
        const std::string times = "after " + std::to_string(rounds) + " more, " + rows;
        openAndClose(scene, rounds, isToScroll);
        reportGrowth(times, openedOnce, privateMemory(), true);
        ::malloc_trim(0);
        reportGrowth(times + ", and malloc_trim", openedOnce, privateMemory(), false);
    };
    measure(false, "1,000 rows of which the first are built");
    measure(true, "1,000 rows that are all built by scrolling");
}

// Idling

/// Counts from a thread of its own, while all others have nothing to do.
void measureIdle(ViewsScene& scene) {
    scene.expandFew();
    scene.open();
    scene.close();
    QEventLoop loop;
    long wakeUps = 0;
    size_t threads = 0;
    constexpr std::chrono::seconds calm(2);
    constexpr std::chrono::seconds time(10);
    std::jthread observer([&] {
        std::this_thread::sleep_for(calm);
        const auto before = sleeps(::gettid());
        std::this_thread::sleep_for(time);
        for (const auto& [number, count] : sleeps(::gettid())) {
            const auto known = before.find(number);
            wakeUps += count - (known != before.end() ? known->second : 0);
        }
        threads = before.size();
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    observer.join();
    std::printf("| idle for 10 s, hidden after use: wake-ups of its %zu threads | %ld | | 0 | %s |\n",
                threads, wakeUps, verdict(wakeUps == 0));
}

int run(std::string_view mode, int rounds, FrameWatch& application) {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setCursorFlashTime(0); // what blinks would be painted, too
    Vintrel::AppPalette::apply({});
    ViewsScene scene(application);
    if (mode == "open") {
        measureOpen(scene, rounds);
    } else if (mode == "filter") {
        measureFilter(scene, rounds);
    } else if (mode == "rescan") {
        measureRescan(scene, rounds);
    } else if (mode == "memory") {
        measureMemory(scene, rounds);
    } else {
        measureIdle(scene);
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    const std::string_view mode = argc == 3 ? argv[1] : "";
    if (mode != "open" && mode != "filter" && mode != "rescan" && mode != "memory" && mode != "idle") {
        std::fputs("usage: bench_views open|filter|rescan|memory|idle ROUNDS\n", stderr);
        return EXIT_FAILURE;
    }
    const Bench::OwnFolders folders;
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    Vintrel::Desktop::choosePlatformTheme();
    FrameWatch application(argc, argv);
    ::setvbuf(stdout, nullptr, _IOLBF, 0); // each figure when it is known
    const int rounds = std::max(1, std::atoi(argv[2]));
    return run(mode, rounds, application);
}
