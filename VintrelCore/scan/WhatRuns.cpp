#include "VintrelCore/scan/WhatRuns.h"

#include "VintrelCore/scan/BrowserProfile.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/GoBetweens.h"
#include "VintrelCore/scan/OptionWalk.h"
#include "VintrelCore/scan/ShellCommands.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <vector>

namespace VintrelCore::WhatRuns {

namespace {

using CommandWords::Words;
using GoBetweens::GoBetween;
using GoBetweens::OptionWalk;
using GoBetweens::Sort;

struct Command {
    std::string_view program;
    Words arguments;
    bool isExact = true; ///< false when blanks within arguments cannot be told from those between them
};

/// How a command came to be named: what that proves.
enum class As : uint8_t {
    program,   ///< what the kernel was told
    launched,  ///< what a launcher, a shell or a runner of any program starts
    ofProject, ///< what a runner starts that takes scripts of the project's, too
    script,    ///< a file that an interpreter or a shell reads
    module,
};

/// A command's name, or a path to where programs are installed. Any other file is a project's own, which may
/// be named like any program ("tests/playwright", "time.py").
bool isNoProjectsOwn(std::string_view program) {
    const bool isFile =
        program.contains('/') ? !program.starts_with('@') : ToolNames::hasScriptSuffix(program);
    return !isFile || ToolNames::isInstalled(program);
}

bool isAllowed(const GoBetween& program, std::string_view path, As as) {
    switch (as) {
    case As::program:
        return true;
    case As::launched:
        return program.sort == Sort::browser || isNoProjectsOwn(path); // by its profile a browser is known
    case As::ofProject:
        return isNoProjectsOwn(path) && (program.isScript || program.sort == Sort::interpreter);
    case As::script:
        return program.isScript && ToolNames::isInstalled(path);
    case As::module:
        return program.isScript;
    }
    return false;
}

/// Whether Playwright's program opens a window in which a person works, rather than to run tests.
bool isPlaywrightsWindow(ProcessKind kind, Words arguments) {
    constexpr std::string_view listed =
        "codegen open cr ff wk show-trace show-report screenshot pdf --ui --debug";
    return kind == ProcessKind::playwrightTest &&
           std::ranges::any_of(
               arguments, [listed](std::string_view word) { return CommandWords::isListed(listed, word); });
}

/// Looks for the tool of one kind.
class Search {
public:
    explicit Search(ProcessKind kind) : m_kind(kind) {}

    [[nodiscard]] Found in(const Command& command, As as = As::program,
                           int depth = GoBetweens::deepest) const {
        if (depth == 0 || isPlaywrightsWindow(m_kind, command.arguments)) {
            return Found::nowhere;
        }
        if (isTool(command.program, as)) {
            return Found::program;
        }
        const GoBetween* const program = GoBetweens::find(ToolNames::lastComponent(command.program));
        if (program == nullptr || !isAllowed(*program, command.program, as)) {
            return Found::nowhere;
        }
        switch (program->sort) {
        case Sort::interpreter:
        case Sort::runner:
            return inNamed(*program, command, depth - 1);
        case Sort::launcher:
        case Sort::shell:
            return inLauncher(*program, command, depth - 1);
        case Sort::browser:
            return inBrowser(command.arguments);
        }
        return Found::nowhere;
    }

private:
    /// What a shell's text runs beside what runs nothing lasting.
    enum class TextRuns : uint8_t { nothing, tool, other };

    [[nodiscard]] bool isTool(std::string_view program, As as) const {
        if (as == As::script) {
            return ToolNames::isToolsScript(m_kind, program);
        }
        if (as == As::module) {
            return ToolNames::isToolsModule(m_kind, program);
        }
        return (as == As::program || isNoProjectsOwn(program)) && ToolNames::isToolsFile(m_kind, program);
    }

    /// For interpreters and runners, which are told by name what to run.
    [[nodiscard]] Found inNamed(const GoBetween& program, const Command& command, int depth) const {
        if (program.sort == Sort::interpreter && !command.arguments.empty() &&
            command.arguments.front().starts_with('(')) {
            return inTitle(command.arguments.front());
        }
        OptionWalk walk(program, command.arguments);
        if (!GoBetweens::passPhrase(program, walk)) {
            return Found::nowhere;
        }
        switch (walk.next()) {
        case OptionWalk::Stop::operand:
            return program.sort == Sort::runner ? inPackage(program, walk, command, depth)
                                                : inScript(As::script, walk, command, depth);
        case OptionWalk::Stop::module:
            return inScript(As::module, walk, command, depth);
        case OptionWalk::Stop::text:
            return inText(textOf(walk, command), depth);
        case OptionWalk::Stop::code:
        case OptionWalk::Stop::end:
            return Found::nowhere;
        }
        return Found::nowhere;
    }

    /// Node's tools rename themselves: "node (vitest 1)".
    [[nodiscard]] Found inTitle(std::string_view title) const {
        const std::string_view name = title.substr(1, title.find_first_of(" )") - 1);
        return ToolNames::isToolsFile(m_kind, name) ? Found::script : Found::nowhere;
    }

    [[nodiscard]] Found inScript(As as, const OptionWalk& walk, const Command& command, int depth) const {
        const Found found = in({walk.value(), walk.rest(), command.isExact}, as, depth);
        return found == Found::program ? Found::script : found;
    }

    [[nodiscard]] Found inPackage(const GoBetween& program, const OptionWalk& walk, const Command& command,
                                  int depth) const {
        const std::string_view package = ToolNames::withoutVersion(walk.value());
        if (ToolNames::isToolsPackage(m_kind, package)) {
            return Found::package;
        }
        const GoBetween* const goBetween = GoBetweens::find(ToolNames::lastComponent(package));
        if (goBetween == nullptr) {
            // Beside the package's commands, a runner starts any other program. Test runners' commands have
            // the tool's name; those of MCP servers have "mcp" in theirs.
            const bool isServers = package.contains("mcp") && !package.contains('/');
            const bool isInPackage = isServers && ToolNames::isToolsPackage(m_kind, walk.package());
            return isInPackage ? Found::package : Found::nowhere;
        }
        const As as = program.runsAnyProgram ? As::launched : As::ofProject;
        const Found found = in({package, walk.rest(), command.isExact}, as, depth);
        return found == Found::program ? Found::package : found;
    }

    [[nodiscard]] Found inLauncher(const GoBetween& program, const Command& command, int depth) const {
        OptionWalk walk(program, command.arguments);
        if (!GoBetweens::passPhrase(program, walk)) {
            return Found::nowhere;
        }
        size_t operands = program.operands;
        OptionWalk::Stop stop = walk.next();
        while (stop == OptionWalk::Stop::operand) {
            const bool isVariable = program.takesVariables && CommandWords::isAssignment(walk.value());
            if (operands == 0 && !isVariable) {
                break;
            }
            operands -= isVariable ? 0 : 1;
            stop = walk.next();
        }
        if (stop == OptionWalk::Stop::text || (stop == OptionWalk::Stop::operand && walk.isTextNext())) {
            return inText(textOf(walk, command), depth);
        }
        if (stop != OptionWalk::Stop::operand) {
            return Found::nowhere;
        }
        if (program.sort == Sort::shell) {
            return inScript(As::script, walk, command, depth);
        }
        if (program.runsInShell) {
            std::string text(walk.value());
            return inText(text.append(" ").append(CommandWords::joined(walk.rest())), depth);
        }
        return launched(in({walk.value(), walk.rest(), command.isExact}, As::launched, depth));
    }

    /// The tool must be in every command that lasts: a shell that also runs something else is not the tool's.
    [[nodiscard]] Found inText(std::string_view text, int depth) const {
        return runBy(text, depth) == TextRuns::tool ? Found::launched : Found::nowhere;
    }

    [[nodiscard]] TextRuns runBy(std::string_view text, int depth) const {
        TextRuns result = TextRuns::nothing;
        const auto look = [&](Words words, int left) {
            const Found found = in({words.front(), words.subspan(1)}, As::launched, left);
            result = std::max(result, found == Found::nowhere ? TextRuns::other : TextRuns::tool);
        };
        return ShellCommands::visitLasting(text, depth, look) ? result : TextRuns::other;
    }

    /// In a line that was joined, the text ends only with the line.
    static std::string textOf(const OptionWalk& walk, const Command& command) {
        std::string text(walk.value());
        if (!command.isExact && !walk.rest().empty()) {
            text.append(" ").append(CommandWords::joined(walk.rest()));
        }
        return text;
    }

    [[nodiscard]] Found inBrowser(Words arguments) const {
        const std::string_view folder = BrowserProfile::folderIn(arguments);
        const bool isHelper = BrowserProfile::isPlaywrightMCPs(folder);
        bool isTools = false;
        if (m_kind == ProcessKind::chromeHelper || m_kind == ProcessKind::playwrightMCP) {
            isTools = isHelper; // any other folder of that name may be a person's own profile
        } else if (m_kind == ProcessKind::playwrightTest) {
            isTools = BrowserProfile::isPlaywrightTests(folder);
        }
        return isTools ? Found::profile : Found::nowhere;
    }

    static Found launched(Found found) { return found == Found::nowhere ? found : Found::launched; }

    ProcessKind m_kind;
};

/// A login shell's name has a hyphen in front.
std::string_view programOf(Words words) {
    const std::string_view program = words.front();
    const bool isLoginShell = program.starts_with('-') && [program] {
        const GoBetween* const found = GoBetweens::find(program.substr(1));
        return found != nullptr && found->sort == Sort::shell;
    }();
    return isLoginShell ? program.substr(1) : program;
}

Found foundInWords(ProcessKind kind, Words words, bool isExact) {
    if (words.empty()) {
        return Found::nowhere;
    }
    return Search(kind).in({programOf(words), words.subspan(1), isExact});
}

bool isHelperInWords(Words words) {
    const GoBetween* const program =
        words.empty() ? nullptr : GoBetweens::find(ToolNames::lastComponent(words.front()));
    return program != nullptr && program->sort == Sort::browser &&
           BrowserProfile::isPlaywrightMCPs(BrowserProfile::folderIn(words.subspan(1)));
}

} // namespace

Found foundIn(ProcessKind kind, std::span<const std::string> arguments) {
    return foundInWords(kind, CommandWords::wordsOf(arguments), true);
}

Found foundInLine(ProcessKind kind, std::string_view line) {
    return foundInWords(kind, CommandWords::wordsOf(line), false);
}

bool isPlaywrightMCPBrowser(std::span<const std::string> arguments) {
    return isHelperInWords(CommandWords::wordsOf(arguments));
}

bool isPlaywrightMCPBrowser(std::string_view line) {
    return isHelperInWords(CommandWords::wordsOf(line));
}

RiskTier tierOf(RiskTier tier, Found found) {
    return found == Found::nowhere ? std::max(tier, RiskTier::moderate) : tier;
}

} // namespace VintrelCore::WhatRuns
