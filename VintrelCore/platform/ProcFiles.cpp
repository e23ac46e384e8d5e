#include "VintrelCore/platform/ProcFiles.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <charconv>

namespace VintrelCore::ProcFiles {

std::optional<Stat> parseStat(std::string_view record) {
    const auto nameEnd = record.rfind(')');
    if (nameEnd == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view rest = record.substr(nameEnd + 1);
    const std::string_view state = Text::takeWord(rest, " \n"); // field 3
    if (state.size() != 1) {
        return std::nullopt;
    }
    Stat stat{.state = state.front()};
    constexpr int processGroupField = 5;
    constexpr int sessionField = 6;
    constexpr int userTimeField = 14;
    constexpr int systemTimeField = 15;
    constexpr int threadsField = 20;
    constexpr int startField = 22;
    for (int field = 4; field <= startField; ++field) {
        const std::string_view text = Text::takeWord(rest, " \n");
        const auto value = Text::parseInteger<int64_t>(text);
        if (!value || (field == startField && *value < 0)) {
            return std::nullopt;
        }
        if (field == processGroupField) {
            stat.processGroupID = static_cast<int32_t>(*value);
        } else if (field == sessionField) {
            stat.sessionID = static_cast<int32_t>(*value);
        } else if (field == userTimeField || field == systemTimeField) {
            stat.usedTicks += static_cast<uint64_t>(std::max<int64_t>(*value, 0));
        } else if (field == threadsField) {
            stat.threadCount = static_cast<int32_t>(*value);
        } else if (field == startField) {
            stat.startTicks = static_cast<uint64_t>(*value);
        }
    }
    return stat;
}

std::vector<std::string> parseArguments(std::string_view record) {
    std::vector<std::string> arguments;
    while (!record.empty()) {
        const size_t end = std::min(record.find('\0'), record.size());
        arguments.emplace_back(record.substr(0, end));
        record.remove_prefix(std::min(end + 1, record.size()));
    }
    return arguments;
}

namespace {

/// The number behind a field's name; of several, the first.
std::optional<int32_t> numberOf(std::string_view field, std::string_view lines) {
    while (auto line = Text::takeLine(lines)) {
        if (line->starts_with(field)) {
            line->remove_prefix(field.size());
            return Text::parseInteger<int32_t>(Text::takeWord(*line, "\t "));
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<int32_t> parseUserID(std::string_view status) {
    return numberOf("Uid:", status); // real, effective, saved, file system
}

std::optional<int32_t> parseThreadGroup(std::string_view status) {
    return numberOf("Tgid:", status);
}

bool parseIsNamespacesFirst(std::string_view status) {
    constexpr std::string_view field = "NSpid:";
    while (auto line = Text::takeLine(status)) {
        if (line->starts_with(field)) {
            line->remove_prefix(field.size());
            // Its number in each namespace, from the one that reads to its own.
            size_t count = 0;
            std::string_view last;
            for (auto word = Text::takeWord(*line, "\t "); !word.empty();
                 word = Text::takeWord(*line, "\t ")) {
                last = word;
                ++count;
            }
            return count > 1 && last == "1";
        }
    }
    return false;
}

std::optional<int32_t> parsePID(std::string_view descriptorInfo) {
    return numberOf("Pid:", descriptorInfo);
}

std::string_view environmentValue(std::string_view environment, std::string_view name) {
    for (const std::string_view entry : Text::split(environment, '\0')) {
        if (entry.starts_with(name) && entry.substr(name.size()).starts_with('=')) {
            return entry.substr(name.size() + 1);
        }
    }
    return {};
}

std::optional<int32_t> parseUnitProcess(std::string_view environment) {
    return Text::parseInteger<int32_t>(environmentValue(environment, "SYSTEMD_EXEC_PID"));
}

std::string parseControlGroup(std::string_view cgroups) {
    std::string_view found;
    while (const auto line = Text::takeLine(cgroups)) {
        // hierarchy:controllers:path, and the path may hold colons.
        const auto first = line->find(':');
        const auto second = first == std::string_view::npos ? first : line->find(':', first + 1);
        if (second == std::string_view::npos) {
            continue;
        }
        const std::string_view controllers = line->substr(first + 1, second - first - 1);
        if (controllers == "name=systemd") {
            found = line->substr(second + 1);
            break;
        }
        if (line->starts_with("0::")) {
            found = line->substr(second + 1);
        }
    }
    constexpr std::string_view deleted = " (deleted)";
    if (found.ends_with(deleted)) {
        found.remove_suffix(deleted.size());
    }
    return std::string(found);
}

} // namespace VintrelCore::ProcFiles
