#include "bench/FrameWatch.h"

#include "Vintrel/views/GroupHeader.h"
#include "Vintrel/views/StrayRow.h"
#include "bench/OwnProcess.h"

#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <utility>

#include <QEvent>
#include <QEventLoop>
#include <QTimer>

namespace Bench {

Moment Moment::now() {
    return {.time = Clock::now(), .processorTime = OwnProcess::threadTime()};
}

Sample Sample::between(const Moment& begin, const Moment& end) {
    return {.time = std::chrono::duration<double, std::milli>(end.time - begin.time).count(),
            .processorTime = end.processorTime - begin.processorTime};
}

bool FrameWatch::notify(QObject* receiver, QEvent* event) {
    if (event->type() == QEvent::Paint && receiver->isWidgetType()) {
        m_hasPainted = true;
        if (qobject_cast<Vintrel::StrayRow*>(receiver) != nullptr) {
            ++m_current.rows;
        } else if (qobject_cast<Vintrel::GroupHeader*>(receiver) != nullptr) {
            ++m_current.headers;
        }
    }
    ++m_depth;
    const bool isHandled = QApplication::notify(receiver, event);
    --m_depth;
    // All of a window is painted, and handed to the screen, within one event of the window's.
    if (m_depth == 0) {
        if (std::exchange(m_hasPainted, false)) {
            m_current.end = Moment::now();
            m_frames.push_back(std::exchange(m_current, {}));
        }
        if (m_isDone != nullptr && (*m_isDone)()) {
            m_loop->quit();
        }
    }
    return isHandled;
}

size_t FrameWatch::paintedRows() const {
    return std::accumulate(m_frames.begin(), m_frames.end(), size_t{0},
                           [](size_t sum, const Frame& frame) { return sum + frame.rows; });
}

void FrameWatch::perform(const std::function<void()>& action) {
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [&] {
        action();
        loop.quit();
    });
    loop.exec();
}

void FrameWatch::runUntil(const std::function<bool()>& isDone) {
    if (isDone()) {
        return;
    }
    QEventLoop loop;
    QTimer patience;
    patience.setSingleShot(true);
    QObject::connect(&patience, &QTimer::timeout, &loop, [] {
        std::fputs("bench_views: what was waited for did not happen\n", stderr);
        std::exit(EXIT_FAILURE);
    });
    constexpr std::chrono::seconds most(20);
    patience.start(most);
    m_loop = &loop;
    m_isDone = &isDone;
    loop.exec();
    m_isDone = nullptr;
    m_loop = nullptr;
}

void FrameWatch::settle(const std::function<bool()>& isQuiet) {
    constexpr std::chrono::milliseconds whileOfQuiet(60);
    size_t before = 0;
    do {
        runUntil(isQuiet);
        before = m_frames.size();
        QEventLoop loop;
        QTimer::singleShot(whileOfQuiet, &loop, &QEventLoop::quit);
        loop.exec();
    } while (m_frames.size() != before || !isQuiet());
}

} // namespace Bench
