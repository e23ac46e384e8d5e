#include "VintrelCore/scan/WhatRuns.h"

#include "VintrelCore/model/ProcessKind.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/ShellText.h"
#include "VintrelCore/scan/ToldText.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;
using WhatRuns::Found;
using Arguments = std::vector<std::string>;

Arguments behind(Arguments arguments, const Arguments& others) {
    arguments.insert(arguments.end(), others.begin(), others.end());
    return arguments;
}

std::string inQuotes(std::string_view word) {
    std::string text = "'";
    for (const char byte : word) {
        text += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    }
    return text + "'";
}

void checkQuoting(const Arguments& arguments, const std::string& script) {
    ShellText text(script);
    const auto words = text.nextCommand();
    require(words == arguments, "a shell's words in quotes are the words");
    require(!text.nextCommand(), "and make one command");
}

bool isToldOneThing(std::string_view text) {
    return ToldText::isToldOneThing(Arguments{"sh", "-c", std::string(text)});
}

void checkTold(std::string_view text) {
    if (text.empty() || text.starts_with('-') || text.starts_with('+')) {
        return; // an option, and the text may follow
    }
    const bool isOne = isToldOneThing(text);
    const std::string told(text);
    require(ToldText::isToldOneThing(Arguments{"/bin/bash", "-lc", told, "name"}) == isOne,
            "whatever shell is told it");
    require(isToldOneThing("cd x\n" + told) == isOne, "what does not last counts for nothing");
    require(isOne || !isToldOneThing("x\n" + told), "another command makes it no fewer");
    require(!isToldOneThing("x\nx\n" + told), "two are not one");
    ShellText commands(text);
    while (commands.nextCommand()) {
    }
    require(!isOne || !commands.mayHideCommands(), "what may be hidden is not one thing");
    const auto plain = ToldText::textOfOneProgram(Arguments{"sh", "-c", told});
    require(!plain || *plain == text, "a plain command is the text");
}

void checkGoBetweens(ProcessKind kind, const Arguments& arguments, Found found) {
    if (!arguments.front().starts_with('/') || arguments.front().contains(' ')) {
        return; // a title, an option, or a word of the shell's
    }
    std::string script;
    for (const std::string& argument : arguments) {
        script.append(script.empty() ? "" : " ").append(inQuotes(argument));
    }
    checkQuoting(arguments, script);
    // What launches adds a level, and the levels are bounded.
    const Found launched = WhatRuns::foundIn(kind, behind({"nice", "-n", "5", "--"}, arguments));
    require(launched == Found::nowhere || (launched == Found::launched && found != Found::nowhere),
            "a launcher adds nothing to what it launches");
    const Found told = WhatRuns::foundIn(kind, Arguments{"sh", "-c", script});
    require(told == Found::nowhere || (told == Found::launched && found != Found::nowhere),
            "nor does a shell");
}

void checkPrograms(ProcessKind kind, const Arguments& arguments) {
    for (const char* const program : {"vim", "xterm", "git", "docker"}) {
        require(WhatRuns::foundIn(kind, behind({program, "x"}, arguments)) == Found::nowhere,
                "a program that runs no others is no tool, whatever it was told");
    }
    require(WhatRuns::foundIn(kind, behind({"node", "server.js"}, arguments)) == Found::nowhere,
            "nor is a script");
    require(!WhatRuns::isPlaywrightMCPBrowser(behind({"chrome", "--"}, arguments)),
            "behind its options a browser is told addresses");
}

void checkLine(ProcessKind kind, std::string_view line) {
    const Found found = WhatRuns::foundInLine(kind, line);
    require(WhatRuns::foundInLine(kind, std::string(line) + "  ") == found, "blanks at the end say nothing");
    const bool isSwept = riskGroup(kind) == RiskGroup::testAutomation;
    require(isSwept || found == Found::nowhere, "only kinds that may be swept have tools");
    if (WhatRuns::isPlaywrightMCPBrowser(line)) {
        require(WhatRuns::foundInLine(ProcessKind::chromeHelper, line) != Found::nowhere,
                "a helper is found");
    }
}

} // namespace

/// Input: the number of a kind, counted from "a"; then an argument on each line.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view rest = Fuzzing::textOf(data, size);
    if (rest.empty()) {
        return 0;
    }
    const auto& kinds = ProcessKinds::allCases;
    const ProcessKind kind = kinds[static_cast<unsigned char>(rest.front() - 'a') % kinds.size()];
    rest.remove_prefix(1);
    checkLine(kind, rest);
    checkTold(rest);
    Arguments arguments;
    while (!rest.empty()) {
        arguments.emplace_back(Fuzzing::takeUpTo(rest, "\n"));
    }
    const Found found = WhatRuns::foundIn(kind, arguments);
    require(WhatRuns::foundIn(kind, behind(arguments, {"", ""})) == found, "what a title left is empty");
    if (WhatRuns::isPlaywrightMCPBrowser(arguments)) {
        require(WhatRuns::foundIn(ProcessKind::chromeHelper, arguments) != Found::nowhere,
                "a helper is found");
    }
    checkPrograms(kind, arguments);
    if (!arguments.empty()) {
        checkGoBetweens(kind, arguments, found);
    }
    return 0;
}
