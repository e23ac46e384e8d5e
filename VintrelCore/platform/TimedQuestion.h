#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace VintrelCore::Platform {

/// A file system query with a timeout. The mount may belong to a machine that is gone, so a forked copy of
/// this process runs the query. The copy ends itself at the deadline, or as soon as the kernel lets it; the
/// caller need not wait for it.
class TimedQuestion {
public:
    /// Starts at once. `answer` runs in the copy, which has no other threads; it must do nothing but access
    /// files.
    explicit TimedQuestion(const std::function<std::string()>& answer,
                           std::chrono::milliseconds deadline = std::chrono::seconds(1));

    /// Waits for the answer until the deadline; absent on timeout, failure or interrupt. Call it only once.
    [[nodiscard]] std::optional<std::string> wait(int interrupt = -1);

private:
    std::chrono::steady_clock::time_point m_deadline;
    FileDescriptor m_answer; // its length, a colon, and its bytes
};

} // namespace VintrelCore::Platform
