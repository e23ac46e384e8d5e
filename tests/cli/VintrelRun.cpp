#include "tests/cli/VintrelRun.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/base/UnicodeText.h"

#include <array>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace VintrelTests {

using namespace VintrelCore;

std::map<std::string, std::string> VintrelHome::environment() const {
    return {{"HOME", path()},
            {"XDG_CONFIG_HOME", path() / "config"},
            {"XDG_DATA_HOME", path() / "data"},
            {"XDG_CONFIG_DIRS", path() / "system"}};
}

VintrelOutcome VintrelHome::run(const std::vector<std::string>& arguments,
                                const std::vector<std::string>& prefix,
                                const std::map<std::string, std::string>& extra) const {
    // Outside of the home, where nothing but the program's own doings is to be found.
    const TemporaryFolder scratch;
    const std::string errors = scratch.path() / "errors";
    ProcessOptions options{.environment = environment()};
    for (const auto& [name, value] : extra) {
        options.environment[name] = value;
    }
    options.argv = {"/bin/sh", "-c", "exec \"$@\" 2>" + errors, "sh"};
    options.argv.insert(options.argv.end(), prefix.begin(), prefix.end());
    options.argv.emplace_back(VINTREL_PROGRAM);
    options.argv.insert(options.argv.end(), arguments.begin(), arguments.end());

    Process process(options);
    VintrelOutcome outcome;
    outcome.output = process.readAll();
    outcome.status = process.wait();
    std::stringstream text;
    text << std::ifstream(errors).rdbuf();
    outcome.errors = text.str();
    return outcome;
}

namespace {

/// Cuts `line` at columns counted in characters.
std::vector<std::string> cut(std::string_view line, const std::vector<size_t>& starts) {
    std::vector<std::string> cells;
    for (size_t index = 0; index < starts.size(); ++index) {
        const auto before = UnicodeText::firstCharacters(line, starts[index]).size();
        const auto end = index + 1 < starts.size()
                             ? UnicodeText::firstCharacters(line, starts[index + 1]).size()
                             : line.size();
        cells.emplace_back(Text::trimmed(line.substr(before, end - before)));
    }
    return cells;
}

} // namespace

std::map<int32_t, TableRow> parseTable(const std::string& table) {
    std::map<int32_t, TableRow> rows;
    std::vector<size_t> starts;
    std::string_view rest = table;
    while (const auto line = Text::takeLine(rest)) {
        if (starts.empty()) {
            for (const char* heading : {"PID", "BUCKET", "KIND", "AGE", "RAM", "PROJECT", "COMMAND"}) {
                const auto start = line->find(heading);
                EXPECT_NE(start, std::string_view::npos) << heading;
                starts.push_back(start);
            }
            continue;
        }
        const auto cells = cut(*line, starts);
        const auto pid = Text::parseInteger<int32_t>(cells[0]);
        EXPECT_TRUE(pid) << *line;
        rows[pid.value_or(0)] = {cells[1], cells[2], cells[3], cells[4], cells[5], cells[6]};
    }
    return rows;
}

} // namespace VintrelTests
