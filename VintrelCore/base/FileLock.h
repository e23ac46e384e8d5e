#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <chrono>
#include <optional>
#include <string>

namespace VintrelCore {

/// Keeps other processes (and other locks of this one) out while it lives. The file it is taken on stays
/// where it is: removing it would let two in.
class FileLock {
public:
    /// Makes the file, for the user alone, if need be, and waits for whoever has the lock. Absent when the
    /// file cannot be made, or one of them keeps the lock for longer than `patience`.
    [[nodiscard]] static std::optional<FileLock> take(const std::string& path,
                                                      std::chrono::milliseconds patience);

private:
    explicit FileLock(FileDescriptor file) : m_file(std::move(file)) {}

    FileDescriptor m_file;
};

} // namespace VintrelCore
