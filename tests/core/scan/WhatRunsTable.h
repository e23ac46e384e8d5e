#pragma once

#include <string>
#include <vector>

namespace VintrelTests {

/// One real command line of tests/core/data/what-runs.txt.
struct WhatRunsRow {
    std::string kind;
    std::string found;
    std::string verdict;
    std::vector<std::string> arguments;
};

/// Every row of the table, in its order.
[[nodiscard]] std::vector<WhatRunsRow> whatRunsTable();

/// The arguments with a blank between each two, as ps shows them.
[[nodiscard]] std::string joinedArguments(const std::vector<std::string>& arguments);

} // namespace VintrelTests
