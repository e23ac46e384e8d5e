#pragma once

#include <chrono>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace Vintrel {

/// Fades something out to a quarter of its opacity and in again, frame by frame. Nothing runs before and
/// after.
class Pulse : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds fadingOut{180};
    static constexpr std::chrono::milliseconds fadingIn{350};
    static constexpr double faintest = 0.25;

    explicit Pulse(QObject* parent = nullptr);

    /// Begins, or begins anew.
    void start();

    [[nodiscard]] bool isRunning() const { return m_timer.isActive(); }

    /// The opacity at that moment after the beginning, from 0.25 to 1; 1 once it is over.
    [[nodiscard]] static double opacityAfter(std::chrono::milliseconds time);

signals:
    /// The next frame. The last one is of opacity 1.
    void frame(double opacity);

private:
    void advance();

    QTimer m_timer;
    QElapsedTimer m_clock;
};

} // namespace Vintrel
