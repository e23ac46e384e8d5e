#pragma once

#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ScanCore.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>

/// The logic of the command line: what its arguments mean, what it says, and the table it prints. No state.
namespace VintrelCore::CLICore {

/// What the command line is asked to do.
struct Command {
    enum class Name { list, kill, clean, help };

    Name name = Name::help;
    bool safeOnly = false; ///< for list
    int32_t pid = 0;       ///< for kill

    bool operator==(const Command&) const = default;

    static Command list(bool safeOnly) { return {.name = Name::list, .safeOnly = safeOnly}; }

    static Command kill(int32_t pid) { return {.name = Name::kill, .pid = pid}; }

    static Command clean() { return {.name = Name::clean}; }

    static Command help() { return {.name = Name::help}; }
};

/// Why arguments make no command.
struct ParseError {
    enum class Reason { unknownCommand, unexpectedArgument, invalidPID, missingPID };

    Reason reason = Reason::unknownCommand;
    std::string text{}; ///< the word at fault, as typed; "" for a missing one

    bool operator==(const ParseError&) const = default;
};

/// `arguments` are those behind the program's name.
[[nodiscard]] std::expected<Command, ParseError> parse(std::span<const std::string> arguments);

[[nodiscard]] std::string message(const ParseError& error);

/// The usage text, without a line feed at its end.
extern const std::string_view usage;

struct TableOptions {
    std::span<const ProcessItem> items;
    const CwdResolver::CwdMap& cwds;
    const ScanCore::PIDSet& protectedPIDs;
    size_t commandMax = 0;     ///< characters of a command that are shown; below 2: all
    size_t commandColumns = 0; ///< columns of a terminal that a command may take; 0: any number
    size_t projectColumns = 0; ///< the same for a project; it is cut in its middle
};

/// The candidates as a table with a heading; lines joined by line feeds, none at the end. Whatever could
/// steer a terminal, or turn its writing direction, stands as "?".
[[nodiscard]] std::string listTable(const TableOptions& options);

/// How many columns of a terminal of so many the table leaves to its commands; at least 20.
[[nodiscard]] size_t columnsForCommands(size_t columns, const TableOptions& options);

/// How many columns of a terminal of so many its projects may take, so that commands have their 20; at least
/// 12, and all of them where nothing has to be cut.
[[nodiscard]] size_t columnsForProjects(size_t columns, const TableOptions& options);

/// "42s", "5m", "2h 7m", "3d 4h". `seconds` must be finite.
[[nodiscard]] std::string formatElapsed(double seconds);

/// "812 KB", "153 MB", "1.5 GB".
[[nodiscard]] std::string formatRSS(int64_t kb);

/// At most `max` characters, the last one an ellipsis where something was cut off; a `max` below 2 cuts
/// nothing.
[[nodiscard]] std::string truncate(std::string_view text, size_t max);

} // namespace VintrelCore::CLICore
