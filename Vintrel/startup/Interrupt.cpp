#include "Vintrel/startup/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
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
        return;
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
    for (size_t index = 0; index < caught.size(); ++index) {
        ::sigaction(caught[index], nullptr, &m_former[index]);
        if (readingEnd < 0 || m_former[index].sa_handler == SIG_IGN) {
            continue;
        }
        struct sigaction action{};
        action.sa_handler = onSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND); // a second one ends the program
        sigemptyset(&action.sa_mask);
        ::sigaction(caught[index], &action, nullptr);
    }
}

Interrupt::~Interrupt() {
    for (size_t index = 0; index < caught.size(); ++index) {
        ::sigaction(caught[index], &m_former[index], nullptr);
    }
    ::close(readingEnd);
    ::close(writingEnd);
    readingEnd = writingEnd = -1;
}

int Interrupt::descriptor() const {
    return readingEnd;
}

void Interrupt::endProgramIfOneCame() {
    const int number = signalThatCame;
    if (number == 0) {
        return;
    }
    ::signal(number, SIG_DFL);
    ::raise(number);
    std::_Exit(EXIT_FAILURE); // the signal is blocked: nothing is left but to go
}
