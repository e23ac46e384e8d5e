#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

#include <QApplication>

class QEventLoop;

namespace Bench {

using Clock = std::chrono::steady_clock;

struct Moment {
    Clock::time_point time{};
    double processorTime = 0; ///< of the calling thread by then, in milliseconds

    [[nodiscard]] static Moment now();
};

/// How long something took, in milliseconds.
struct Sample {
    double time = 0;
    double processorTime = 0;

    static Sample between(const Moment& begin, const Moment& end);
};

/// What was painted in one go, and when it had been handed to the screen.
struct Frame {
    Moment end{};
    size_t rows = 0;    ///< of strays
    size_t headers = 0; ///< of groups
};

/// An application that notes what it paints.
class FrameWatch : public QApplication {
public:
    FrameWatch(int& argc, char** argv) : QApplication(argc, argv) {}

    bool notify(QObject* receiver, QEvent* event) override;

    /// Since `forget`.
    [[nodiscard]] const std::vector<Frame>& frames() const { return m_frames; }

    [[nodiscard]] size_t paintedRows() const;

    void forget() { m_frames.clear(); }

    /// Calls `action` from the event loop, as everything happens in the application: what is deleted later
    /// goes once the loop is back, which it never would for a call from outside.
    static void perform(const std::function<void()>& action);

    /// Runs the event loop until `isDone`, which is asked after every event. Ends the program with a message
    /// when that takes longer than 20 s.
    void runUntil(const std::function<bool()>& isDone);

    /// Runs the event loop until `isQuiet` and nothing has been painted for a while.
    void settle(const std::function<bool()>& isQuiet);

private:
    int m_depth = 0;
    Frame m_current;
    bool m_hasPainted = false;
    std::vector<Frame> m_frames;
    QEventLoop* m_loop = nullptr;
    const std::function<bool()>* m_isDone = nullptr;
};

} // namespace Bench
