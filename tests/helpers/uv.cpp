// Stands in for uv, which neither Debian nor npm has, under its name:
//
//   uv run COMMAND [ARGUMENT...]
//
// As the real one does, it starts a command of the project's virtual environment, waits for it, and passes on
// the signals that ask it to end.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile sig_atomic_t command = 0;

void passOn(int signal) {
    ::kill(command, signal);
}

/// Signals that come before there is a command to pass them on to wait.
void block(int how) {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    ::sigprocmask(how, &signals, nullptr);
}

[[noreturn]] void become(char** argv) {
    block(SIG_UNBLOCK);
    char* const folder = ::getcwd(nullptr, 0);
    const std::string path = std::string(folder) + "/.venv/bin:" + std::getenv("PATH");
    ::setenv("PATH", path.c_str(), 1);
    ::execvp(argv[0], argv);
    std::perror(argv[0]);
    std::_Exit(EXIT_FAILURE);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3 || std::string_view(argv[1]) != "run") {
        std::fputs("usage: uv run COMMAND [ARGUMENT...]\n", stderr);
        return EXIT_FAILURE;
    }
    block(SIG_BLOCK);
    const pid_t child = ::fork();
    if (child < 0) {
        std::perror("fork");
        return EXIT_FAILURE;
    }
    if (child == 0) {
        become(argv + 2);
    }
    command = child;
    ::signal(SIGINT, passOn);
    ::signal(SIGTERM, passOn);
    block(SIG_UNBLOCK);
    int status = 0;
    ::waitpid(child, &status, 0); // signal() has it go on after a signal
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}
