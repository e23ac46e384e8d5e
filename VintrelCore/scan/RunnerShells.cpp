#include "VintrelCore/scan/RunnerShells.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/GoBetweens.h"
#include "VintrelCore/scan/OptionWalk.h"
#include "VintrelCore/scan/ToldText.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace VintrelCore::RunnerShells {

namespace {

using CommandWords::Words;
using GoBetweens::GoBetween;
using GoBetweens::OptionWalk;
using GoBetweens::Sort;

/// Whether what a runner is told to run is a file and no name: a path, or with the suffix of a script. A
/// package's scope, as in "@playwright/mcp", makes no path.
bool isFile(std::string_view name) {
    return (name.contains('/') && !name.starts_with('@')) || ToolNames::hasScriptSuffix(name);
}

/// Whether a program that is run with such arguments runs packages, or scripts of a project.
bool runsPackages(const GoBetween& program, Words arguments) {
    if (program.sort != Sort::runner) {
        return false;
    }
    if (!program.runsAnyProgram && !program.runsFiles) {
        return true; // "npm test", "yarn": whatever it is told
    }
    GoBetween withPhrase = program; // "bun server.ts" and "uv sync" start nothing
    withPhrase.needsPhrase = !program.phrases.empty();
    OptionWalk walk(program, arguments);
    if (!GoBetweens::passPhrase(withPhrase, walk)) {
        return false;
    }
    return !program.runsFiles || (walk.next() == OptionWalk::Stop::operand && !isFile(walk.value()));
}

/// The same for an interpreter's or a shell's script, or for an interpreter's module.
bool runsScriptThatRunsPackages(const GoBetween& program, Words arguments) {
    OptionWalk walk(program, arguments);
    if (!GoBetweens::passPhrase(program, walk)) {
        return false;
    }
    const OptionWalk::Stop stop = walk.next();
    const bool isModule = stop == OptionWalk::Stop::module;
    const bool isScript = stop == OptionWalk::Stop::operand && !walk.isTextNext();
    const GoBetween* const script =
        isModule || isScript ? GoBetweens::find(ToolNames::lastComponent(walk.value())) : nullptr;
    return script != nullptr && (isModule || script->isScript) && runsPackages(*script, walk.rest());
}

/// Whether a runner may take the place of a shell, as Yarn's newer versions do, for a script of several
/// commands.
bool runsScriptsItself(std::string_view command) {
    const std::vector<std::string_view> words = CommandWords::wordsOf(command);
    const auto isSuch = [](std::string_view word) {
        const GoBetween* const program =
            GoBetweens::find(ToolNames::lastComponent(ToolNames::withoutVersion(word)));
        return program != nullptr && program->runsScripts;
    };
    const auto runsOneProgram = [](std::string_view word) {
        return CommandWords::isListed("exec dlx x", word);
    };
    return std::ranges::any_of(words, isSuch) && std::ranges::none_of(words, runsOneProgram);
}

/// Works on the records of one snapshot.
class Folder {
public:
    explicit Folder(std::vector<SnapshotRecord>& records) : m_records(records) {}

    void fold() {
        noteParents();
        std::vector<Shell> shells;
        for (size_t index = 0; index < m_records.size(); ++index) {
            if (const auto shell = shellAt(index)) {
                shells.push_back(*shell);
            }
        }
        std::ranges::stable_sort(shells, {}, &Shell::depth);
        noteOwnScripts();
        handOverChildren();
        std::unordered_set<int32_t> folded;
        for (const Shell& shell : shells) {
            const SnapshotRecord& record = m_records[shell.index];
            SnapshotRecord& runner = m_records[shell.runner];
            runner.startedSeveral |= hasSeveralChildren(record) || hasSeveralChildren(runner);
            runner.foldedShells.push_back({.pid = record.pid, .command = record.command});
            folded.insert(record.pid);
        }
        std::erase_if(m_records, [&](const SnapshotRecord& record) { return folded.contains(record.pid); });
    }

private:
    /// Of a runner, directly or as the shell of such a shell.
    struct Shell {
        size_t index;
        size_t runner;
        int depth; ///< shells between the two
    };

    [[nodiscard]] bool hasSeveralChildren(const SnapshotRecord& record) const {
        const auto count = m_childCount.find(record.pid);
        return count != m_childCount.end() && count->second > 1;
    }

    void noteParents() {
        for (size_t index = 0; index < m_records.size(); ++index) {
            m_byPID.emplace(m_records[index].pid, index);
            ++m_childCount[m_records[index].ppid];
        }
        for (SnapshotRecord& record : m_records) {
            record.isRunner = m_childCount.contains(record.pid) && isPackageRunner(record.command);
        }
    }

    [[nodiscard]] std::optional<size_t> parentOf(size_t index) const {
        const auto found = m_byPID.find(m_records[index].ppid);
        return found != m_byPID.end() && found->second != index ? std::optional(found->second) : std::nullopt;
    }

    [[nodiscard]] std::optional<Shell> shellAt(size_t index) const {
        // A snapshot is not taken in one instant, so that parents may even form a ring: the steps are
        // bounded.
        constexpr int deepest = 16;
        size_t above = index;
        for (int depth = 0; depth < deepest && ToldText::isToldText(m_records[above].command); ++depth) {
            const auto parent = parentOf(above);
            if (!parent) {
                return std::nullopt;
            }
            if (m_records[*parent].isRunner) {
                return Shell{.index = index, .runner = *parent, .depth = depth};
            }
            above = *parent;
        }
        return std::nullopt;
    }

    /// Runners that need no shell may have more to run when what they started has ended.
    void noteOwnScripts() {
        for (size_t index = 0; index < m_records.size(); ++index) {
            const auto parent = parentOf(index);
            if (parent && m_records[*parent].isRunner && !ToldText::isToldText(m_records[index].command)) {
                m_records[*parent].mayRunMore |= runsScriptsItself(m_records[*parent].command);
            }
        }
    }

    void handOverChildren() {
        std::vector<std::pair<size_t, size_t>> moves; // child, runner
        for (size_t index = 0; index < m_records.size(); ++index) {
            const auto parent = parentOf(index);
            if (!parent || shellAt(index)) {
                continue;
            }
            const bool isAlone = m_childCount[m_records[*parent].pid] == 1;
            if (m_records[*parent].isRunner && isAlone) {
                noteOnlyChild(*parent, index);
            } else if (const auto shell = shellAt(*parent)) {
                moves.emplace_back(index, shell->runner);
                if (isAlone) {
                    noteOnlyChild(shell->runner, index);
                    m_records[index].onlyChildOf = m_records[*parent].pid;
                }
            }
        }
        for (const auto& [child, runner] : moves) {
            // In a container the runner may be process 1, and as its child the process would pass for an
            // orphan.
            const int32_t pid = m_records[runner].pid;
            m_records[child].ppid = pid == 1 ? 0 : pid;
        }
    }

    void noteOnlyChild(size_t runner, size_t child) {
        if (m_records[runner].pid != 1) {
            m_records[runner].onlyChildren.push_back(m_records[child].pid);
        }
    }

    std::vector<SnapshotRecord>& m_records;
    std::unordered_map<int32_t, size_t> m_byPID;
    std::unordered_map<int32_t, int> m_childCount;
};

} // namespace

bool isPackageRunner(std::string_view command) {
    std::string_view rest = command;
    const std::string_view name = ToolNames::lastComponent(Text::takeWord(rest));
    const GoBetween* const program = GoBetweens::find(name);
    if (program == nullptr) {
        return false; // as for most, without looking at their arguments
    }
    const std::vector<std::string_view> words = CommandWords::wordsOf(rest);
    const bool takesScript = program->sort == Sort::interpreter || program->sort == Sort::shell;
    return takesScript ? runsScriptThatRunsPackages(*program, words) : runsPackages(*program, words);
}

void fold(std::vector<SnapshotRecord>& records) {
    Folder(records).fold();
}

} // namespace VintrelCore::RunnerShells
