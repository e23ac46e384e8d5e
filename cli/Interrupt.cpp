#include "cli/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

// A signal handler can reach nothing but globals.
std::atomic<int> signalThatCame = 0;
int readingEnd = -1;
int writingEnd = -1;

extern "C" void onSignal(int number) {
    const int savedError = errno;
    signalThatCame = number;
    [[maybe_unused]] const ssize_t written = ::write(writingEnd, "!", 1);
    errno = savedError;
}

void openPipe() {
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0) {
        return; // without it a signal ends the program as always, and tools end at their deadlines
    }
    readingEnd = ends[0];
    writingEnd = ends[1];
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
}

} // namespace

Interrupt::Interrupt() {
    openPipe();
    if (readingEnd < 0) {
        return;
    }
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction current{};
        if (::sigaction(number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN) {
            struct sigaction action{};
            action.sa_handler = onSignal;
            sigemptyset(&action.sa_mask);
            ::sigaction(number, &action, nullptr);
        }
    }
}

int Interrupt::descriptor() const {
    return readingEnd;
}

void Interrupt::endProgram() {
    const int number = signalThatCame != 0 ? signalThatCame.load() : SIGINT;
    ::signal(number, SIG_DFL);
    ::raise(number);
    std::_Exit(EXIT_FAILURE); // the signal is blocked: nothing is left but to go
}
