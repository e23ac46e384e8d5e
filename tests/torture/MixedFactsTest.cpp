// Numbers that change hands while processes are looked at: what is told of one must never be another one's.
//
// Every process here says the same of itself in four ways: by its arguments, its folder, its program's name
// and its program's file. The nightly run sets VINTREL_LONG_TESTS for the full numbers.
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Facts.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/torture/NamespacedRun.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;

namespace {

constexpr int firstNumber = 1'000;
constexpr int numbers = 7;   // that are used again and again
constexpr int folders = 997; // no common factor with the numbers: a number comes back with another folder
constexpr int programs = 10;

int processesToStart() {
    return std::getenv("VINTREL_LONG_TESTS") != nullptr ? 10'000 : 2'000;
}

/// What the two processes share.
struct Progress {
    std::atomic<int> started = 0; ///< under the few numbers
    std::atomic<bool> isOver = false;
};

std::string programName(int process) {
    return "s" + std::to_string(process % programs);
}

void makeScene(const std::filesystem::path& root) {
    for (int program = 0; program < programs; ++program) {
        std::filesystem::copy_file("/bin/sleep", root / programName(program));
    }
    for (int folder = 0; folder < folders; ++folder) {
        std::filesystem::create_directory(root / ("d" + std::to_string(folder)));
    }
}

[[noreturn]] void beTheProcess(const std::filesystem::path& root, int process) {
    const auto folder = root / ("d" + std::to_string(process % folders));
    const std::string words = "vitest-" + std::to_string(process);
    if (::chdir(folder.c_str()) == 0) {
        ::execl((root / programName(process)).c_str(), words.c_str(), "0.003", nullptr);
    }
    ::_exit(1);
}

/// Starts one process after another under the same few numbers.
[[noreturn]] void startProcesses(const std::filesystem::path& root, Progress& progress) {
    for (int process = 0; !progress.isOver; ++process) {
        const FileDescriptor next(::open("/proc/sys/kernel/ns_last_pid", O_WRONLY | O_CLOEXEC));
        const std::string before = std::to_string(firstNumber + process % numbers - 1);
        if (::write(next.get(), before.data(), before.size()) < 0) {
            ::_exit(1);
        }
        const pid_t started = forked();
        if (started == 0) {
            beTheProcess(root, process);
        }
        const bool isAsWanted = started >= firstNumber && started < firstNumber + numbers;
        progress.started += isAsWanted ? 1 : 0;
        ::usleep(500);
        while (::waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    }
    ::_exit(0);
}

/// The number behind a prefix; absent for anything else.
std::optional<int> numberIn(std::string_view text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return std::nullopt;
    }
    text.remove_prefix(prefix.size());
    return Text::parseInteger<int>(Text::takeWord(text));
}

std::optional<int> numberOfFile(const std::string& path, std::string_view prefix) {
    return numberIn(std::filesystem::path(path).filename().string(), prefix);
}

/// Looks at what there is, and counts: as `others` what was told of processes that can be told apart, as
/// `wrongOutcomes` what was another one's.
using Look = std::function<void(Figures& figures)>;

void judge(Figures& figures, int process, const std::optional<int>& folder,
           const std::optional<int>& program) {
    figures.others += folder && program ? 1 : 0;
    figures.wrongOutcomes += folder && *folder != process % folders ? 1 : 0;
    figures.wrongOutcomes += program && *program != process % programs ? 1 : 0;
}

void lookAtFacts(Figures& figures) {
    const auto facts = Platform::kernelFacts();
    for (const Platform::ProcessFacts& process : facts->processes()) {
        const auto number = numberIn(process.command, "vitest-");
        const auto arguments = facts->arguments(process.pid);
        const auto told =
            arguments && !arguments->empty() ? numberIn(arguments->front(), "vitest-") : std::nullopt;
        figures.wrongOutcomes += number && told && *number != *told ? 1 : 0;
        const auto name = numberIn(process.name, "s");
        figures.wrongOutcomes += number && name && *name != *number % programs ? 1 : 0;
        if (const auto known = number ? number : told) {
            const auto directories = facts->folders({&process.pid, 1}).byPID;
            const auto directory = directories.find(process.pid);
            const auto executable = facts->executable(process.pid);
            judge(figures, *known,
                  directory != directories.end() ? numberOfFile(directory->second, "d") : std::nullopt,
                  executable ? numberOfFile(*executable, "s") : std::nullopt);
        }
    }
}

/// As it must not be done: each fact by the process's number, as whoever has it by then.
void lookByNumber(Figures& figures) {
    for (int pid = firstNumber; pid < firstNumber + numbers; ++pid) {
        const std::filesystem::path process = "/proc/" + std::to_string(pid);
        const std::string words = File::readKernelFile(process / "cmdline", 256).value_or("");
        ::usleep(2'000); // as long as a tool takes
        if (const auto number = numberIn(words.substr(0, words.find('\0')), "vitest-")) {
            std::error_code gone;
            const auto folder = std::filesystem::read_symlink(process / "cwd", gone);
            judge(figures, *number, numberOfFile(folder.string(), "d"), std::nullopt);
        }
    }
}

Figures lookWhileNumbersChangeHands(const Look& look) {
    const TemporaryFolder folder;
    makeScene(folder.path());
    void* const shared =
        ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        return {};
    }
    auto& progress = *new (shared) Progress;
    const pid_t starter = forked();
    if (starter == 0) {
        startProcesses(folder.path(), progress);
    }
    Figures figures{.isPrepared = true};
    while (progress.started < processesToStart() && ::waitpid(starter, nullptr, WNOHANG) == 0) {
        look(figures);
    }
    figures.recycled = progress.started - numbers;
    progress.isOver = true;
    ::waitpid(starter, nullptr, 0);
    return figures;
}

} // namespace

TEST(MixedFacts, areNoneWhileNumbersChangeHands) {
    VINTREL_NEEDS_NAMESPACES();
    NamespacedRun run([] { return lookWhileNumbersChangeHands(lookAtFacts); });
    const Figures figures = run.wait();
    std::cout << "recycled " << figures.recycled << " numbers: " << figures.wrongOutcomes << " of "
              << figures.others << " records mixed\n";
    EXPECT_TRUE(figures.isPrepared) << "the run did not come to its end";
    EXPECT_GE(figures.recycled, processesToStart() - numbers);
    EXPECT_GE(figures.others, 100) << "the test is about something";
    EXPECT_EQ(figures.wrongOutcomes, 0);
}

TEST(MixedFacts, areFoundOutWhereProcessesAreReadByTheirNumbers) {
    VINTREL_NEEDS_NAMESPACES();
    NamespacedRun run([] { return lookWhileNumbersChangeHands(lookByNumber); });
    const Figures figures = run.wait();
    EXPECT_TRUE(figures.isPrepared);
    EXPECT_GT(figures.wrongOutcomes, 0);
}
