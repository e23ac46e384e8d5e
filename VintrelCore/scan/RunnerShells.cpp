#include "VintrelCore/scan/RunnerShells.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace VintrelCore::RunnerShells {

namespace {

bool isOneOf(std::string_view word, std::span<const std::string_view> words) {
    return std::ranges::find(words, word) != words.end();
}

/// Whether a script runs one program, so that the program's kind can be read off it.
bool runsOneProgram(std::string_view script) {
    return script.find_first_of(";&|") == std::string_view::npos;
}

/// Works on the records of one snapshot.
class Folder {
public:
    explicit Folder(std::vector<SnapshotRecord>& records) : m_records(records) {}

    void fold() {
        const auto isShell = [](const SnapshotRecord& record) {
            return shellScript(record.command).has_value();
        };
        if (std::ranges::none_of(m_records, isShell)) {
            return; // as on most machines most of the time
        }
        for (size_t index = 0; index < m_records.size(); ++index) {
            m_byPID.emplace(m_records[index].pid, index);
        }
        std::vector<std::pair<size_t, size_t>> shells; // shell, runner
        for (size_t index = 0; index < m_records.size(); ++index) {
            if (const auto runner = runnerOf(index)) {
                shells.emplace_back(index, *runner);
            }
        }
        if (shells.empty()) {
            return;
        }
        handOverChildren();
        std::unordered_set<int32_t> folded;
        for (const auto& [shell, runner] : shells) {
            m_records[runner].foldedShells.push_back(m_records[shell].pid);
            folded.insert(m_records[shell].pid);
        }
        std::erase_if(m_records, [&](const SnapshotRecord& record) { return folded.contains(record.pid); });
    }

private:
    [[nodiscard]] std::optional<size_t> parentOf(size_t index) const {
        const auto found = m_byPID.find(m_records[index].ppid);
        return found != m_byPID.end() ? std::optional(found->second) : std::nullopt;
    }

    /// The runner whose shell this record is, directly or as the shell of such a shell.
    [[nodiscard]] std::optional<size_t> runnerOf(size_t index) const {
        // A snapshot is not taken in one instant, so that parents may even form a ring: the steps are
        // bounded.
        constexpr int deepest = 16;
        for (int depth = 0; depth < deepest && shellScript(m_records[index].command); ++depth) {
            const auto parent = parentOf(index);
            if (!parent) {
                return std::nullopt;
            }
            if (isPackageRunner(m_records[*parent].command)) {
                return parent;
            }
            index = *parent;
        }
        return std::nullopt;
    }

    void handOverChildren() {
        std::unordered_map<int32_t, int> childCount;
        for (const SnapshotRecord& record : m_records) {
            ++childCount[record.ppid];
        }
        std::vector<std::pair<size_t, size_t>> moves; // child, runner
        for (size_t index = 0; index < m_records.size(); ++index) {
            const auto shell = parentOf(index);
            const auto runner = shell ? runnerOf(*shell) : std::nullopt;
            if (!runner) {
                continue;
            }
            moves.emplace_back(index, *runner);
            const std::string_view script = *shellScript(m_records[*shell].command);
            if (childCount[m_records[*shell].pid] == 1 && runsOneProgram(script)) {
                m_records[index].runnerScript = script;
            }
        }
        for (const auto& [child, runner] : moves) {
            // In a container the runner may be process 1, and as its child the process would pass for an
            // orphan.
            const int32_t pid = m_records[runner].pid;
            m_records[child].ppid = pid == 1 ? 0 : pid;
        }
    }

    std::vector<SnapshotRecord>& m_records;
    std::unordered_map<int32_t, size_t> m_byPID;
};

} // namespace

bool isPackageRunner(std::string_view command) {
    constexpr auto runners =
        std::to_array<std::string_view>({"npm", "npx", "pnpm", "pnpx", "yarn", "yarnpkg"});
    constexpr auto scripts = std::to_array<std::string_view>(
        {"npm-cli.js", "npx-cli.js", "pnpm.cjs", "pnpm.js", "pnpx.cjs", "yarn.js", "yarn.cjs"});
    constexpr auto interpreters = std::to_array<std::string_view>({"node", "nodejs"});

    const std::string_view program = Path::lastComponent(Text::takeWord(command));
    if (isOneOf(program, runners)) {
        return true;
    }
    if (!isOneOf(program, interpreters)) {
        return false;
    }
    std::string_view word = Text::takeWord(command);
    while (word.starts_with('-')) {
        word = Text::takeWord(command);
    }
    const std::string_view script = Path::lastComponent(word);
    return isOneOf(script, runners) || isOneOf(script, scripts);
}

std::optional<std::string_view> shellScript(std::string_view command) {
    constexpr auto shells = std::to_array<std::string_view>({"sh", "dash", "bash"});
    const std::string_view program = Path::lastComponent(Text::takeWord(command));
    if (!isOneOf(program, shells) || Text::takeWord(command) != "-c") {
        return std::nullopt;
    }
    return Text::trimmed(command);
}

void fold(std::vector<SnapshotRecord>& records) {
    Folder(records).fold();
}

} // namespace VintrelCore::RunnerShells
