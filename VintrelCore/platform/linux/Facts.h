#pragma once

#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/platform/ProcFiles.h"
#include "VintrelCore/platform/linux/KernelTable.h"
#include "VintrelCore/platform/linux/ProcFolder.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace VintrelCore::Platform {

/// Facts read from /proc and from the kernel's dump of sockets. Nothing here waits for a mount.
class FactsFromKernel : public Facts {
public:
    /// Reads the table.
    FactsFromKernel();

    [[nodiscard]] std::span<const ProcessFacts> processes() override { return m_processes; }

    [[nodiscard]] Shortfall shortfall() override;
    [[nodiscard]] KernelView kernelView() override;
    [[nodiscard]] std::optional<ProcStartTime> startTime(int32_t pid) override;
    [[nodiscard]] std::optional<std::vector<std::string>> arguments(int32_t pid) override;
    [[nodiscard]] std::optional<std::string> executable(int32_t pid) override;
    [[nodiscard]] std::optional<std::string> environmentValue(int32_t pid, std::string_view name) override;
    [[nodiscard]] std::optional<int64_t> residentKB(int32_t pid) override;
    [[nodiscard]] Folders folders(std::span<const int32_t> pids) override;
    [[nodiscard]] Listeners listeners(const std::set<int>& ports,
                                      std::span<const int32_t> candidates) override;
    [[nodiscard]] std::vector<OpenDescriptor> openDescriptors(std::span<const int32_t> pids) override;

private:
    using PortsByInode = std::unordered_map<uint64_t, int>;

    /// The facts from a process's descriptors, which are read once.
    struct Held {
        bool isMasterOfTerminals = false;
        std::vector<uint64_t> sockets{};
    };

    /// The folder of a process in the table; invalid when the process has ended, even if its pid has been
    /// reused. Valid until the next call.
    [[nodiscard]] const FileDescriptor& open(int32_t pid);
    [[nodiscard]] bool isOfTheTable(int32_t pid, const FileDescriptor& process);
    [[nodiscard]] const Held& heldBy(int32_t pid);
    [[nodiscard]] std::optional<KernelFacts> readFacts(int32_t pid);
    [[nodiscard]] std::optional<std::string_view> readEnvironment(int32_t pid);
    [[nodiscard]] std::optional<int32_t> unitProcess(int32_t pid);

    ProcFolder m_proc;
    std::vector<char> m_buffer; // for one file at a time
    KernelTable::Reader m_reader{m_buffer};
    std::vector<ProcessFacts> m_processes;
    std::unordered_map<int32_t, KernelTable::Row>
        m_new; // by pid; with all that tells such a process from another
    /// By pid. The rest of the records is in `m_processes`.
    std::unordered_map<int32_t, ProcFiles::Stat> m_stats;
    /// Folders of the table's processes: several things are asked of the same few.
    std::unordered_map<int32_t, FileDescriptor> m_opened;
    std::unordered_map<int32_t, Held> m_held;
};

} // namespace VintrelCore::Platform
