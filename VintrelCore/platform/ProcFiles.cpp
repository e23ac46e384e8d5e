#include "VintrelCore/platform/ProcFiles.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace VintrelCore::ProcFiles {

namespace {

/// Puts a field of "stat" where it belongs; fields are counted as the manual page does.
void take(Stat& stat, int field, int64_t value) {
    switch (field) {
    case 4:
        stat.parent = static_cast<int32_t>(value);
        break;
    case 5:
        stat.processGroupID = static_cast<int32_t>(value);
        break;
    case 6:
        stat.sessionID = static_cast<int32_t>(value);
        break;
    case 7:
        stat.terminal = static_cast<uint32_t>(value); // printed as a signed number
        break;
    case 14: // its own time
    case 15: // the kernel's for it
        stat.usedTicks += static_cast<uint64_t>(std::max<int64_t>(value, 0));
        break;
    case 20:
        stat.threadCount = static_cast<int32_t>(value);
        break;
    case 22:
        stat.startTicks = static_cast<uint64_t>(value);
        break;
    case 23: // the size of its address space
        stat.hasMemory = value != 0;
        break;
    case 24:
        stat.residentPages = value;
        break;
    default:
        break;
    }
}

/// The pids of a process, from the reader's namespace down to its own.
std::vector<std::string_view> numbersInNamespaces(std::string_view status) {
    constexpr std::string_view field = "NSpid:";
    std::vector<std::string_view> numbers;
    while (auto line = Text::takeLine(status)) {
        if (line->starts_with(field)) {
            line->remove_prefix(field.size());
            for (auto word = Text::takeWord(*line, "\t "); !word.empty();
                 word = Text::takeWord(*line, "\t ")) {
                numbers.push_back(word);
            }
            break;
        }
    }
    return numbers;
}

} // namespace

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
    constexpr int startField = 22;
    constexpr int lastField = 24;
    for (int field = 4; field <= lastField; ++field) {
        const auto value = Text::parseInteger<int64_t>(Text::takeWord(rest, " \n"));
        const bool isImpossible = field == startField && value.value_or(0) < 0;
        if ((!value && field <= startField) || isImpossible) {
            return std::nullopt;
        }
        take(stat, field, value.value_or(0));
    }
    return stat;
}

std::optional<std::string_view> parseName(std::string_view record) {
    const auto start = record.find('(');
    const auto end = record.rfind(')');
    if (end == std::string_view::npos || start > end) {
        return std::nullopt;
    }
    return record.substr(start + 1, end - start - 1);
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

/// Decodes blanks, tabs, line breaks and backslashes, which are escaped as a backslash and three octal
/// digits.
std::string unescaped(std::string_view field) {
    constexpr size_t digits = 3;
    std::string text;
    while (!field.empty()) {
        unsigned value = 0;
        const char* const start = field.data() + 1;
        const bool isEscape = field.front() == '\\' && field.size() > digits &&
                              std::from_chars(start, start + digits, value, 8).ptr == start + digits;
        text += isEscape ? static_cast<char>(value) : field.front();
        field.remove_prefix(isEscape ? digits + 1 : 1);
    }
    return text;
}

} // namespace

std::vector<Mount> parseMounts(std::string_view mountinfo) {
    std::vector<Mount> mounts;
    while (auto line = Text::takeLine(mountinfo)) {
        // 36 35 98:0 /root /point options [more ...] - type source options
        std::array<std::string_view, 5> fields;
        for (std::string_view& field : fields) {
            field = Text::takeWord(*line);
        }
        for (std::string_view word = Text::takeWord(*line); !word.empty() && word != "-";) {
            word = Text::takeWord(*line);
        }
        const std::string_view type = Text::takeWord(*line);
        if (fields.back().starts_with('/') && !type.empty()) {
            mounts.push_back({.point = unescaped(fields.back()), .type = std::string(type)});
        }
    }
    return mounts;
}

bool asksOthers(std::string_view fileSystem) {
    constexpr auto types = std::to_array<std::string_view>(
        {"nfs", "nfs4", "cifs", "smb3", "smbfs", "ceph", "9p", "afs", "coda", "lustre", "orangefs", "beegfs",
         "ncpfs", "virtiofs", "vboxsf", "prl_fs", "autofs", "fuse", "fuseblk"});
    return fileSystem.starts_with("fuse.") || std::ranges::find(types, fileSystem) != types.end();
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
    const auto numbers = numbersInNamespaces(status);
    return numbers.size() > 1 && numbers.back() == "1";
}

bool parseIsInInnerNamespace(std::string_view status) {
    return numbersInNamespaces(status).size() > 1;
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
