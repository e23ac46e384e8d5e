#pragma once

#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/ToolFacts.h"
#include "tests/system/OddProcesses.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace VintrelTests {

using VintrelCore::Platform::ProcessFacts;

inline std::map<int32_t, ProcessFacts> byPID(std::span<const ProcessFacts> processes) {
    std::map<int32_t, ProcessFacts> map;
    for (const ProcessFacts& process : processes) {
        map.emplace(process.pid, process);
    }
    return map;
}

inline double number(const std::string& text) {
    return VintrelCore::Text::parseDecimal(text).value_or(-1);
}

/// The table three times: by the tools, and by the kernel before and after.
class Tables {
public:
    Tables() {
        // A tool's line counts only for what started in another tick than the tool.
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        m_before = byPID(VintrelCore::Platform::kernelFacts()->processes());
        for (const auto& [pid, process] : m_before) {
            m_usedBefore.emplace(pid, usedCPU(pid));
        }
        m_before =
            byPID(VintrelCore::Platform::kernelFacts()->processes()); // not before what was used by then
        m_toolFacts.emplace(VintrelCore::ToolFacts::Tools());
        m_tools = byPID(m_toolFacts->processes());
        m_kernel = VintrelCore::Platform::kernelFacts();
        m_after = byPID(m_kernel->processes());
    }

    /// Every field of one process in both.
    void compare(int32_t pid, const std::string& what) {
        SCOPED_TRACE(what + ", " + std::to_string(pid));
        const bool isShown = m_tools.contains(pid);
        const bool hasCommand = m_after.contains(pid) && !m_after.at(pid).command.empty();
        ASSERT_EQ(isShown, hasCommand) << "ps leaves out whom it has nothing to show of";
        if (!isShown) {
            return;
        }
        const ProcessFacts& tools = m_tools.at(pid);
        const ProcessFacts& kernel = m_after.at(pid);
        EXPECT_EQ(kernel.ppid, tools.ppid);
        EXPECT_EQ(kernel.tty, tools.tty);
        EXPECT_EQ(kernel.command, tools.command);
        EXPECT_EQ(kernel.name, tools.name);
        EXPECT_EQ(kernel.isZombie, tools.isZombie);
        EXPECT_EQ(m_kernel->startTime(pid), m_toolFacts->startTime(pid));
        compareWhatMoves(m_before.at(pid), tools, kernel);
        if (usedCPU(pid) == m_usedBefore.at(pid)) { // the share of an idle one falls
            EXPECT_GE(number(m_before.at(pid).cpuPercent), number(tools.cpuPercent));
            EXPECT_LE(number(kernel.cpuPercent), number(tools.cpuPercent));
        }
        if (!kernel.isZombie) {
            EXPECT_EQ(m_kernel->residentKB(pid), VintrelCore::Text::parseInteger<int64_t>(tools.rss));
        }
    }

private:
    static void compareWhatMoves(const ProcessFacts& before, const ProcessFacts& tools,
                                 const ProcessFacts& after) {
        EXPECT_LE(VintrelCore::ScanCore::parseElapsed(before.elapsed),
                  VintrelCore::ScanCore::parseElapsed(tools.elapsed));
        EXPECT_GE(VintrelCore::ScanCore::parseElapsed(after.elapsed),
                  VintrelCore::ScanCore::parseElapsed(tools.elapsed));
        EXPECT_EQ(before.elapsed.size(), tools.elapsed.size()) << tools.elapsed << " and " << before.elapsed;
    }

    static double usedCPU(int32_t pid) {
        const auto record = VintrelCore::Platform::processRecord(pid);
        return record ? record->usedCPU.value_or(0) : 0;
    }

    std::map<int32_t, ProcessFacts> m_before;
    std::map<int32_t, double> m_usedBefore;
    std::optional<VintrelCore::ToolFacts> m_toolFacts;
    std::map<int32_t, ProcessFacts> m_tools;
    std::unique_ptr<VintrelCore::Platform::Facts> m_kernel;
    std::map<int32_t, ProcessFacts> m_after;
};

inline void compareAll(const OddProcesses& odd) {
    Tables tables;
    for (const auto& [pid, what] : odd.all()) {
        tables.compare(pid, what);
    }
}

} // namespace VintrelTests
