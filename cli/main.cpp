#include "Vintrel/startup/ProcessState.h"
#include "VintrelCore/VintrelCore.h"
#include "cli/EndCommands.h"
#include "cli/Output.h"
#include "cli/Scanning.h"
#include "cli/Settings.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace VintrelCore;

constexpr int usageError = 2;

int list(bool safeOnly, const Settings& settings) {
    settings.complainAboutDefaults();
    CLIScan::Result scan;
    interruptibly([&](int interrupt) { scan = CLIScan::scan(settings.rules, {.interrupt = interrupt}); });
    if (!isUsable(scan)) {
        return EXIT_FAILURE;
    }
    if (scan.faults.metDeadMount && !settings.rules.protectedProjects.empty()) {
        Output::complain("a mount does not answer: what is protected is unknown");
    }
    const bool isAnyThere = !scan.items.empty();
    if (safeOnly) {
        std::erase_if(scan.items, [](const ProcessItem& item) { return item.bucket() != Bucket::safe; });
    }
    CLICore::TableOptions table{.items = scan.items, .cwds = scan.cwds, .protectedPIDs = scan.protectedPIDs};
    if (const size_t columns = Output::terminalColumns(); columns > 0) {
        table.projectColumns = CLICore::columnsForProjects(columns, table);
        table.commandColumns = CLICore::columnsForCommands(columns, table);
    }
    const int status = Output::finish(CLICore::listTable(table));
    if (scan.items.empty()) { // a heading alone looks like a failure
        Output::explain(isAnyThere ? "No safe stray processes." : "No stray processes.");
    }
    return status;
}

int run(const CLICore::Command& command) {
    using Name = CLICore::Command::Name;
    switch (command.name) {
    case Name::help:
        return Output::finish(CLICore::usage);
    case Name::list:
        return list(command.safeOnly, Settings::load());
    case Name::clean:
        return EndCommands::clean(Settings::load());
    case Name::kill:
        return EndCommands::kill(command.pid, Settings::load());
    }
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (arguments.size() == 1 && arguments.front() == "--version") { // about this program, and no command
        return Output::finish("vintrel " VINTREL_VERSION);
    }
    const auto command = CLICore::parse(arguments);
    if (!command) {
        std::fprintf(stderr, "%s\n\n%s\n", CLICore::message(command.error()).c_str(), CLICore::usage.data());
        return usageError;
    }
    return run(*command);
}
