#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/command/CLICore.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

struct Scene {
    std::vector<ProcessItem> items;
    CwdResolver::CwdMap cwds;
    ScanCore::PIDSet protectedPIDs;
};

/// Every line of ps becomes a row, whatever it runs; its first word names the project.
Scene sceneOf(std::string_view psOutput) {
    Scene scene;
    while (const auto line = Text::takeLine(psOutput)) {
        const auto fields = ScanCore::parsePSLine(*line);
        if (!fields) {
            continue;
        }
        const std::vector<CustomRule> rules{
            {.substring = std::string(fields->args), .label = std::string(fields->tty)}};
        if (auto item = ScanCore::makeItem(
                *line, {.customRules = fields->pid % 2 == 0 ? rules : std::vector<CustomRule>()})) {
            scene.items.push_back(*std::move(item));
            std::string_view rest = fields->args;
            if (fields->pid % 3 == 0) {
                scene.cwds[fields->pid] = {.label = std::string(Text::takeWord(rest)), .fullPath = "/x"};
            }
            if (fields->pid % 5 == 0) {
                scene.protectedPIDs.insert(fields->pid);
            }
        }
    }
    return scene;
}

void checkLines(std::string_view table, const Scene& scene) {
    const auto lines = Text::split(table, '\n');
    require(lines.size() == scene.items.size() + 1, "a line for the heading and for each item");
    require(lines.front().starts_with("PID") && lines.front().ends_with("COMMAND"),
            "the heading comes first");
    for (size_t row = 0; row < scene.items.size(); ++row) {
        const std::string_view line = lines[row + 1];
        require(line.starts_with(std::to_string(scene.items[row].pid)), "items stay in order");
        require(line.find_last_not_of(" \t\r\v\f") == line.size() - 1, "no blanks at the end of a line");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view psOutput = Fuzzing::textOf(data, size);
    const Scene scene = sceneOf(psOutput);
    CLICore::TableOptions options{
        .items = scene.items, .cwds = scene.cwds, .protectedPIDs = scene.protectedPIDs, .commandMax = 0};
    checkLines(CLICore::listTable(options), scene);

    const size_t roomForAll = CLICore::columnsForCommands(1'000'000, options);
    const size_t columns = 1'000'000 - roomForAll + 40;
    options.commandColumns = CLICore::columnsForCommands(columns, options);
    require(options.commandColumns == 40, "columns that are not taken are the command's");
    require(CLICore::columnsForCommands(0, options) == 20, "a command keeps some room on any terminal");
    const std::string table = CLICore::listTable(options);
    checkLines(table, scene);
    if (Text::isASCII(psOutput)) {
        for (const std::string_view line : Text::split(table, '\n')) {
            require(UnicodeText::terminalColumns(line) <= columns, "lines fit the terminal");
        }
    }
    return 0;
}
