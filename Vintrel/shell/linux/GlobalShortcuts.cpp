#include "Vintrel/shell/linux/GlobalShortcuts.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/linux/BusText.h"
#include "Vintrel/shell/linux/Portal.h"
#include "VintrelCore/base/AtomicFile.h"

#include <utility>

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QList>

#include <unistd.h>

namespace Vintrel {

namespace AtomicFile = VintrelCore::AtomicFile;

namespace {

const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");

/// The same at every start: some desktops keep the keys under this name.
const QString sessionToken = QStringLiteral("vintrel");

constexpr const char* offersNone = "This desktop offers none.";
constexpr const char* notSetUp = "The desktop did not set them up.";

// Answers to a request; others are failures.
constexpr uint granted = 0;
constexpr uint refused = 1; // by the user

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

/// Whether there is no such portal, as opposed to one that cannot do it now.
bool isAbsence(const QDBusError& error) {
    switch (error.type()) {
    case QDBusError::Disconnected:
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
        return true;
    default:
        return error.name().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn."));
    }
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
}

void GlobalShortcuts::restore() {
    if (m_step == Step::idle && !m_mark.empty() && ::access(m_mark.c_str(), F_OK) == 0) {
        begin();
    }
}

void GlobalShortcuts::bind() {
    m_isAskedByUser = true;
    switch (m_step) {
    case Step::idle:
        begin();
        break;
    case Step::closing:
    case Step::creating:
        break; // what is wished is under way
    case Step::binding:
    case Step::bound:
        closeSession(); // a session can be asked for shortcuts only once
        break;
    }
}

void GlobalShortcuts::begin() {
    if (!m_bus.isConnected()) { // a call would never be answered
        say(offersNone);
        return;
    }
    if (!m_portal) { // whoever never wishes it never hears of portals
        m_portal = Portal::on(m_bus);
        connect(m_portal.get(), &Portal::left, this, [this] {
            forgetSession(); // it went with the portal
            giveUp(notSetUp);
        });
        connect(m_portal.get(), &Portal::arrived, this, &GlobalShortcuts::restore);
    }
    createSession();
}

void GlobalShortcuts::createSession() {
    m_step = Step::creating;
    request(QStringLiteral("CreateSession"), {}, {{QStringLiteral("session_handle_token"), sessionToken}},
            SLOT(noteSession(uint, QVariantMap)));
}

/// The portal answers with a signal of an object whose path is known beforehand, so that it cannot be missed.
void GlobalShortcuts::request(const QString& method, QVariantList arguments, QVariantMap options,
                              const char* slot) {
    const QString token = QStringLiteral("vintrel%1").arg(++m_lastNumber);
    QString sender = m_bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    stopListening();
    m_request = Portal::path + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
    m_slot = slot;
    m_bus.connect(Portal::service, m_request, requestInterface, QStringLiteral("Response"), this, slot);
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    call(Portal::path, shortcutsInterface, method, arguments, [this](const QDBusError& error) {
        if (error.isValid()) {
            noteError(error);
        }
    });
}

/// The reply to the call before this one is of no interest any more.
void GlobalShortcuts::call(const QString& object, const QString& ofInterface, const QString& method,
                           const QVariantList& arguments, std::function<void(const QDBusError&)> onReply) {
    m_call = std::make_unique<QDBusPendingCallWatcher>(
        m_portal->call(object, ofInterface, method, arguments, patience));
    connect(m_call.get(), &QDBusPendingCallWatcher::finished, this,
            [this, onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
                m_call.release()->deleteLater();
                onReply(finished->error());
            });
}

void GlobalShortcuts::stopListening() {
    if (!m_request.isEmpty()) {
        m_bus.disconnect(Portal::service, m_request, requestInterface, QStringLiteral("Response"), this,
                         m_slot);
        m_request.clear();
    }
}

void GlobalShortcuts::noteSession(uint response, const QVariantMap& results) {
    if (m_step != Step::creating) { // it was on its way when nobody listened any more
        return;
    }
    stopListening();
    const QVariant session = results.value(QStringLiteral("session_handle")); // a text, although it is a path
    if (response != granted || session.toString().isEmpty()) {
        noteRefusal(response);
        return;
    }
    m_session = session.toString();
    m_bus.connect(Portal::service, Portal::path, shortcutsInterface, QStringLiteral("Activated"), this,
                  SLOT(noteActivated(QDBusObjectPath, QString)));
    m_bus.connect(Portal::service, m_session, sessionInterface, QStringLiteral("Closed"), this,
                  SLOT(noteClosed(QDBusMessage)));
    m_step = Step::binding;
    request(QStringLiteral("BindShortcuts"),
            {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(offered()), QString()}, {},
            SLOT(noteBinding(uint, QVariantMap)));
}

void GlobalShortcuts::noteBinding(uint response, const QVariantMap&) {
    if (m_step != Step::binding) {
        return;
    }
    stopListening();
    if (response != granted) {
        noteRefusal(response);
        return;
    }
    m_step = Step::bound;
    const bool isToBeMarked = std::exchange(m_isAskedByUser, false);
    if (const auto file = AtomicFile::target(m_mark); isToBeMarked && file && !file->empty()) {
        // When it cannot be written, the user will have to ask again after the next start.
        static_cast<void>(AtomicFile::write(*file, "The desktop is asked for Vintrel's global shortcuts.\n"));
    }
}

void GlobalShortcuts::noteRefusal(uint response) {
    if (response == refused) {
        m_isAskedByUser = false; // and knows
        if (!m_mark.empty()) {
            ::unlink(m_mark.c_str()); // the user does not want to be asked again
        }
    }
    giveUp(notSetUp);
}

void GlobalShortcuts::noteError(const QDBusError& error) {
    if (m_step == Step::creating && error.type() == QDBusError::NoReply) {
        say(notSetUp); // but a session that comes late is one
    } else {
        giveUp(isAbsence(error) ? offersNone : notSetUp);
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
        giveUp(notSetUp);
    }
}

void GlobalShortcuts::giveUp(const char* sentence) {
    closeSession();
    say(sentence);
}

/// To whoever waits for it.
void GlobalShortcuts::say(const char* sentence) {
    if (std::exchange(m_isAskedByUser, false)) {
        m_requests.tell("Global Shortcuts", sentence);
    }
}

/// The next one is of the same name, so it has to wait until this one is gone.
void GlobalShortcuts::closeSession() {
    const QString session = m_session;
    forgetSession();
    if (session.isEmpty()) {
        return;
    }
    m_step = Step::closing;
    call(session, sessionInterface, QStringLiteral("Close"), {}, [this](const QDBusError&) {
        m_step = Step::idle;
        if (m_isAskedByUser) {
            createSession();
        }
    });
}

void GlobalShortcuts::forgetSession() {
    stopListening();
    m_call.reset();
    m_step = Step::idle;
    if (!m_session.isEmpty()) {
        m_bus.disconnect(Portal::service, m_session, sessionInterface, QStringLiteral("Closed"), this,
                         SLOT(noteClosed(QDBusMessage)));
        m_session.clear();
    }
}

} // namespace Vintrel
