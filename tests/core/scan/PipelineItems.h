#pragma once

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VintrelTests {

/// A candidate of which only these three matter.
inline VintrelCore::ProcessItem candidate(int32_t pid, int32_t ppid, std::string command) {
    VintrelCore::ProcessItem item;
    item.pid = pid;
    item.ppid = ppid;
    item.command = std::move(command);
    return item;
}

inline std::vector<int32_t> pidsOf(std::span<const VintrelCore::ProcessItem> items) {
    std::vector<int32_t> pids;
    for (const VintrelCore::ProcessItem& item : items) {
        pids.push_back(item.pid);
    }
    return pids;
}

/// The item of this process; null when there is none.
inline const VintrelCore::ProcessItem* find(const std::vector<VintrelCore::ProcessItem>& items, int32_t pid) {
    const auto found = std::ranges::find(items, pid, &VintrelCore::ProcessItem::pid);
    return found == items.end() ? nullptr : &*found;
}

/// A vite server under npm, a stray vitest, a jest on a terminal, and two that are no developer tools.
inline constexpr std::string_view workday = //
    "    1     0  1-00:00:00 ?      0.0  11872 /usr/lib/systemd/systemd\n"
    "  100     1    02:00:00 ?      1.5  50000 npm run dev\n"
    "  101   100    01:59:00 ?      2.5  80000 node /home/dev/shop/node_modules/.bin/vite --port 5199\n"
    "  300    50    02:00:00 pts/0  0.5  30000 jest  --watch\n"
    "  200     1    02:00:00 ?      0.0  40000 node /home/dev/shop/node_modules/.bin/vitest run\n"
    "  400     1    02:00:00 ?      0.0   9000 /usr/bin/ssh-agent\n";

/// Options for a prepared table, in which nobody listens on any port.
inline VintrelCore::ScanCore::EnumerateOptions prepared(std::string_view psOutput) {
    return {.psOutput = psOutput, .registeredPIDs = VintrelCore::ScanCore::PIDSet{}};
}

} // namespace VintrelTests
