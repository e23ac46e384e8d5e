// Starts a process that looks like a developer tool, in the place in the process tree that a test asks for.
//
//   stray [--adopter] [--leader] [--terminal open|closed] [--cwd FOLDER] [--port PORT] [--lifetime SECONDS]
//   -- ARGV...
//
// The stray is an orphan with the command line ARGV, without a terminal and no session leader, unless told
// otherwise:
//   --leader    it leads a session of its own
//   --terminal  it had a terminal: one that is still open, or one that was closed
//   --adopter   it is adopted by a process "systemd --user" that this program stands in for
//   --zombie    it has ended, and the adopter does not look after it
//   --ignores-term  it does not end when it is asked to
//   --hosts-terminal  it holds a terminal's other side, as a terminal's window does
//   --secretive  it keeps the right to look into other processes, and nothing without that right can look
//   into it
// ARGV may hold the words --below and --worker: what follows is the command line of a child of the process
// before it. A worker ends with its parent, as those of test runners do. Its pid is printed on a line; then
// the program waits for the end of its standard input if it has something to keep (the adopter, the open
// terminal), and ends. The stray itself ends after its lifetime at the latest.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* idleVariable = "VINTREL_TEST_IDLE"; // set in the stray: how long it lives
constexpr const char* adopterVariable = "VINTREL_TEST_ADOPTER";

struct Options {
    bool adopter = false;
    bool leader = false;
    bool zombie = false;
    bool ignoresTerm = false;
    bool hostsTerminal = false;
    bool secretive = false;
    std::string terminal;
    std::string cwd;
    int port = 0;
    std::string lifetime = "120";
    std::vector<char*> argv;
};

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::_Exit(EXIT_FAILURE);
}

/// In the stray, whose starter waits for its success.
[[noreturn]] void report(int failures, const char* what) {
    [[maybe_unused]] const ssize_t written = ::write(failures, "!", 1);
    fail(what);
}

Options parse(int argc, char** argv) {
    Options options;
    int index = 1;
    for (; index < argc && std::strcmp(argv[index], "--") != 0; ++index) {
        const std::string word = argv[index];
        const auto value = [&] { return std::string(argv[++index]); };
        if (word == "--adopter") {
            options.adopter = true;
        } else if (word == "--leader") {
            options.leader = true;
        } else if (word == "--zombie") {
            options.zombie = true;
        } else if (word == "--ignores-term") {
            options.ignoresTerm = true;
        } else if (word == "--hosts-terminal") {
            options.hostsTerminal = true;
        } else if (word == "--secretive") {
            options.secretive = true;
        } else if (word == "--terminal") {
            options.terminal = value();
        } else if (word == "--cwd") {
            options.cwd = value();
        } else if (word == "--port") {
            options.port = std::stoi(value());
        } else if (word == "--lifetime") {
            options.lifetime = value();
        }
    }
    options.argv.assign(argv + index + 1, argv + argc);
    options.argv.push_back(nullptr);
    return options;
}

void listenOn(int port, int failures) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0); // inherited by the stray
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, 1) != 0) {
        report(failures, "listen");
    }
}

/// Opens a terminal and makes it this session's; the returned descriptor is its other side.
int takeTerminal() {
    const int other = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (other < 0 || ::grantpt(other) != 0 || ::unlockpt(other) != 0) {
        fail("terminal");
    }
    const int terminal = ::open(::ptsname(other), O_RDWR | O_CLOEXEC);
    if (terminal < 0 || ::ioctl(terminal, TIOCSCTTY, 0) != 0) {
        fail("controlling terminal");
    }
    return other;
}

/// The argument of a command line behind which that of a child begins, or its end.
char** endOfCommand(char** argv) {
    while (*argv != nullptr && std::string_view(*argv) != "--below" &&
           std::string_view(*argv) != "--worker") {
        ++argv;
    }
    return argv;
}

/// Becomes an idle process with that command line, having started the children that are to be below it.
[[noreturn]] void becomeIdle(char** argv, int failures) {
    char** const end = endOfCommand(argv);
    if (*end != nullptr) {
        const pid_t child = ::fork();
        if (child == 0) {
            const bool isWorker = std::string_view(*end) == "--worker";
            ::prctl(PR_SET_PDEATHSIG, isWorker ? SIGKILL : 0);
            becomeIdle(end + 1, failures);
        }
        if (child < 0) {
            report(failures, "fork");
        }
    }
    std::vector<char*> words(argv, end);
    words.push_back(nullptr);
    ::execv("/proc/self/exe", words.data());
    report(failures, "exec");
}

/// Becomes the stray: the same program, under the wanted command line, idle.
[[noreturn]] void becomeStray(Options& options, int failures) {
    if (options.leader) {
        ::setsid();
    }
    if (!options.cwd.empty() && ::chdir(options.cwd.c_str()) != 0) {
        report(failures, "chdir");
    }
    if (options.port != 0) {
        listenOn(options.port, failures);
    }
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
        ::dup2(null, descriptor);
    }
    if (options.hostsTerminal && ::posix_openpt(O_RDWR | O_NOCTTY) < 0) { // the stray inherits it
        report(failures, "terminal");
    }
    if (options.ignoresTerm) {
        ::signal(SIGTERM, SIG_IGN);
    }
    if (!options.secretive) {
        ::prctl(PR_CAPBSET_DROP, CAP_SYS_PTRACE); // who is to look into it needs no less than it has
    }
    ::signal(SIGHUP, SIG_IGN); // as nohup does it: what the terminal sends at its end may come at once
    ::setenv(idleVariable, options.zombie ? "0" : options.lifetime.c_str(), 1);
    becomeIdle(options.argv.data(), failures);
}

/// Starts the stray from a process that then ends, and returns its pid once its command line is in place.
pid_t startOrphan(Options& options) {
    int started[2];
    if (::pipe2(started, O_CLOEXEC) != 0) {
        fail("pipe");
    }
    const pid_t parent = ::fork();
    if (parent == 0) {
        const pid_t stray = ::fork();
        if (stray == 0) {
            becomeStray(options, started[1]); // exec closes the pipe, and so says that it is done
        }
        [[maybe_unused]] const ssize_t written = ::write(started[1], &stray, sizeof stray);
        std::_Exit(EXIT_SUCCESS);
    }
    ::close(started[1]);
    ::waitpid(parent, nullptr, 0);
    pid_t stray = 0;
    if (::read(started[0], &stray, sizeof stray) != sizeof stray) {
        fail("start");
    }
    char failure = 0;
    if (::read(started[0], &failure, 1) != 0) { // the end of the pipe says that exec has happened
        fail("the stray");
    }
    return stray;
}

/// The same program under the name of a user's service manager.
[[noreturn]] void becomeAdopter(int argc, char** argv) {
    std::string name = "systemd";
    std::string role = "--user"; // parse() passes over it
    std::vector<char*> words{name.data(), role.data()};
    words.insert(words.end(), argv + 1, argv + argc);
    words.push_back(nullptr);
    ::setenv(adopterVariable, "1", 1);
    ::execv("/proc/self/exe", words.data());
    fail("exec");
}

void waitForEndOfInput() {
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
}

int idle(const char* lifetime) {
    const auto seconds = static_cast<unsigned>(std::atoi(lifetime));
    if (seconds > 0) {
        ::alarm(seconds);
        for (;;) {
            ::pause();
        }
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    if (const char* const lifetime = std::getenv(idleVariable)) {
        return idle(lifetime);
    }
    Options options = parse(argc, argv);
    const bool isAdopterAlready = std::getenv(adopterVariable) != nullptr;
    if (options.adopter && !isAdopterAlready) {
        becomeAdopter(argc, argv);
    }
    if (isAdopterAlready) {
        ::unsetenv(adopterVariable);
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    }
    ::setsid();
    int terminal = -1;
    if (!options.terminal.empty()) {
        terminal = takeTerminal();
    }
    const pid_t stray = startOrphan(options);
    if (options.terminal == "closed") {
        ::signal(SIGHUP, SIG_IGN);
        ::close(terminal);
    }
    std::printf("%d\n", stray);
    std::fflush(stdout);
    if (options.adopter || options.terminal == "open") {
        waitForEndOfInput();
    }
    return EXIT_SUCCESS;
}
