#pragma once

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/RecordPipeline.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ToldText.h"
#include "tests/support/Snapshots.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelTests {

using Arguments = std::vector<std::string>;

/// Exact arguments that ps prints as this line: each word is one, and so is the text that a shell is told.
inline Arguments argumentsIn(std::string_view line) {
    const bool isToldText = VintrelCore::ToldText::isToldText(line);
    Arguments arguments;
    bool isTextNext = false;
    for (auto word = VintrelCore::Text::takeWord(line); !word.empty() && !isTextNext;
         word = isTextNext ? std::string_view() : VintrelCore::Text::takeWord(line)) {
        arguments.emplace_back(word);
        isTextNext = isToldText && word.starts_with('-') && !word.starts_with("--") && word.ends_with('c');
    }
    if (isTextNext) {
        arguments.emplace_back(VintrelCore::Text::trimmed(line));
    }
    return arguments;
}

/// What a test lets be found out about single processes, by their numbers. Arguments that it does not name
/// are those that ps seems to print.
struct Found {
    std::map<int32_t, Arguments> arguments{};
    std::map<int32_t, std::string> executables{};
    std::map<int32_t, std::string> scripts{}; ///< that runners say they run; none where it is not named

    void addArgumentsIn(std::string_view psOutput) {
        while (const auto text = VintrelCore::Text::takeLine(psOutput)) {
            if (const auto line = VintrelCore::ScanCore::parsePSLine(*text)) {
                arguments.try_emplace(line->pid, argumentsIn(line->args));
            }
        }
    }

    [[nodiscard]] VintrelCore::ProcessLookup lookup(const FakeKernel& kernel) const {
        const auto valueIn = [](const auto& values) {
            return [&values](int32_t pid) {
                const auto found = values.find(pid);
                return found != values.end() ? std::optional(found->second) : std::nullopt;
            };
        };
        return {.argumentsOf = valueIn(arguments),
                .executableOf = valueIn(executables),
                .runnersScriptOf =
                    [this](int32_t pid) {
                        const auto found = scripts.find(pid);
                        return std::optional(found != scripts.end() ? found->second : std::string());
                    },
                .holdsTerminal = kernel.view().holdsTerminal,
                .wasInSnapshot = [](int32_t) { return true; }};
    }
};

/// The rows of a snapshot whose text is prepared, with what the kernel knows. Each process started as many
/// seconds after the epoch as its number says.
inline std::vector<VintrelCore::ProcessItem> rowsOf(const std::string& psOutput,
                                                    const FakeKernel& kernel = {},
                                                    VintrelCore::ScanCore::EnumerateOptions options = {},
                                                    Found found = {}) {
    const auto records = VintrelCore::snapshotRecords(psOutput, kernel.view());
    options.registeredPIDs = options.registeredPIDs.value_or(VintrelCore::ScanCore::PIDSet());
    options.startTimeProvider = [](int32_t pid) {
        return std::optional(VintrelCore::ProcStartTime{.sec = pid, .usec = 0});
    };
    found.addArgumentsIn(psOutput);
    return VintrelCore::ScanCore::candidatesIn(records, options, found.lookup(kernel));
}

/// What is folded into a row, in its order. Fails the test where a stamp is not the process's own.
inline std::vector<int32_t> foldedPIDs(const VintrelCore::ProcessItem& item) {
    std::vector<int32_t> pids;
    for (const VintrelCore::FoldedProcess& process : item.folded) {
        EXPECT_EQ(process.startTime, (VintrelCore::ProcStartTime{.sec = process.pid, .usec = 0}));
        pids.push_back(process.pid);
    }
    return pids;
}

} // namespace VintrelTests
