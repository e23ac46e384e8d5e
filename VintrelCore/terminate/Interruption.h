#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>

#include <poll.h>

namespace VintrelCore::KillCore {

/// Whether a descriptor has become readable, and waits that it cuts short. Internal to terminate/.
class Interruption {
public:
    /// A negative descriptor never becomes readable.
    explicit Interruption(int descriptor) : m_descriptor(descriptor) {}

    [[nodiscard]] bool hasCome() const { return comesWithin(0); }

    void waitFor(double seconds) const {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        for (double left = seconds; left > 0 && !comesWithin(std::ceil(left * 1'000));) {
            left = std::chrono::duration<double>(end - Clock::now()).count();
        }
    }

private:
    /// Whether something came while waiting.
    [[nodiscard]] bool comesWithin(double milliseconds) const {
        pollfd interrupt{.fd = m_descriptor, .events = POLLIN, .revents = 0};
        constexpr double longest = 60'000; // milliseconds; the caller waits again for longer spans
        return ::poll(&interrupt, 1, static_cast<int>(std::min(milliseconds, longest))) > 0;
    }

    int m_descriptor;
};

} // namespace VintrelCore::KillCore
