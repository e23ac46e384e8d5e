// A tool that behaves as its first argument asks, well or badly. It never lives longer than a minute.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

using Arguments = char**;

void writeAll(const std::string& bytes) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t count = ::write(STDOUT_FILENO, bytes.data() + done, bytes.size() - done);
        if (count <= 0) {
            std::exit(EXIT_FAILURE);
        }
        done += static_cast<size_t>(count);
    }
}

int hang() {
    for (;;) {
        ::pause();
    }
}

int printText(Arguments arguments) {
    writeAll(arguments[0]);
    return EXIT_SUCCESS;
}

int exitWith(Arguments arguments) {
    return std::atoi(arguments[0]);
}

/// print-hex 68ff0a: any bytes at all.
int printHex(Arguments arguments) {
    const std::string digits = arguments[0];
    std::string bytes;
    for (size_t index = 0; index + 1 < digits.size(); index += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(index, 2), nullptr, 16));
    }
    writeAll(bytes);
    return EXIT_SUCCESS;
}

int writeMany(Arguments arguments) {
    const std::string chunk(size_t{1} << 20, 'x');
    for (long left = std::atol(arguments[0]); left > 0; left -= static_cast<long>(chunk.size())) {
        writeAll(chunk.substr(0, static_cast<size_t>(left)));
    }
    return EXIT_SUCCESS;
}

int writeErrors(Arguments) {
    std::fputs("something went wrong\n", stderr);
    return EXIT_SUCCESS;
}

int dieBySignal(Arguments arguments) {
    ::raise(std::atoi(arguments[0]));
    return EXIT_SUCCESS;
}

int printThenHang(Arguments arguments) {
    writeAll(arguments[0]);
    return hang();
}

int hangWhateverComes(Arguments) {
    ::signal(SIGTERM, SIG_IGN);
    writeAll("stubborn");
    return hang();
}

/// The tool ends, and something it started keeps its output open for so many seconds.
int leaveGrandchild(Arguments arguments) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::sleep(static_cast<unsigned>(std::atoi(arguments[0])));
        std::_Exit(EXIT_SUCCESS);
    }
    writeAll(std::to_string(pid));
    return EXIT_SUCCESS;
}

/// Both the tool and what it started go on for ever.
int hangWithGrandchild(Arguments) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        hang();
    }
    writeAll(std::to_string(pid));
    return hang();
}

int closeOutputThenExit(Arguments arguments) {
    ::close(STDOUT_FILENO);
    ::usleep(50'000);
    return std::atoi(arguments[0]);
}

int printDescriptors(Arguments) {
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            writeAll(std::to_string(descriptor) + " ");
        }
    }
    return EXIT_SUCCESS;
}

int printEnvironment(Arguments) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
        writeAll(std::string(*entry) + "\n");
    }
    return EXIT_SUCCESS;
}

int printGroup(Arguments) {
    writeAll(::getpgrp() == ::getpid() ? "leads" : "follows");
    return EXIT_SUCCESS;
}

/// The kernel's masks of blocked and ignored signals.
int printSignals(Arguments) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:")) {
            writeAll(line + "\n");
        }
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv) {
    ::alarm(60);
    const std::map<std::string, std::function<int(Arguments)>> behaviours{
        {"print", printText},
        {"print-hex", printHex},
        {"exit", exitWith},
        {"write", writeMany},
        {"errors", writeErrors},
        {"die", dieBySignal},
        {"print-then-hang", printThenHang},
        {"hang-whatever-comes", hangWhateverComes},
        {"leave-grandchild", leaveGrandchild},
        {"hang-with-grandchild", hangWithGrandchild},
        {"close-output-then-exit", closeOutputThenExit},
        {"descriptors", printDescriptors},
        {"environment", printEnvironment},
        {"group", printGroup},
        {"signals", printSignals},
    };
    const auto behaviour = behaviours.find(argc > 1 ? argv[1] : "");
    return behaviour != behaviours.end() ? behaviour->second(argv + 2) : EXIT_FAILURE;
}
