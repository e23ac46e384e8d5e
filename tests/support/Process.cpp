#include "tests/support/Process.h"

#include "VintrelCore/platform/Platform.h"

#include <array>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

using VintrelCore::FileDescriptor;

namespace {

std::array<FileDescriptor, 2> makePipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// In the child, between fork and exec.
[[noreturn]] void become(const ProcessOptions& options, int input, int output) {
    if (options.newSession) {
        ::setsid();
    }
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    if (!options.output.empty()) {
        const int file = ::open(options.output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        ::dup2(file, STDOUT_FILENO);
        ::dup2(file, STDERR_FILENO);
    }
    if (!options.cwd.empty() && ::chdir(options.cwd.c_str()) != 0) {
        std::_Exit(126);
    }
    for (const auto& [name, value] : options.environment) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<std::string> words = options.argv;
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    ::execvp(argv.front(), argv.data());
    std::_Exit(127);
}

} // namespace

Process::Process(const ProcessOptions& options) {
    auto input = makePipe();
    auto output = makePipe();
    m_pid = forked();
    if (m_pid == 0) {
        become(options, input[0].get(), output[1].get());
    }
    m_input = std::move(input[1]);
    m_output = std::move(output[0]);
}

Process::Process(Process&& other) noexcept
    : m_pid(std::exchange(other.m_pid, 0)),
      m_input(std::move(other.m_input)),
      m_output(std::move(other.m_output)) {}

Process::~Process() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

std::string Process::readLine() {
    std::string line;
    char byte = 0;
    while (::read(m_output.get(), &byte, 1) == 1 && byte != '\n') {
        line += byte;
    }
    return line;
}

std::string Process::readAll() {
    std::string text;
    std::array<char, 4'096> buffer{};
    for (ssize_t count = 0; (count = ::read(m_output.get(), buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<size_t>(count));
    }
    return text;
}

void Process::signal(int number) const {
    ::kill(m_pid, number);
}

int Process::wait() {
    int status = 0;
    ::waitpid(std::exchange(m_pid, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

Ended::Ended(int32_t pid) : m_pid(pid), m_start(VintrelCore::Platform::startTime(pid)) {}

Ended::Ended(Ended&& other) noexcept : m_pid(std::exchange(other.m_pid, 0)), m_start(other.m_start) {}

Ended::~Ended() {
    if (m_pid > 1 && m_start && VintrelCore::Platform::startTime(m_pid) == m_start) {
        ::kill(m_pid, SIGKILL);
    }
}

int32_t forked() {
    const pid_t pid = ::fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    return pid;
}

bool isRunning(int32_t pid) {
    const auto record = VintrelCore::Platform::processRecord(pid);
    return record && !record->isZombie;
}

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

} // namespace VintrelTests
