#pragma once

#include <utility>

#include <QElapsedTimer>
#include <QEvent>

namespace Vintrel {

/// Tells the press of a mouse button that comes right after a row has come to stand elsewhere: it was meant
/// for what stood there before. Keys mean what has the focus, wherever it stands.
class PressGuard {
public:
    /// The row stands elsewhere now.
    void noteMoved() { m_sinceMoved.start(); }

    /// To be told of every event of the row's buttons.
    void follow(const QEvent& event) {
        constexpr qint64 reactionTime = 250; // milliseconds
        if (event.type() == QEvent::MouseButtonPress) {
            m_isTooSoon = m_sinceMoved.isValid() && m_sinceMoved.elapsed() < reactionTime;
        } else if (event.type() == QEvent::KeyPress) {
            m_isTooSoon = false;
        }
    }

    /// Whether the press that led to a click came too soon. The next click is asked about anew.
    [[nodiscard]] bool takeTooSoon() { return std::exchange(m_isTooSoon, false); }

private:
    QElapsedTimer m_sinceMoved;
    bool m_isTooSoon = false;
};

} // namespace Vintrel
