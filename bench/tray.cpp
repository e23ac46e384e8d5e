// What the application's icon costs; tray_scene.sh starts it, on a session bus without another tray.
//
//     bench_tray start ROUNDS PROGRAM         from starting the program to its icon's registration
//     bench_tray idle SECONDS PROGRAM BARE    memory and wake-ups beside a bare program with an icon
//
// Each prints rows of one table: what was measured, its figure, the target and whether it is met.
#include "bench/TrayWatcher.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Bench::TrayWatcher;
using Moment = TrayWatcher::Moment;
namespace fs = std::filesystem;

constexpr double kilobytesPerMegabyte = 1e6 / 1'024;

[[noreturn]] void giveUp(const char* why) {
    std::fprintf(stderr, "bench_tray: %s\n", why);
    std::exit(EXIT_FAILURE);
}

const char* verdict(bool isMet) {
    return isMet ? "met" : "**missed**";
}

void wait(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// A program with an icon in the tray, which ends with the scope.
class Program {
public:
    /// Waits until its icon has registered.
    Program(TrayWatcher& tray, char* path) {
        QEventLoop loop;
        tray.setOnRegistered([this, &loop](pid_t owner, Moment moment) {
            if (owner == m_pid) {
                m_registered = moment;
                loop.quit();
            }
        });
        constexpr std::chrono::seconds patience(20);
        QTimer::singleShot(patience, &loop, [] { giveUp("no icon came"); });
        char* argv[] = {path, nullptr};
        m_started = std::chrono::steady_clock::now();
        if (::posix_spawn(&m_pid, path, nullptr, nullptr, argv, ::environ) != 0) {
            giveUp("cannot start the program");
        }
        loop.exec();
        tray.setOnRegistered({});
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    ~Program() {
        ::kill(m_pid, SIGTERM);
        ::waitpid(m_pid, nullptr, 0);
    }

    [[nodiscard]] double millisecondsToIcon() const {
        return std::chrono::duration<double, std::milli>(m_registered - m_started).count();
    }

    /// The sum of the memory map's lines that begin so, in MB.
    [[nodiscard]] double megabytes(std::string_view name) const {
        std::ifstream lines(folder() / "smaps_rollup");
        double sum = 0;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(name)) {
                sum += std::stod(line.substr(line.find(':') + 1)) / kilobytesPerMegabyte;
            }
        }
        return sum;
    }

    /// How often any of its threads was on a processor so far; counts also what did nothing there.
    [[nodiscard]] long wakeUps() const {
        long sum = 0;
        for (const auto& thread : fs::directory_iterator(folder() / "task")) {
            long running = 0;
            long waiting = 0;
            long times = 0;
            std::ifstream(thread.path() / "schedstat") >> running >> waiting >> times;
            sum += times;
        }
        return sum;
    }

    /// Waits until it has had nothing to do for three seconds.
    void settle() const {
        constexpr int mostTries = 40;
        constexpr std::chrono::seconds quiet(3);
        for (int tries = 0; tries < mostTries; ++tries) {
            const long before = wakeUps();
            wait(quiet);
            if (wakeUps() == before) {
                return;
            }
        }
        giveUp("the program does not come to rest");
    }

private:
    [[nodiscard]] fs::path folder() const { return "/proc/" + std::to_string(m_pid); }

    pid_t m_pid = 0;
    Moment m_started;
    Moment m_registered;
};

void measureStarts(TrayWatcher& tray, int rounds, char* path) {
    constexpr double target = 150;
    constexpr int warmUp = 2;
    std::vector<double> times;
    for (int round = -warmUp; round < rounds; ++round) {
        const Program program(tray, path);
        if (round >= 0) {
            times.push_back(program.millisecondsToIcon());
        }
        wait(std::chrono::milliseconds(300)); // the answers to what panels ask; and what else a start brings
    }
    std::ranges::sort(times);
    const double median = times[times.size() / 2];
    std::printf(
        "| from start to registered icon, %d starts | %.1f ms (%.1f to %.1f) | at most %.0f ms | %s |\n",
        rounds, median, times.front(), times.back(), target, verdict(median <= target));
}

void measureIdling(TrayWatcher& tray, int seconds, char* path, char* barePath) {
    const Program bare(tray, barePath);
    const Program program(tray, path);
    bare.settle();
    program.settle();
    const long wakeUpsBefore = program.wakeUps();
    wait(std::chrono::seconds(seconds));
    const long wakeUps = program.wakeUps() - wakeUpsBefore;

    constexpr double mostPrivate = 8;
    constexpr double mostShare = 1.4;
    const double own = program.megabytes("Private_Clean:") + program.megabytes("Private_Dirty:");
    const double bareOwn = bare.megabytes("Private_Clean:") + bare.megabytes("Private_Dirty:");
    const double share = program.megabytes("Pss:");
    const double bareShare = bare.megabytes("Pss:");
    std::printf("| private memory | %.2f MB; the bare program %.2f | at most %.0f MB | %s |\n", own, bareOwn,
                mostPrivate, verdict(own <= mostPrivate));
    std::printf(
        "| proportional set size / the bare program's | %.2f: %.2f and %.2f MB | at most %.1f | %s |\n",
        share / bareShare, share, bareShare, mostShare, verdict(share <= mostShare * bareShare));
    std::printf("| idle for %d s: wake-ups of all threads | %ld | 0 | %s |\n", seconds, wakeUps,
                verdict(wakeUps == 0));
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::string_view mode = argc > 1 ? argv[1] : "";
    const int count = argc > 2 ? std::max(std::atoi(argv[2]), 1) : 1;
    TrayWatcher tray;
    if (mode == "start" && argc == 4) {
        measureStarts(tray, count, argv[3]);
    } else if (mode == "idle" && argc == 5) {
        measureIdling(tray, count, argv[3], argv[4]);
    } else {
        std::fputs("usage: bench_tray start ROUNDS PROGRAM | idle SECONDS PROGRAM BARE\n", stderr);
        return EXIT_FAILURE;
    }
}
