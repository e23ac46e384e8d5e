#include "VintrelCore/platform/linux/KernelTable.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/ProcText.h"
#include "VintrelCore/platform/linux/KernelClock.h"

#include <algorithm>
#include <string>
#include <utility>

#include <locale.h>
#include <unistd.h>
#include <wctype.h>

namespace VintrelCore::Platform::KernelTable {

namespace {

constexpr std::string_view defunct = " <defunct>";
constexpr size_t mostOfStrangersArguments = size_t{4} << 10;

/// As the C library has it in the locale in which tools are run.
bool isPrintable(char32_t character) {
    static const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return utf8 == nullptr || ::iswprint_l(static_cast<wint_t>(character), utf8) != 0;
}

} // namespace

size_t mostOfArguments(int32_t owner) {
    constexpr size_t ofOnesOwn = size_t{128} << 10;
    return owner == currentUserID() ? ofOnesOwn : mostOfStrangersArguments;
}

int64_t kibibytesOf(int64_t pages) {
    static const int64_t pageSize = ::sysconf(_SC_PAGESIZE);
    return std::max<int64_t>(pages, 0) * pageSize / 1'024;
}

bool Row::saysTheSame(const Row& other) const {
    return stat.startTicks == other.stat.startTicks && stat.sessionID == other.stat.sessionID &&
           stat.terminal == other.stat.terminal && facts.ppid == other.facts.ppid &&
           facts.name == other.facts.name && facts.command == other.facts.command;
}

std::optional<Row> Reader::read(int32_t pid, const FileDescriptor& process) {
    const auto record = process ? readBelow(process, "stat", m_buffer) : std::nullopt;
    const auto stat = record ? ProcFiles::parseStat(*record) : std::nullopt;
    const auto name = record ? ProcFiles::parseName(*record) : std::nullopt;
    if (!stat || !name) {
        return std::nullopt;
    }
    ProcessFacts facts{.pid = pid, .ppid = stat->parent, .name = ProcText::name(*name, isPrintable)};
    facts.isZombie = stat->state == 'Z';
    const std::string inBrackets = "[" + facts.name + "]";
    std::optional<std::string> command = inBrackets;
    if (facts.isZombie) {
        command->append(defunct);
    } else if (stat->hasMemory) {
        command = commandOf(process, inBrackets);
    }
    if (!command) {
        return std::nullopt;
    }
    facts.command = *std::move(command);
    facts.name = Text::trimmed(facts.name);
    tell(facts, *stat, process);
    constexpr int64_t ticksUntilOld = 2;
    const bool isNew = KernelClock::ticksSinceBoot() - static_cast<int64_t>(stat->startTicks) < ticksUntilOld;
    return Row{.facts = std::move(facts), .stat = *stat, .isNew = isNew};
}

/// Absent when the process has ended meanwhile.
std::optional<std::string> Reader::commandOf(const FileDescriptor& process, const std::string& inBrackets) {
    auto record = readBelow(process, "cmdline", m_buffer);
    if (!record) {
        return std::nullopt;
    }
    if (record->empty()) {
        return inBrackets; // it is about to end
    }
    if (record->size() > mostOfStrangersArguments) { // as few have
        const auto owner = ownerOf(process);
        const size_t most = owner ? mostOfArguments(*owner) : mostOfStrangersArguments;
        const bool isWhole = record->size() <= most;
        record = isWhole ? *record : Text::withoutCutCharacter(record->substr(0, most));
    }
    return ProcText::commandLine(*record, isPrintable);
}

void Reader::tell(ProcessFacts& facts, const ProcFiles::Stat& stat, const FileDescriptor& process) {
    const auto ticks = static_cast<double>(KernelClock::ticksPerSecond());
    const double age = std::max(0.0, static_cast<double>(KernelClock::ticksSinceBoot()) / ticks -
                                         static_cast<double>(stat.startTicks) / ticks);
    facts.elapsed = ProcText::elapsed(static_cast<int64_t>(age));
    facts.tty = m_terminals.nameOf(stat.terminal, process);
    facts.cpuPercent = ProcText::cpuPercent(static_cast<double>(stat.usedTicks) / ticks, age);
    facts.rss = std::to_string(kibibytesOf(stat.residentPages));
}

} // namespace VintrelCore::Platform::KernelTable
