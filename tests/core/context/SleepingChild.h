#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

/// A child process that sleeps in a folder, under a name of the test's choice, until the end of the scope.
class SleepingChild {
public:
    explicit SleepingChild(const std::filesystem::path& folder, const std::string& name = "sleep") {
        int started[2];
        if (::pipe2(started, O_CLOEXEC) != 0 || (m_pid = ::fork()) < 0) {
            throw std::runtime_error("no child");
        }
        if (m_pid == 0) {
            if (::chdir(folder.c_str()) == 0) {
                ::execl("/bin/sleep", name.c_str(), "600", nullptr);
            }
            const char failed = '!';
            ::_exit(static_cast<int>(::write(started[1], &failed, 1)));
        }
        ::close(started[1]);
        char failed = 0;
        // The end of the pipe means that the child is no longer a copy of the test: it sleeps.
        const bool sleeps = ::read(started[0], &failed, 1) == 0;
        ::close(started[0]);
        if (!sleeps) {
            end();
            throw std::runtime_error("the child could not sleep in " + folder.string());
        }
    }

    SleepingChild(const SleepingChild&) = delete;
    SleepingChild& operator=(const SleepingChild&) = delete;

    ~SleepingChild() { end(); }

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Ends the child before the scope does, so that its pid names no process.
    void end() {
        if (m_pid > 0 && !m_ended) {
            m_ended = true;
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }

private:
    pid_t m_pid = 0;
    bool m_ended = false;
};

} // namespace VintrelTests
