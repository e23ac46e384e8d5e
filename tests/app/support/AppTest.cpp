#include "tests/app/support/AppTest.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/views/parts/AppPalette.h"

#include <utility>

#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QStyleFactory>
#include <QTimer>

namespace VintrelTests {

AppTest::AppTest(Face face) {
    if (face == Face::none) {
        m_application = std::make_unique<QCoreApplication>(m_argc, m_argv);
        return;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Vintrel::Desktop::choosePlatformTheme();
    m_application = std::make_unique<QApplication>(m_argc, m_argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    Vintrel::AppPalette::apply({});
}

bool spinUntil(const std::function<bool()>& isDone, std::chrono::milliseconds patience) {
    const QDeadlineTimer deadline(patience);
    while (!isDone()) {
        if (deadline.hasExpired()) {
            return false;
        }
        constexpr int interval = 5;
        QCoreApplication::processEvents(QEventLoop::AllEvents, interval);
        spinFor(std::chrono::milliseconds(1));
    }
    return true;
}

void spinFor(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    // On a busy machine the time may pass without a turn; layouts, for one, take several.
    for (int turn = 0; turn < 10; ++turn) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
}

void RecordingNotifications::requestAuthorization(std::function<void(bool granted)> onAnswer) {
    ++requests;
    const auto answer = [this, onAnswer = std::move(onAnswer), isGranted = isToBeGranted] {
        authorization = isGranted ? Authorization::authorized : Authorization::denied;
        onAnswer(isGranted);
    };
    QMetaObject::invokeMethod(this, answer, Qt::QueuedConnection);
}

void RecordingNotifications::readAuthorization(std::function<void(Authorization)> onAnswer) {
    ++readings;
    QMetaObject::invokeMethod(
        this, [this, onAnswer = std::move(onAnswer)] { onAnswer(authorization); }, Qt::QueuedConnection);
}

} // namespace VintrelTests
