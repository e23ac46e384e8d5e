#include "tests/core/scan/WhatRunsTable.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string_view>

namespace VintrelTests {

namespace {

using VintrelCore::Text::takeWord;

std::string unescaped(std::string_view text) {
    if (text == "\\e") {
        return {};
    }
    std::string result;
    for (size_t index = 0; index < text.size(); ++index) {
        const bool isBreak = text.substr(index).starts_with("\\n");
        result += isBreak ? '\n' : text[index];
        index += isBreak ? 1 : 0;
    }
    return result;
}

} // namespace

std::vector<WhatRunsRow> whatRunsTable() {
    constexpr std::string_view separator = " :: ";
    std::ifstream file(VINTREL_TEST_DATA "/what-runs.txt");
    std::vector<WhatRunsRow> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::string_view rest = line;
        WhatRunsRow row;
        row.kind = takeWord(rest);
        row.found = takeWord(rest);
        row.verdict = takeWord(rest);
        while (rest.starts_with(separator)) {
            rest.remove_prefix(separator.size());
            const auto end = std::min(rest.find(separator), rest.size());
            row.arguments.push_back(unescaped(rest.substr(0, end)));
            rest.remove_prefix(end);
        }
        rows.push_back(row);
    }
    return rows;
}

std::string joinedArguments(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        line.append(line.empty() ? "" : " ").append(argument);
    }
    return line;
}

} // namespace VintrelTests
