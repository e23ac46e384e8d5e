#include "VintrelCore/platform/TimedQuestion.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Spawning.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelCore::Platform {

namespace {

using Clock = std::chrono::steady_clock;

/// Other descriptors may be pipes of tools; a copy that kept them open would delay their end of file.
void closeAllBut(int kept) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    constexpr rlim_t most = 65'536;
    for (int descriptor = 0; static_cast<rlim_t>(descriptor) < std::min(limit.rlim_cur, most); ++descriptor) {
        if (descriptor != kept) {
            ::close(descriptor);
        }
    }
}

/// Called in the copy: sets a timer that ends it at the deadline.
void endAfter(std::chrono::milliseconds deadline) {
    sigset_t all;
    sigfillset(&all); // a macro on some systems
    ::signal(SIGALRM, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    ::sigprocmask(SIG_UNBLOCK, &all, nullptr);
    const itimerval timer{
        .it_interval = {},
        .it_value = {.tv_sec = static_cast<time_t>(deadline.count() / 1'000),
                     .tv_usec = static_cast<suseconds_t>(deadline.count() % 1'000 * 1'000)}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

void tell(int pipe, const std::string& answer) {
    const std::string told = std::to_string(answer.size()) + ":" + answer;
    std::string_view rest = told;
    while (!rest.empty()) {
        const ssize_t written = ::write(pipe, rest.data(), rest.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        rest.remove_prefix(static_cast<size_t>(std::max<ssize_t>(written, 0)));
    }
}

/// Absent when it was cut off.
std::optional<std::string> wholeAnswer(std::string_view told) {
    const auto colon = told.find(':');
    const auto length = Text::parseInteger<int64_t>(told.substr(0, colon));
    const bool isWhole =
        colon != std::string_view::npos && length && told.size() - colon - 1 == static_cast<size_t>(*length);
    return isWhole ? std::optional(std::string(told.substr(colon + 1))) : std::nullopt;
}

} // namespace

TimedQuestion::TimedQuestion(const std::function<std::string()>& answer, std::chrono::milliseconds deadline)
    : m_deadline(Clock::now() + deadline) {
    auto pipe = openPipe();
    const pid_t between = pipe ? ::fork() : -1;
    if (between == 0) {
        // The grandchild is orphaned at once, so this process does not have to reap it.
        if (::fork() == 0) {
            endAfter(deadline);
            closeAllBut((*pipe)[1].get());
            tell((*pipe)[1].get(), answer());
        }
        ::_exit(0);
    }
    if (between > 0) {
        while (::waitpid(between, nullptr, 0) < 0 && errno == EINTR) {
        }
        m_answer = std::move((*pipe)[0]);
    }
}

std::optional<std::string> TimedQuestion::wait(int interrupt) {
    const FileDescriptor answering = std::move(m_answer);
    std::string told;
    while (answering) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
        std::array<pollfd, 2> waiting{{{.fd = answering.get(), .events = POLLIN, .revents = 0},
                                       {.fd = interrupt, .events = POLLIN, .revents = 0}}};
        const int ready =
            ::poll(waiting.data(), waiting.size(), static_cast<int>(std::max<int64_t>(left, 0)));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0 || waiting[1].revents != 0) {
            return std::nullopt;
        }
        std::array<char, 4'096> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
        const ssize_t count = ::read(answering.get(), bytes.data(), bytes.size());
        if (count == 0) {
            return wholeAnswer(told);
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        told.append(bytes.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
    return std::nullopt;
}

} // namespace VintrelCore::Platform
