#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/command/CLICore.h"

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <vector>

namespace VintrelCore::CLICore {

namespace {

constexpr size_t narrowColumns = 6; // all but the command
constexpr std::string_view gap = "  ";
constexpr size_t leastForCommands = 20;

using Cells = std::array<std::string, narrowColumns>;

Cells headings() {
    return {"PID", "BUCKET", "KIND", "AGE", "RAM", "PROJECT"};
}

/// A project as far as the limit allows: both of its ends tell more than its middle.
std::string shownProject(const std::string& label, const TableOptions& options) {
    std::string text = UnicodeText::printable(label);
    const size_t columns = options.projectColumns;
    if (columns == 0 || UnicodeText::terminalColumns(text) <= columns) {
        return text;
    }
    const size_t count = UnicodeText::characterCount(text);
    for (size_t kept = std::min(columns, count) - 1; kept > 0; --kept) {
        const auto front = UnicodeText::firstCharacters(text, (kept + 1) / 2);
        const auto without = UnicodeText::firstCharacters(text, count - kept / 2);
        const std::string cut = std::string(front) + "…" + text.substr(without.size());
        if (UnicodeText::terminalColumns(cut) <= columns) {
            return cut;
        }
    }
    return "…";
}

Cells cellsOf(const ProcessItem& item, const TableOptions& options) {
    std::string bucket = item.bucket() == Bucket::safe ? "safe" : "review";
    if (options.protectedPIDs.contains(item.pid)) {
        bucket += " 🔒";
    }
    const auto cwd = options.cwds.find(item.pid);
    return {std::to_string(item.pid),
            std::move(bucket),
            UnicodeText::printable(item.displayLabel()),
            formatElapsed(item.elapsed),
            formatRSS(item.rssKB),
            cwd != options.cwds.end() ? shownProject(cwd->second.label, options) : "—"};
}

std::vector<Cells> allCells(const TableOptions& options) {
    std::vector<Cells> rows{headings()};
    std::ranges::transform(options.items, std::back_inserter(rows),
                           [&options](const ProcessItem& item) { return cellsOf(item, options); });
    return rows;
}

/// The most characters of each column.
std::array<size_t, narrowColumns> widths(const std::vector<Cells>& rows) {
    std::array<size_t, narrowColumns> widest{};
    for (const Cells& row : rows) {
        for (size_t column = 0; column < narrowColumns; ++column) {
            widest[column] = std::max(widest[column], UnicodeText::characterCount(row[column]));
        }
    }
    return widest;
}

/// The command as far as both limits allow.
std::string shownCommand(std::string_view command, const TableOptions& options) {
    std::string text = truncate(UnicodeText::printable(command), options.commandMax);
    const size_t columns = options.commandColumns;
    if (columns == 0 || UnicodeText::terminalColumns(text) <= columns) {
        return text;
    }
    size_t fitting = 0; // how many characters fit together with the ellipsis, bit by bit
    for (size_t step = std::bit_floor(columns); step > 0; step /= 2) {
        const auto cut = UnicodeText::firstCharacters(text, fitting + step);
        fitting += UnicodeText::terminalColumns(cut) < columns ? step : 0;
    }
    return truncate(text, fitting + 1);
}

/// The columns of a terminal that the widest row takes beside its command.
size_t columnsBesideCommands(const TableOptions& options) {
    const std::vector<Cells> rows = allCells(options);
    size_t padded = narrowColumns * gap.size();
    for (const size_t width : widths(rows)) {
        padded += width;
    }
    // Columns are padded by characters; a row with wide ones stands out on a terminal.
    size_t taken = padded;
    for (const Cells& row : rows) {
        size_t extra = 0;
        for (const std::string& cell : row) {
            const size_t cells = UnicodeText::terminalColumns(cell);
            extra += cells - std::min(cells, UnicodeText::characterCount(cell));
        }
        taken = std::max(taken, padded + extra);
    }
    return taken;
}

} // namespace

std::string truncate(std::string_view text, size_t max) {
    if (max < 2 || text.size() <= max || UnicodeText::characterCount(text) <= max) {
        return std::string(text);
    }
    return std::string(UnicodeText::firstCharacters(text, max - 1)) + "…";
}

std::string listTable(const TableOptions& options) {
    const std::vector<Cells> rows = allCells(options);
    const auto widest = widths(rows);
    std::string table;
    for (size_t row = 0; row < rows.size(); ++row) {
        std::string line;
        for (size_t column = 0; column < narrowColumns; ++column) {
            const std::string& cell = rows[row][column];
            line += cell;
            line.append(widest[column] - UnicodeText::characterCount(cell), ' ');
            line += gap;
        }
        line += row == 0 ? "COMMAND" : shownCommand(options.items[row - 1].command, options);
        line.erase(line.find_last_not_of(" \t\n\v\f\r") + 1);
        table += (row == 0 ? "" : "\n") + line;
    }
    return table;
}

size_t columnsForCommands(size_t columns, const TableOptions& options) {
    const size_t taken = columnsBesideCommands(options);
    return columns > taken + leastForCommands ? columns - taken : leastForCommands;
}

size_t columnsForProjects(size_t columns, const TableOptions& options) {
    constexpr size_t least = 12;
    TableOptions trial = options;
    size_t fitting = least;
    for (size_t tooMany = std::max(columns, least) + 1; fitting + 1 < tooMany;) {
        trial.projectColumns = std::midpoint(fitting, tooMany);
        const bool fits = columnsBesideCommands(trial) + leastForCommands <= columns;
        (fits ? fitting : tooMany) = trial.projectColumns;
    }
    return fitting;
}

} // namespace VintrelCore::CLICore
