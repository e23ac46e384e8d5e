#pragma once

#include "VintrelCore/scan/ScanCore.h"
#include "tests/support/Snapshots.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelTests {

/// The rows of a snapshot whose text is prepared, with what the kernel knows. Each process started as many
/// seconds after the epoch as its number says.
inline std::vector<VintrelCore::ProcessItem> rowsOf(const std::string& psOutput,
                                                    const FakeKernel& kernel = {},
                                                    VintrelCore::ScanCore::EnumerateOptions options = {}) {
    const auto records = VintrelCore::snapshotRecords(psOutput, kernel.view());
    options.records = records;
    options.registeredPIDs = options.registeredPIDs.value_or(VintrelCore::ScanCore::PIDSet());
    options.startTimeProvider = [](int32_t pid) {
        return std::optional(VintrelCore::ProcStartTime{.sec = pid, .usec = 0});
    };
    return VintrelCore::ScanCore::enumerate(options);
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
