// Sets the scene that list_scene.sh measures: idle processes with the command lines of a developer's machine.
//
//     bench_scene FOLDER
//
// Prints the pids of the candidates among them, separated by commas, once all stand; ends them all when its
// standard input closes, or when it is ended itself, however that happens.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t processCount = 1'000;
constexpr size_t candidateCount = 50;
constexpr size_t listenerCount = 6; ///< the first so many candidates
constexpr size_t projectCount = 10;
constexpr size_t openFiles = 20; ///< in each process, the three standard ones included
constexpr size_t daemonEvery = 30;

constexpr const char* folderVariable = "BENCH_SCENE_FOLDER";
constexpr const char* indexVariable = "BENCH_SCENE_INDEX";

// Each is completed by a number that tells its copies apart.
constexpr auto candidates = std::to_array<std::string_view>({
    "node /x/node_modules/.bin/vite --port ",
    "node /x/node_modules/.bin/jest --watch --seed ",
    "node /x/node_modules/.bin/vitest --port ",
    "node /x/node_modules/.bin/next dev -p ",
    "node /x/node_modules/.bin/playwright test --repeat-each ",
    "node /x/server.js --port ",
    "/x/.venv/bin/python3 -m uvicorn app.main:app --reload --port ",
    "/x/.venv/bin/python3 -m pytest -x tests --maxfail ",
    "/usr/local/bin/bun run server.ts --port ",
    "cargo watch -x check --delay ",
});

constexpr auto bystanders = std::to_array<std::string_view>({
    "/lib/systemd/systemd-networkd --instance ",
    "/usr/sbin/sshd -D -p ",
    "-bash ",
    "/usr/bin/zsh -il ",
    "vim src/components/Panel.tsx +",
    "/usr/lib/postgresql/15/bin/postgres -D /var/lib/postgresql/15/main -p ",
    "/usr/bin/gnome-shell --mode=user --display=",
    "/usr/share/code/code --type=renderer --enable-crash-reporter=no_channel "
    "--standard-schemes=vscode-webview "
    "--enable-sandbox --cors-schemes=vscode-webview,vscode-file --lang=en-US --renderer-client-id=",
    "/opt/browser/browser --type=renderer --extension-process --display-capture-permissions-policy-allowed "
    "--lang=en-US --num-raster-threads=4 --shared-files=v8_context_snapshot_data:100 "
    "--field-trial-handle=0,i,1409621793,2047113971,262144 --renderer-client-id=",
    "make -C build -j",
    "tail -n 100 -f /var/log/syslog.",
    "java -Xmx4g -cp /opt/search/lib/search.jar org.search.bootstrap.Search -p ",
});

/// What a process tells the helper once it stands. Small enough to be written in one piece.
struct Report {
    pid_t pid = 0;
    size_t index = 0;
};

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::_Exit(EXIT_FAILURE);
}

bool isCandidate(size_t index) {
    return index < candidateCount;
}

/// Strays and daemons have process 1 for a parent.
bool isOrphan(size_t index) {
    return isCandidate(index) || index % daemonEvery == 0;
}

std::string commandLine(size_t index) {
    const auto pick = [index](const auto& lines) { return std::string(lines[index % lines.size()]); };
    return isCandidate(index) ? pick(candidates) + std::to_string(5'200 + index)
                              : pick(bystanders) + std::to_string(index);
}

std::vector<std::string> words(const std::string& line) {
    std::vector<std::string> found;
    for (size_t start = 0; start < line.size();) {
        const size_t end = std::min(line.find(' ', start), line.size());
        found.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    return found;
}

std::filesystem::path workingDirectory(const std::filesystem::path& folder, size_t index) {
    return folder / "home" / ("project-" + std::to_string(index % projectCount)) / "packages" / "web";
}

std::filesystem::path openedFile(const std::filesystem::path& folder, size_t number) {
    return folder / "opened" / std::to_string(number);
}

void prepareFolder(const std::filesystem::path& folder) {
    for (size_t index = 0; index < projectCount; ++index) {
        const auto directory = workingDirectory(folder, index);
        std::filesystem::create_directories(directory);
        std::filesystem::create_directory(directory.parent_path().parent_path() / ".git");
    }
    std::filesystem::create_directories(folder / "opened");
    for (size_t number = 0; number < openFiles; ++number) {
        std::ofstream(openedFile(folder, number)) << number;
    }
}

void listenOnSomePort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    if (listener < 0 || ::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, 1) != 0) {
        fail("listen");
    }
}

/// A process of the scene. Its standard input ends together with the scene.
int idle(const std::filesystem::path& folder, size_t index) {
    std::filesystem::current_path(isCandidate(index) ? workingDirectory(folder, index) : "/");
    size_t opened = 3;
    if (index < listenerCount) {
        listenOnSomePort();
        ++opened;
    }
    for (; opened < openFiles; ++opened) {
        if (::open(openedFile(folder, opened).c_str(), O_RDONLY) < 0) {
            fail("open");
        }
    }
    const Report report{.pid = ::getpid(), .index = index};
    if (::write(STDOUT_FILENO, &report, sizeof report) != sizeof report) {
        fail("report");
    }
    char byte = 0;
    return ::read(STDIN_FILENO, &byte, 1) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

struct Pipe {
    int reading = -1;
    int writing = -1;
};

Pipe openPipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        fail("pipe");
    }
    return {.reading = ends[0], .writing = ends[1]};
}

/// Becomes process `index` of the scene.
[[noreturn]] void become(size_t index, const Pipe& lifeline, const Pipe& reports) {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0 || ::dup2(lifeline.reading, STDIN_FILENO) < 0 ||
        ::dup2(reports.writing, STDOUT_FILENO) < 0 || ::dup2(nowhere, STDERR_FILENO) < 0 ||
        ::close_range(STDERR_FILENO + 1, ~0U, 0) != 0 || // whatever else this helper was started with
        ::setenv(indexVariable, std::to_string(index).c_str(), /*replace=*/1) != 0) {
        fail("prepare");
    }
    std::vector<std::string> arguments = words(commandLine(index));
    std::vector<char*> argv;
    std::ranges::transform(arguments, std::back_inserter(argv),
                           [](auto& argument) { return argument.data(); });
    argv.push_back(nullptr);
    ::execv("/proc/self/exe", argv.data());
    fail("exec");
}

void start(size_t index, const Pipe& lifeline, const Pipe& reports) {
    const pid_t child = ::fork();
    if (child < 0) {
        fail("fork");
    }
    if (child > 0) {
        if (isOrphan(index)) {
            ::waitpid(child, nullptr, 0);
        }
        return;
    }
    if (isOrphan(index)) {
        const pid_t orphan = ::fork();
        if (orphan != 0) {
            std::_Exit(orphan > 0 ? EXIT_SUCCESS : EXIT_FAILURE);
        }
    }
    become(index, lifeline, reports);
}

/// The pids of the candidates, as lsof takes them.
std::string awaitAll(int reports) {
    std::string pids;
    for (size_t count = 0; count < processCount; ++count) {
        Report report;
        if (::read(reports, &report, sizeof report) != sizeof report) {
            fail("a process of the scene did not start");
        }
        if (isCandidate(report.index)) {
            pids += (pids.empty() ? "" : ",") + std::to_string(report.pid);
        }
    }
    return pids;
}

void awaitEndOfInput(int input) {
    char byte = 0;
    while (::read(input, &byte, 1) > 0) {
    }
}

int setScene(const std::filesystem::path& folder) {
    prepareFolder(folder);
    ::setenv(folderVariable, folder.c_str(), /*replace=*/1);
    const Pipe lifeline = openPipe();
    const Pipe reports = openPipe();
    for (size_t index = 0; index < processCount; ++index) {
        start(index, lifeline, reports);
    }
    ::close(reports.writing);
    std::puts(awaitAll(reports.reading).c_str());
    std::fflush(stdout);

    awaitEndOfInput(STDIN_FILENO);
    ::close(lifeline.reading);
    ::close(lifeline.writing);
    awaitEndOfInput(reports.reading); // it ends with the last process of the scene
    while (::wait(nullptr) > 0) {
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    const char* const folder = std::getenv(folderVariable);
    const char* const index = std::getenv(indexVariable);
    if (folder != nullptr && index != nullptr) {
        return idle(folder, std::stoul(index));
    }
    if (argc != 2) {
        std::fputs("usage: bench_scene FOLDER\n", stderr);
        return 2;
    }
    return setScene(std::filesystem::absolute(argv[1]));
}
