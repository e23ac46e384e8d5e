#include "Vintrel/engine/Background.h"
#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/startup/Interrupt.h"
#include "Vintrel/startup/ProcessState.h"

#include <QCoreApplication>
#include <QSocketNotifier>

namespace {

int run(int& argc, char** argv, const Interrupt& interrupt) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vintrel"));
    // NOLINTNEXTLINE(misc-const-correctness): the event loop changes it
    QSocketNotifier onInterrupt(interrupt.descriptor(), QSocketNotifier::Read);
    QObject::connect(&onInterrupt, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    const auto notifications = Vintrel::Desktop::makeUserNotifications();
    Vintrel::ScanEngine engine(*notifications); // NOLINT(misc-const-correctness): its timer changes it
    const int status = QCoreApplication::exec();
    Vintrel::Background::shared().finish(); // what was being ended is recorded as long as there is an engine
    return status;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    int status = 0;
    {
        const Interrupt interrupt;
        status = run(argc, argv, interrupt);
    }
    Interrupt::endProgramIfOneCame();
    return status;
}
