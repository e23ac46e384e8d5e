#include "bench/OwnProcess.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace Bench::OwnProcess {

namespace {

/// The sum of the numbers that follow `name` at the beginning of a line.
long sumOf(const std::filesystem::path& file, std::string_view name) {
    std::ifstream lines(file);
    long sum = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name)) {
            sum += std::atol(line.c_str() + name.size());
        }
    }
    return sum;
}

} // namespace

double threadTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    constexpr double perSecond = 1e3;
    constexpr double perNanosecond = 1e-6;
    return static_cast<double>(time.tv_sec) * perSecond + static_cast<double>(time.tv_nsec) * perNanosecond;
}

long privateMemory() {
    constexpr const char* file = "/proc/self/smaps_rollup";
    return sumOf(file, "Private_Dirty:") + sumOf(file, "Swap:");
}

std::map<std::string, long> sleeps(pid_t observer) {
    std::map<std::string, long> counts;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        const std::string number = thread.path().filename();
        if (number != std::to_string(observer)) {
            counts[number] = sumOf(thread.path() / "status", "voluntary_ctxt_switches:");
        }
    }
    return counts;
}

} // namespace Bench::OwnProcess
