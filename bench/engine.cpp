// What the engine's scans cost, against the tools that tell the same; engine_scene.sh starts it.
//
//     bench_engine cost ROUNDS       processor time of a scan and of those tools, by turns
//     bench_engine growth ROUNDS     memory and descriptors before and after so many scans
#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/startup/ProcessState.h"
#include "VintrelCore/context/Lsof.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <QCoreApplication>
#include <QEventLoop>

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Vintrel::ScanEngine;
using VintrelCore::Shell::Command;

/// Nobody is to be told anything here.
class Silence : public Vintrel::UserNotifications {
public:
    void requestAuthorization(std::function<void(bool)> onAnswer) override { onAnswer(false); }

    void readAuthorization(std::function<void(Authorization)> onAnswer) override {
        onAnswer(Authorization::denied);
    }

    void add(const Vintrel::UserNotification&) override {}
};

/// Processor time, in milliseconds, of `who`.
double used(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    constexpr double perSecond = 1e3;
    constexpr double perMicrosecond = 1e-3;
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * perSecond +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * perMicrosecond;
}

void scanOnce(ScanEngine& engine) {
    QEventLoop loop;
    const auto connection =
        QObject::connect(&engine, &ScanEngine::changed, &loop, [&](ScanEngine::Field field) {
            if (field == ScanEngine::Field::isScanning && !engine.isScanning()) {
                loop.quit();
            }
        });
    engine.scan();
    loop.exec();
    QObject::disconnect(connection);
}

/// Runs a tool as a shell would, its output thrown away.
void runBare(const Command& command) {
    std::vector<char*> argv{const_cast<char*>(command.executable.c_str())};
    std::ranges::transform(command.arguments, std::back_inserter(argv),
                           [](const std::string& word) { return const_cast<char*>(word.c_str()); });
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_RDWR);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execv(argv.front(), argv.data());
        constexpr int cannotRun = 127;
        std::_Exit(cannotRun);
    }
    ::waitpid(child, nullptr, 0);
}

/// The tools that tell what a scan finds out.
std::vector<Command> toolsOfAScan(const ScanEngine::Items& items) {
    using namespace VintrelCore;
    std::vector<Command> tools{
        {.executable = Lsof::path(), .arguments = PortRegistry::lsofArguments()},
        ScanCore::psCommand(),
        {.executable = Lsof::path(), .arguments = CwdResolver::lsofArguments(allPIDsOf(items))},
        AncestryResolver::psCommand()};
    if (const auto client = DockerService::cliPath()) {
        tools.push_back(DockerService::command(*client, {"ps", "-q"}));
    }
    return tools;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

int measureCost(ScanEngine& engine, int rounds) {
    scanOnce(engine);
    std::vector<double> ratios;
    std::vector<double> scans;
    std::vector<double> tools;
    for (int round = 0; round < rounds; ++round) {
        const double before = used(RUSAGE_SELF) + used(RUSAGE_CHILDREN);
        scanOnce(engine);
        scans.push_back(used(RUSAGE_SELF) + used(RUSAGE_CHILDREN) - before);
        const double beforeTools = used(RUSAGE_CHILDREN);
        std::ranges::for_each(toolsOfAScan(engine.items()), runBare);
        tools.push_back(used(RUSAGE_CHILDREN) - beforeTools);
        ratios.push_back(scans.back() / tools.back());
    }
    const auto [least, most] = std::ranges::minmax(ratios);
    std::printf(
        "| processor time of a scan / of its tools (%zu candidates) | %.2f (%.2f to %.2f) | at most 0.15 "
        "| %s | %.1f ms, %.1f ms |\n",
        engine.items().size(), median(ratios), least, most, median(ratios) <= 0.15 ? "met" : "**missed**",
        median(scans), median(tools));
    return EXIT_SUCCESS;
}

struct Holdings {
    long kilobytes = 0;
    long descriptors = 0;
};

/// The resident memory that is not given back, and open descriptors.
Holdings holdings() {
    ::malloc_trim(0);
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    constexpr long kilobyte = 1'024;
    return {.kilobytes = resident * ::sysconf(_SC_PAGESIZE) / kilobyte,
            .descriptors = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})};
}

int measureGrowth(ScanEngine& engine, int rounds) {
    constexpr int warmUp = 5;
    Holdings before;
    for (int round = -warmUp; round < rounds; ++round) {
        if (round == 0) {
            before = holdings();
        }
        scanOnce(engine);
    }
    const Holdings after = holdings();
    std::printf("| %d real scans: memory, descriptors | %+ld KiB, %+ld | none | | %ld KiB, %ld |\n", rounds,
                after.kilobytes - before.kilobytes, after.descriptors - before.descriptors, after.kilobytes,
                after.descriptors);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    const std::string_view mode = argc == 3 ? argv[1] : "";
    if (mode != "cost" && mode != "growth") {
        std::fputs("usage: bench_engine cost|growth ROUNDS\n", stderr);
        return EXIT_FAILURE;
    }
    QCoreApplication application(argc, argv);
    Silence silence;
    ScanEngine engine(silence);
    const int rounds = std::atoi(argv[2]);
    return mode == "cost" ? measureCost(engine, rounds) : measureGrowth(engine, rounds);
}
