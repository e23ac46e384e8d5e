// Measures one `vintrel clean` of a number of strays, beside the scan alone, and prints a row of a table.
//
//     bench_clean VINTREL COUNT
//
// To be started as process 1 of a process namespace (clean_scene.sh does it): "clean" ends every safe stray
// that it sees, and here it sees none but these.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* idleVariable = "BENCH_CLEAN_IDLE";
constexpr double grace = 2.0;              // seconds; what vintrel waits
constexpr useconds_t untilOld = 1'200'000; // ps counts whole seconds
constexpr useconds_t samplingInterval = 5'000;

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::_Exit(EXIT_FAILURE);
}

/// A test runner without a terminal, whose parent is gone.
void startStray() {
    const pid_t parent = ::fork();
    if (parent < 0) {
        fail("fork");
    }
    if (parent > 0) {
        ::waitpid(parent, nullptr, 0);
        return;
    }
    if (::fork() == 0) {
        ::setenv(idleVariable, "1", /*replace=*/1);
        ::execl("/proc/self/exe", "vitest", "--watch", nullptr);
        fail("exec");
    }
    std::_Exit(EXIT_SUCCESS);
}

struct Sample {
    double peakMegabytes = 0;
    int threads = 0;
};

/// What /proc says now of a process that still runs.
void sample(pid_t pid, Sample& most) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            most.peakMegabytes = std::max(most.peakMegabytes, std::stod(line.substr(6)) * 1'024 / 1e6);
        } else if (line.starts_with("Threads:")) {
            most.threads = std::max(most.threads, std::stoi(line.substr(8)));
        }
    }
}

/// Looks after the orphans that end meanwhile; true once `program` has ended, which is left to be reaped.
bool hasEnded(pid_t program) {
    for (;;) {
        siginfo_t info{};
        if (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
            fail("waitid");
        }
        if (info.si_pid == 0) {
            return false;
        }
        if (info.si_pid == program) {
            return true;
        }
        ::waitpid(info.si_pid, nullptr, 0);
    }
}

double cpuMilliseconds(pid_t zombie) {
    clockid_t clock{};
    timespec time{};
    if (::clock_getcpuclockid(zombie, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        fail("clock");
    }
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

pid_t start(const char* vintrel, const char* command, int output) {
    const pid_t child = ::fork();
    if (child < 0) {
        fail("fork");
    }
    if (child == 0) {
        ::dup2(output, STDOUT_FILENO);
        ::execl(vintrel, vintrel, command, nullptr);
        fail("exec");
    }
    return child;
}

struct Run {
    std::chrono::duration<double> wall{}; // seconds
    double cpuMilliseconds = 0;
    Sample most{};
};

Run run(const char* vintrel, const char* command, int output) {
    const auto before = Clock::now();
    const pid_t program = start(vintrel, command, output);
    Run run;
    while (!hasEnded(program)) {
        sample(program, run.most);
        ::usleep(samplingInterval);
    }
    run.wall = Clock::now() - before;
    run.cpuMilliseconds = cpuMilliseconds(program);
    ::waitpid(program, nullptr, 0);
    return run;
}

/// The last line that the program printed.
std::string closingLine(FILE* output) {
    std::string last;
    char line[256];
    std::rewind(output);
    while (std::fgets(line, sizeof line, output) != nullptr) {
        last.assign(line, std::strcspn(line, "\n"));
    }
    return last;
}

} // namespace

int main(int argc, char** argv) {
    if (std::getenv(idleVariable) != nullptr) {
        for (;;) {
            ::pause();
        }
    }
    if (argc != 3 || ::getpid() != 1) {
        std::fputs("bench_clean: to be started by clean_scene.sh\n", stderr);
        return EXIT_FAILURE;
    }
    const int count = std::atoi(argv[2]);
    ::setsid();
    for (int index = 0; index < count; ++index) {
        startStray();
    }
    ::usleep(untilOld);

    FILE* const nowhere = std::fopen("/dev/null", "we");
    FILE* const output = std::tmpfile();
    if (nowhere == nullptr || output == nullptr) {
        fail("output");
    }
    const Run list = run(argv[1], "list", ::fileno(nowhere));
    const Run clean = run(argv[1], "clean", ::fileno(output));
    std::printf("| %d | %.3f s | %.3f s | %.1f ms | %d | %.1f MB | %s |\n", count, list.wall.count(),
                clean.wall.count() - list.wall.count() - grace, clean.cpuMilliseconds, clean.most.threads,
                clean.most.peakMegabytes, closingLine(output).c_str());
    return EXIT_SUCCESS;
}
