#include "bench/TrayWatcher.h"

#include <cstdio>
#include <cstdlib>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace Bench {

namespace {

/// What panels ask for when an icon comes. Nobody waits for the answers.
void askAsPanelsDo(const QString& owner) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const auto ask = [&](const char* path, const char* interface, const char* method,
                         const QVariantList& arguments) {
        QDBusMessage question = QDBusMessage::createMethodCall(
            owner, QLatin1String(path), QLatin1String(interface), QLatin1String(method));
        question.setArguments(arguments);
        bus.asyncCall(question);
    };
    ask("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
        {QStringLiteral("org.kde.StatusNotifierItem")});
    ask("/MenuBar", "com.canonical.dbusmenu", "GetLayout", {0, -1, QStringList()});
}

} // namespace

TrayWatcher::TrayWatcher() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    const bool isOffered = bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                              QDBusConnection::ExportScriptableContents |
                                                  QDBusConnection::ExportNonScriptableProperties) &&
                           bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    if (!isOffered) {
        std::fputs("bench_tray: there is no session bus, or it has a tray already\n", stderr);
        std::exit(EXIT_FAILURE);
    }
}

void TrayWatcher::RegisterStatusNotifierItem(const QString& /*service*/) {
    const Moment moment = std::chrono::steady_clock::now();
    const QString owner = message().service();
    const uint pid = connection().interface()->servicePid(owner);
    m_items += owner + QStringLiteral("/StatusNotifierItem");
    askAsPanelsDo(owner);
    emit StatusNotifierItemRegistered(m_items.constLast());
    if (m_onRegistered) {
        m_onRegistered(static_cast<pid_t>(pid), moment);
    }
}

} // namespace Bench
