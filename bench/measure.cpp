// Compares two programs, run by turns, and prints one row of a table.
//
//     bench_measure wall|work|cpu|memory LABEL TARGET ROUNDS SUBJECT... -- REFERENCE...
//
// A program may be several, run one after another, with "+" between them. "wall" and "work" (processor time
// with that of all children) compare as ratios; "cpu" (milliseconds) and "memory" (MB) as differences, and
// take the program itself without its children.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ratio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using Step = std::vector<char*>; // argv, with the null pointer at its end

constexpr int warmUpRounds = 2;

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(EXIT_FAILURE);
}

/// Starts a program whose output nobody wants. It waits for a byte from `gate` first, if there is one.
pid_t start(const Step& step, int gate = -1) {
    const pid_t child = ::fork();
    if (child != 0) {
        return child;
    }
    char byte = 0;
    if (gate >= 0 && ::read(gate, &byte, 1) != 1) {
        std::_Exit(EXIT_FAILURE);
    }
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (nowhere < 0 || ::dup2(nowhere, standard) < 0) {
            std::_Exit(EXIT_FAILURE);
        }
    }
    ::execv(step.front(), step.data());
    constexpr int cannotRun = 127;
    std::_Exit(cannotRun);
}

void requireSuccess(int status, const Step& step) {
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "bench_measure: %s failed\n", step.front());
        std::exit(EXIT_FAILURE);
    }
}

/// Milliseconds from start to end.
double wall(const Step& step) {
    const auto before = Clock::now();
    int status = 0;
    ::waitpid(start(step), &status, 0);
    const std::chrono::duration<double, std::milli> taken = Clock::now() - before;
    requireSuccess(status, step);
    return taken.count();
}

/// Milliseconds that the program itself, without its children, was on a processor. By its own clock, which
/// can be read as long as it is a zombie and counts nanoseconds; /proc tells only hundredths of a second, and
/// wait4 adds the children.
double cpu(const Step& step) {
    const pid_t child = start(step);
    siginfo_t info{};
    clockid_t clock{};
    timespec time{};
    if (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 ||
        ::clock_getcpuclockid(child, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        fail("clock");
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    requireSuccess(status, step);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Milliseconds that the program and the children that it waited for were on a processor.
double work(const Step& step) {
    int status = 0;
    rusage used{};
    ::wait4(start(step), &status, 0, &used);
    requireSuccess(status, step);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
}

double peakMegabytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        constexpr std::string_view name = "VmHWM:";
        if (line.starts_with(name)) {
            return std::stod(line.substr(name.size())) * 1'024 / 1e6; // from KiB
        }
    }
    fail("VmHWM");
}

/// The largest resident memory of the program itself. It is stopped on its way out, while it still has its
/// memory: afterwards the kernel tells only the largest of the program and its children.
double memory(const Step& step) {
    int gate[2] = {-1, -1};
    if (::pipe2(gate, O_CLOEXEC) != 0) {
        fail("pipe");
    }
    const pid_t child = start(step, gate[0]);
    if (::ptrace(PTRACE_SEIZE, child, nullptr, PTRACE_O_TRACEEXIT) != 0 || ::write(gate[1], "!", 1) != 1) {
        fail("trace");
    }
    ::close(gate[0]);
    ::close(gate[1]);
    double megabytes = 0;
    int status = 0;
    while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        const bool isEvent = status >> 16 != 0;
        if (status >> 8 == (SIGTRAP | PTRACE_EVENT_EXIT << 8)) {
            megabytes = peakMegabytes(child);
        }
        ::ptrace(PTRACE_CONT, child, nullptr, isEvent ? 0L : long{WSTOPSIG(status)});
    }
    requireSuccess(status, step);
    return megabytes;
}

struct Quantity {
    std::string_view name;
    double (*measure)(const Step&);
    const char* unit;
    bool isRatio;
};

constexpr auto quantities = std::to_array<Quantity>({{"wall", wall, "ms", true},
                                                     {"work", work, "ms", true},
                                                     {"cpu", cpu, "ms", false},
                                                     {"memory", memory, "MB", false}});

std::vector<Step> stepsOf(std::span<char* const> words) {
    std::vector<Step> steps(1);
    for (char* const word : words) {
        if (std::string_view(word) == "+") {
            steps.emplace_back();
        } else {
            steps.back().push_back(word);
        }
    }
    for (Step& step : steps) {
        if (step.empty()) {
            std::fputs("bench_measure: a program is missing\n", stderr);
            std::exit(2);
        }
        step.push_back(nullptr);
    }
    return steps;
}

double total(const std::vector<Step>& steps, const Quantity& quantity) {
    double sum = 0;
    for (const Step& step : steps) {
        sum += quantity.measure(step);
    }
    return sum;
}

struct Summary {
    double median;
    double least;
    double most;
};

Summary summaryOf(std::vector<double> values) {
    std::ranges::sort(values);
    return {.median = values[values.size() / 2], .least = values.front(), .most = values.back()};
}

void printRow(const std::string& label, double target, const Quantity& quantity, const Summary& compared,
              const Summary& subject, const Summary& reference) {
    std::printf("| %-34s | %5.2f%s (%.2f to %.2f) | at most %.2f | %-6s | %.2f %s, %.2f %s |\n",
                label.c_str(), compared.median,
                quantity.isRatio ? "" : (std::string(" ") + quantity.unit).c_str(), compared.least,
                compared.most, target, compared.median <= target ? "met" : "MISSED", subject.median,
                quantity.unit, reference.median, quantity.unit);
}

} // namespace

int main(int argc, char** argv) {
    const std::span<char* const> words(argv, static_cast<size_t>(argc));
    const auto separator = std::ranges::find(words, std::string_view("--"),
                                             [](const char* word) { return std::string_view(word); });
    const auto quantity = argc > 1 ? std::ranges::find(quantities, std::string_view(argv[1]), &Quantity::name)
                                   : quantities.end();
    constexpr size_t fixedWords = 5;
    if (words.size() <= fixedWords || separator == words.end() || quantity == quantities.end()) {
        std::fputs(
            "usage: bench_measure wall|work|cpu|memory LABEL TARGET ROUNDS SUBJECT... -- REFERENCE...\n",
            stderr);
        return 2;
    }
    const std::string label = words[2];
    const double target = std::stod(words[3]);
    const int rounds = std::max(1, std::stoi(words[4]));
    const auto subject = stepsOf({words.begin() + fixedWords, separator});
    const auto reference = stepsOf({separator + 1, words.end()});

    std::vector<double> ofSubject;
    std::vector<double> ofReference;
    std::vector<double> compared;
    for (int round = -warmUpRounds; round < rounds; ++round) {
        const double own = total(subject, *quantity);
        const double others = total(reference, *quantity);
        if (round >= 0) {
            ofSubject.push_back(own);
            ofReference.push_back(others);
            compared.push_back(quantity->isRatio ? own / others : own - others);
        }
    }
    printRow(label, target, *quantity, summaryOf(compared), summaryOf(ofSubject), summaryOf(ofReference));
    return EXIT_SUCCESS;
}
