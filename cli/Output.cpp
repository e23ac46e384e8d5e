#include "cli/Output.h"

#include <cstdio>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Output {

namespace {

/// Whether a terminal can erase what it shows.
bool canTakeBack() {
    const char* const terminal = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return terminal != nullptr && std::string_view(terminal) != "dumb";
}

} // namespace

bool print(std::string_view line) {
    const bool written = std::fwrite(line.data(), 1, line.size(), stdout) == line.size();
    return std::fputc('\n', stdout) != EOF && written && std::fflush(stdout) == 0;
}

void complain(std::string_view line) {
    std::fprintf(stderr, "vintrel: %.*s\n", static_cast<int>(line.size()), line.data());
}

void explain(std::string_view line) {
    if (::isatty(STDERR_FILENO) != 0) {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    }
}

int finish(std::string_view text) {
    if (print(text)) {
        return EXIT_SUCCESS;
    }
    complain("the output could not be written");
    return EXIT_FAILURE;
}

size_t terminalColumns() {
    winsize size{};
    if (::isatty(STDOUT_FILENO) == 0) {
        return 0;
    }
    constexpr size_t usual = 80;
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

Progress::Progress(std::string_view line) : m_isToBeTakenBack(::isatty(STDERR_FILENO) != 0 && canTakeBack()) {
    if (::isatty(STDERR_FILENO) != 0) {
        std::fprintf(stderr, "%.*s%s", static_cast<int>(line.size()), line.data(),
                     m_isToBeTakenBack ? "" : "\n");
        std::fflush(stderr);
    }
}

Progress::~Progress() {
    if (m_isToBeTakenBack) {
        std::fputs("\r\033[K", stderr); // back to the start of the line, and erase it
        std::fflush(stderr);
    }
}

} // namespace Output
