#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace VintrelCore::Platform {

/// A question to the file system that may never be answered: a mount may ask a machine that is gone. A copy
/// of this process asks, so that this one need not wait longer than it wants to. The copy ends by itself at
/// the deadline, or as soon as the system lets it; nothing of it has to be awaited.
class TimedQuestion {
public:
    /// Starts at once. `answer` runs in the copy, where there are no other threads: it looks at files, and
    /// nothing else.
    explicit TimedQuestion(const std::function<std::string()>& answer,
                           std::chrono::milliseconds deadline = std::chrono::seconds(1));

    /// Waits for the answer, until the deadline at the latest; absent without one. Can be asked once.
    [[nodiscard]] std::optional<std::string> wait(int interrupt = -1);

private:
    std::chrono::steady_clock::time_point m_deadline;
    FileDescriptor m_answer; // its length, a colon, and its bytes
};

} // namespace VintrelCore::Platform
