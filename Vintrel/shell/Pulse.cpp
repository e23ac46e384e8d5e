#include "Vintrel/shell/Pulse.h"

#include <QEasingCurve>

namespace Vintrel {

using std::chrono::milliseconds;

Pulse::Pulse(QObject* parent) : QObject(parent) {
    // Each frame is a message to the panel, which then asks for the pictures.
    constexpr milliseconds betweenFrames{45};
    m_timer.setInterval(betweenFrames);
    connect(&m_timer, &QTimer::timeout, this, &Pulse::advance);
}

void Pulse::start() {
    m_clock.start();
    m_timer.start();
}

double Pulse::opacityAfter(milliseconds time) {
    static const QEasingCurve curve(QEasingCurve::InOutSine);
    const auto share = [](milliseconds part, milliseconds whole) {
        return static_cast<double>(part.count()) / static_cast<double>(whole.count());
    };
    constexpr double depth = 1 - faintest;
    if (time < fadingOut) {
        return 1 - depth * curve.valueForProgress(share(time, fadingOut));
    }
    if (time < fadingOut + fadingIn) {
        return faintest + depth * curve.valueForProgress(share(time - fadingOut, fadingIn));
    }
    return 1;
}

void Pulse::advance() {
    const milliseconds time(m_clock.elapsed());
    if (time >= fadingOut + fadingIn) {
        m_timer.stop();
    }
    emit frame(opacityAfter(time));
}

} // namespace Vintrel
