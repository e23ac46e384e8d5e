#include "VintrelCore/base/Text.h"
#include "VintrelCore/command/CLICore.h"
#include "VintrelCore/scan/Caretakers.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

constexpr int32_t user = 1000;

using FactsByPID = std::unordered_map<int32_t, Platform::KernelFacts>;

/// One process on each line: pid, user, state, session, start, control group.
FactsByPID factsOf(std::string_view text) {
    FactsByPID facts;
    while (auto line = Text::takeLine(text)) {
        const auto number = [&line] {
            return Text::parseInteger<int32_t>(Text::takeWord(*line)).value_or(0);
        };
        const int32_t pid = number();
        const int32_t userID = number();
        const std::string_view state = Text::takeWord(*line);
        const int32_t session = number();
        const int32_t start = number();
        facts.insert_or_assign(pid,
                               Platform::KernelFacts{.userID = userID,
                                                     .state = state.empty() ? '?' : state.front(),
                                                     .sessionID = session,
                                                     .startTime = {.sec = start},
                                                     .controlGroup = std::string(Text::takeWord(*line))});
    }
    return facts;
}

using Lines = std::unordered_map<int32_t, ScanCore::PSLine>;

/// The lines by pid; empty when a pid stands there twice, which ps never prints.
Lines linesOf(std::string_view psOutput) {
    Lines lines;
    while (const auto text = Text::takeLine(psOutput)) {
        const auto line = ScanCore::parsePSLine(*text);
        if (line && !lines.emplace(line->pid, *line).second) {
            return {};
        }
    }
    return lines;
}

struct Scene {
    Lines lines;
    FactsByPID facts;
    Platform::KernelView kernel;
};

void checkOrphan(const SnapshotRecord& record, const Scene& scene) {
    const bool isBelowShell = !record.shellsAbove.empty();
    const int32_t outermost = isBelowShell ? record.shellsAbove.front().pid : record.pid;
    const int32_t parent = scene.lines.at(outermost).ppid;
    const auto parentsLine = scene.lines.find(parent);
    const std::string_view parentsCommand =
        parentsLine != scene.lines.end() ? parentsLine->second.args : std::string_view();
    require(Caretakers::isAdopter(parent, parentsCommand), "an orphan's parent takes in orphans");
    const auto facts = scene.facts.find(record.pid);
    require(facts != scene.facts.end() && facts->second.userID == user,
            "only the user's own processes are orphans, and only when the kernel tells");
}

void checkRecord(const SnapshotRecord& record, const Scene& scene) {
    const Lines& lines = scene.lines;
    require(lines.contains(record.pid), "a record is a line of ps");
    const ScanCore::PSLine& line = lines.at(record.pid);
    require(record.command == line.args && record.tty == line.tty && record.cpuPercent == line.pcpu &&
                record.rss == line.rss,
            "what ps printed stays");
    const double oldest = scene.kernel.secondsSinceBoot;
    const bool isPossible = oldest <= 0 || ScanCore::parseElapsed(line.etime) <= oldest;
    require(record.elapsed == (isPossible ? line.etime : "0"), "nothing is older than the system");
    for (const auto& shells : {record.foldedShells, record.shellsAbove}) {
        for (const FoldedShell& shell : shells) {
            require(lines.contains(shell.pid) && shell.pid != record.pid, "a folded shell is another line");
        }
    }
    require(record.shellsAbove.empty() || record.ppid == 1,
            "only what an orphaned shell started takes it in");
    if (scene.kernel.correctsParents && record.ppid == 1) {
        checkOrphan(record, scene);
    }
}

void checkRecords(const std::vector<SnapshotRecord>& records, const Scene& scene) {
    std::unordered_set<int32_t> folded;
    for (const SnapshotRecord& record : records) {
        checkRecord(record, scene);
        for (const auto& shells : {record.foldedShells, record.shellsAbove}) {
            std::ranges::transform(shells, std::inserter(folded, folded.end()), &FoldedShell::pid);
        }
    }
    for (const SnapshotRecord& record : records) {
        require(!folded.contains(record.pid), "a folded shell is no record any more");
    }
}

void checkItems(const std::vector<SnapshotRecord>& records, const Lines& lines) {
    const auto items = ScanCore::enumerate({.records = records, .registeredPIDs = ScanCore::PIDSet{}});
    std::unordered_set<int32_t> shown;
    for (const ProcessItem& item : items) {
        require(lines.contains(item.pid) && shown.insert(item.pid).second, "each candidate is shown once");
        for (const FoldedProcess& folded : item.folded) {
            require(lines.contains(folded.pid) && shown.insert(folded.pid).second,
                    "and so is what it stands for");
        }
        require(item.bucket() != Bucket::safe || (!item.hasTTY() && item.isOrphan()), "only strays are safe");
    }
    require(!CLICore::listTable({.items = items, .cwds = {}, .protectedPIDs = {}}).empty(),
            "there is a heading");
}

} // namespace

/// Input: output of ps, "==", the control group of this program with the age of the system, and what the
/// kernel knows of each process.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest = Fuzzing::textOf(data, size);
    const std::string_view psOutput = Fuzzing::takeUpTo(rest, "==\n");
    std::string_view own = Fuzzing::takeUpTo(rest, "\n");
    Scene scene{.lines = linesOf(psOutput), .facts = factsOf(rest), .kernel = {.userID = user}};
    scene.kernel.ownControlGroup = Text::takeWord(own);
    scene.kernel.secondsSinceBoot = Text::parseDecimal(Text::takeWord(own)).value_or(0);
    scene.kernel.factsOf = [&scene](int32_t pid) {
        const auto found = scene.facts.find(pid);
        return found != scene.facts.end() ? std::optional(found->second) : std::nullopt;
    };
    for (const bool corrects : {false, true}) {
        scene.kernel.correctsParents = corrects;
        const auto records = snapshotRecords(psOutput, scene.kernel);
        if (!scene.lines.empty()) {
            checkRecords(records, scene);
            checkItems(records, scene.lines);
        }
    }
    return 0;
}
