#pragma once

#include "VintrelCore/platform/Facts.h"
#include "VintrelCore/platform/ProcFiles.h"
#include "VintrelCore/platform/linux/ProcFolder.h"
#include "VintrelCore/platform/linux/TerminalNames.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The table of processes, row by row. Internal to platform/linux/.
namespace VintrelCore::Platform::KernelTable {

/// Fits the largest arguments that are read, and shows whether there are more.
inline constexpr size_t bufferSize = (size_t{256} << 10) + 1;

/// How much of the arguments of an account's processes is read, in bytes: strangers could fill the memory
/// with theirs.
[[nodiscard]] size_t mostOfArguments(int32_t owner);

[[nodiscard]] int64_t kibibytesOf(int64_t pages);

struct Row {
    ProcessFacts facts;
    ProcFiles::Stat stat;
    /// It started so recently that a later process with the same pid could have the same start time, which
    /// has a resolution of 10 ms.
    bool isNew = false;

    /// Whether both rows agree in everything that identifies a process.
    [[nodiscard]] bool saysTheSame(const Row& other) const;
};

class Reader {
public:
    /// The buffer has the size above, and is this object's while it reads.
    explicit Reader(std::span<char> buffer) : m_buffer(buffer) {}

    /// Reads the row of the process with that folder. Absent when it has ended or may not be inspected.
    [[nodiscard]] std::optional<Row> read(int32_t pid, const FileDescriptor& process);

private:
    [[nodiscard]] std::optional<std::string> commandOf(const FileDescriptor& process,
                                                       const std::string& inBrackets);
    void tell(ProcessFacts& facts, const ProcFiles::Stat& stat, const FileDescriptor& process);

    std::span<char> m_buffer;
    TerminalNames m_terminals;
};

} // namespace VintrelCore::Platform::KernelTable
