#include "Vintrel/shell/linux/GlobalShortcuts.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/linux/BusText.h"
#include "VintrelCore/base/AtomicFile.h"

#include <utility>

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QList>

#include <unistd.h>

namespace Vintrel {

namespace AtomicFile = VintrelCore::AtomicFile;

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");

constexpr uint granted = 0; // of the answers to a request; 1 is the user's refusal

/// Nobody waits, and a portal may have to start first.
constexpr int patience = 60'000; // milliseconds

/// A shortcut as the portal takes it: (sa{sv}).
struct OfferedShortcut {
    QString identifier;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const OfferedShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.identifier << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, OfferedShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.identifier >> shortcut.properties;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): Qt's form
}

/// Without "preferred_trigger": which key means what is the user's to say.
QList<OfferedShortcut> offered() {
    QList<OfferedShortcut> list;
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        list.append({.identifier = busText(shortcut.identifier),
                     .properties = {{QStringLiteral("description"), busText(shortcut.title)}}});
    }
    return list;
}

} // namespace

GlobalShortcuts::GlobalShortcuts(QDBusConnection bus, ApplicationRequests& requests, std::string mark)
    : m_bus(std::move(bus)), m_requests(requests), m_mark(std::move(mark)) {
    qDBusRegisterMetaType<OfferedShortcut>();
    qDBusRegisterMetaType<QList<OfferedShortcut>>();
    connect(&m_portalWatcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        stopListening();
        forgetSession(); // it went with the portal
    });
    connect(&m_portalWatcher, &QDBusServiceWatcher::serviceRegistered, this, &GlobalShortcuts::restore);
}

void GlobalShortcuts::restore() {
    if (m_step == Step::idle && !m_mark.empty() && ::access(m_mark.c_str(), F_OK) == 0) {
        begin(false);
    }
}

void GlobalShortcuts::bind() {
    closeSession(); // a session can be asked for shortcuts only once
    begin(true);
}

void GlobalShortcuts::begin(bool isAskedByUser) {
    m_isAskedByUser = isAskedByUser;
    if (!m_bus.isConnected()) { // a call would never be answered
        giveUp();
        return;
    }
    if (m_portalWatcher.watchedServices().isEmpty()) { // whoever never wishes it never hears of portals
        m_portalWatcher.setConnection(m_bus);
        m_portalWatcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
        m_portalWatcher.addWatchedService(service);
    }
    m_step = Step::creating;
    request(QStringLiteral("CreateSession"), {},
            {{QStringLiteral("session_handle_token"), QStringLiteral("vintrel%1").arg(m_lastNumber)}},
            SLOT(noteSession(uint, QVariantMap)));
}

/// The portal answers with a signal of an object whose path is known beforehand, so that it cannot be missed.
void GlobalShortcuts::request(const QString& method, QVariantList arguments, QVariantMap options,
                              const char* slot) {
    const QString token = QStringLiteral("vintrel%1").arg(++m_lastNumber);
    QString sender = m_bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    stopListening();
    m_request = path + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
    m_slot = slot;
    m_bus.connect(service, m_request, requestInterface, QStringLiteral("Response"), this, slot);
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, patience), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, request = m_request](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (finished->isError() && request == m_request) {
                    giveUp();
                }
            });
}

void GlobalShortcuts::stopListening() {
    if (!m_request.isEmpty()) {
        m_bus.disconnect(service, m_request, requestInterface, QStringLiteral("Response"), this, m_slot);
        m_request.clear();
    }
}

void GlobalShortcuts::noteSession(uint response, const QVariantMap& results) {
    stopListening();
    // A text, although it is a path.
    m_session = results.value(QStringLiteral("session_handle")).toString();
    if (response != granted || m_session.isEmpty()) {
        giveUp();
        return;
    }
    m_bus.connect(service, path, interface, QStringLiteral("Activated"), this,
                  SLOT(noteActivated(QDBusObjectPath, QString)));
    m_bus.connect(service, m_session, sessionInterface, QStringLiteral("Closed"), this,
                  SLOT(noteClosed(QDBusMessage)));
    m_step = Step::binding;
    request(QStringLiteral("BindShortcuts"),
            {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(offered()), QString()}, {},
            SLOT(noteBinding(uint, QVariantMap)));
}

void GlobalShortcuts::noteBinding(uint response, const QVariantMap&) {
    stopListening();
    if (response != granted) {
        if (!m_mark.empty()) {
            ::unlink(m_mark.c_str()); // the user does not want to be asked again
        }
        closeSession();
        return;
    }
    m_step = Step::bound;
    if (const auto file = AtomicFile::target(m_mark); m_isAskedByUser && file && !file->empty()) {
        // When it cannot be written, the user will have to ask again after the next start.
        static_cast<void>(AtomicFile::write(*file, "The desktop is asked for Vintrel's global shortcuts.\n"));
    }
}

void GlobalShortcuts::noteActivated(const QDBusObjectPath& session, const QString& identifier) {
    const AppShortcut* const shortcut = VintrelShortcuts::find(identifier.toStdString());
    if (session.path() == m_session && shortcut != nullptr) {
        m_requests.performAndTell(*shortcut);
    }
}

void GlobalShortcuts::noteClosed(const QDBusMessage& message) {
    if (message.path() == m_session) {
        forgetSession();
    }
}

void GlobalShortcuts::giveUp() {
    stopListening();
    m_step = Step::idle;
    if (std::exchange(m_isAskedByUser, false)) {
        m_requests.tell("Global Shortcuts", "This desktop offers none.");
    }
}

void GlobalShortcuts::closeSession() {
    stopListening();
    if (!m_session.isEmpty()) {
        m_bus.send(
            QDBusMessage::createMethodCall(service, m_session, sessionInterface, QStringLiteral("Close")));
    }
    forgetSession();
}

void GlobalShortcuts::forgetSession() {
    m_step = Step::idle;
    if (!m_session.isEmpty()) {
        m_bus.disconnect(service, m_session, sessionInterface, QStringLiteral("Closed"), this,
                         SLOT(noteClosed(QDBusMessage)));
        m_session.clear();
    }
}

} // namespace Vintrel
