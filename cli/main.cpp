#include "Vintrel/engine/Preferences.h"
#include "VintrelCore/VintrelCore.h"
#include "cli/Interrupt.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using namespace VintrelCore;

constexpr int usageError = 2;

/// Prints one line; false when standard output did not take all of it.
bool print(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fputc('\n', stdout) != EOF && written && std::fflush(stdout) == 0;
}

void complain(std::string_view text) {
    std::fprintf(stderr, "vintrel: %.*s\n", static_cast<int>(text.size()), text.data());
}

int printed(std::string_view text) {
    if (print(text)) {
        return EXIT_SUCCESS;
    }
    complain("the output could not be written");
    return EXIT_FAILURE;
}

/// The width of the terminal on standard output; 0 when it is none.
size_t terminalColumns() {
    winsize size{};
    if (::isatty(STDOUT_FILENO) == 0) {
        return 0;
    }
    constexpr size_t usual = 80;
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

CLIScan::Rules loadRules() {
    auto [settings, problem] = Vintrel::Preferences::load();
    if (problem) {
        complain(*problem + "; using defaults");
    }
    return {.elapsedThreshold = settings.elapsedThreshold,
            .ignoredNames = std::move(settings.ignoredNames),
            .protectedProjects = std::move(settings.protectedProjects),
            .disabledKinds = std::move(settings.disabledKinds),
            .customRules = std::move(settings.customRules)};
}

/// A scan that Ctrl+C ends together with its tools, and the program with them.
CLIScan::Result scanUnlessInterrupted(const CLIScan::Rules& rules) {
    CLIScan::Result result;
    {
        const Interrupt interrupt;
        result = CLIScan::scan(rules, {.interrupt = interrupt.descriptor()});
    }
    Interrupt::endProgramIfOneCame(); // only now that no more can be swallowed
    return result;
}

int list(bool safeOnly) {
    CLIScan::Result scan = scanUnlessInterrupted(loadRules());
    if (scan.psFailed) {
        complain("ps could not be run: no processes are known");
        return EXIT_FAILURE;
    }
    if (scan.lsofFailed) {
        complain("lsof could not be run: projects and ports are unknown");
    }
    if (safeOnly) {
        std::erase_if(scan.items, [](const ProcessItem& item) { return item.bucket() != Bucket::safe; });
    }
    CLICore::TableOptions table{.items = scan.items, .cwds = scan.cwds, .protectedPIDs = scan.protectedPIDs};
    if (const size_t columns = terminalColumns(); columns > 0) {
        table.commandColumns = CLICore::columnsForCommands(columns, table);
    }
    return printed(CLICore::listTable(table));
}

int run(const CLICore::Command& command) {
    using Name = CLICore::Command::Name;
    switch (command.name) {
    case Name::help:
        return printed(CLICore::usage);
    case Name::list:
        return list(command.safeOnly);
    case Name::clean:
        complain("clean is not available in this version yet; nothing was ended");
        return EXIT_FAILURE;
    case Name::kill:
        complain("kill is not available in this version yet; nothing was ended");
        return EXIT_FAILURE;
    }
    return EXIT_FAILURE;
}

/// Mends what whoever started the program may have left in a state that the core does not expect.
void prepareProcess() {
    int opened = 0;
    while (opened >= 0 && opened <= STDERR_FILENO) { // fills closed standard descriptors, lowest first
        opened = ::open("/dev/null", O_RDWR);
    }
    if (opened > STDERR_FILENO) {
        ::close(opened);
    }
    ::signal(SIGCHLD, SIG_DFL); // ignored, it would lose the exit status of every tool
    Platform::limitDescriptors();
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto command = CLICore::parse(arguments);
    if (!command) {
        std::fprintf(stderr, "%s\n\n%s\n", CLICore::message(command.error()).c_str(), CLICore::usage.data());
        return usageError;
    }
    return run(*command);
}
