#include "tests/app/instance/PreparedShortcutsPortal.h"

#include <stdexcept>
#include <utility>

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>

namespace VintrelTests {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

QString below(const QString& kind, const QDBusMessage& message, const QVariant& token) {
    QString sender = message.service().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return path + QLatin1Char('/') + kind + QLatin1Char('/') + sender + QLatin1Char('/') + token.toString();
}

} // namespace

PreparedShortcutsPortal::PreparedShortcutsPortal(SessionBus& bus, Presence presence) : m_bus(bus.connect()) {
    if (!m_bus.registerVirtualObject(path, this, QDBusConnection::SubPath)) {
        throw std::runtime_error("no object on the bus");
    }
    if (presence == Presence::now) {
        arrive();
    }
}

PreparedShortcutsPortal::~PreparedShortcutsPortal() {
    m_bus.unregisterObject(path);
    leave();
}

void PreparedShortcutsPortal::arrive() {
    if (!m_bus.registerService(service)) {
        throw std::runtime_error("there is another portal");
    }
}

void PreparedShortcutsPortal::replace() {
    const auto reply =
        m_bus.interface()->registerService(service, QDBusConnectionInterface::ReplaceExistingService);
    if (reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        throw std::runtime_error("the other portal stays");
    }
}

void PreparedShortcutsPortal::leave() {
    sessions.clear();
    m_registered.clear();
    m_callers.clear();
    m_bus.unregisterService(service);
}

void PreparedShortcutsPortal::answerAll() {
    m_hesitates = false;
    for (const QDBusMessage& answer : std::exchange(m_answers, {})) {
        m_bus.send(answer);
    }
}

void PreparedShortcutsPortal::press(const QString& identifier, const QString& inSession) {
    auto message = QDBusMessage::createSignal(path, shortcuts, QStringLiteral("Activated"));
    message << QVariant::fromValue(QDBusObjectPath(inSession.isEmpty() ? session : inSession)) << identifier
            << qulonglong{12'345} << QVariantMap();
    m_bus.send(message);
}

void PreparedShortcutsPortal::endSession() {
    sessions.removeAll(session);
    auto message = QDBusMessage::createTargetedSignal(
        m_program, session, QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Closed"));
    message << QVariantMap();
    m_bus.send(message);
}

QString PreparedShortcutsPortal::introspect(const QString&) const {
    return {};
}

bool PreparedShortcutsPortal::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (message.interface().startsWith(QLatin1String("org.freedesktop.DBus."))) {
        return false;
    }
    calls.append(message.member());
    message.setDelayedReply(true);
    m_program = message.service();
    if (message.interface() == QLatin1String("org.freedesktop.host.portal.Registry")) {
        registerProgram(message);
    } else if (message.interface() == QLatin1String("org.freedesktop.portal.Session")) {
        closeSession(message);
    } else if (message.interface() != shortcuts || isWithoutShortcuts) {
        refuse(message, QDBusError::UnknownInterface);
    } else if (isForKnownPrograms && !m_registered.contains(m_program)) {
        refuse(message, QDBusError::AccessDenied);
    } else {
        answerCall(message);
    }
    m_callers.append(m_program);
    return true;
}

void PreparedShortcutsPortal::refuse(const QDBusMessage& message, QDBusError::ErrorType type) {
    m_bus.send(message.createErrorReply(type, message.member()));
}

void PreparedShortcutsPortal::registerProgram(const QDBusMessage& message) {
    known.append(message.arguments().value(0).toString());
    if (!isForKnownPrograms) {
        refuse(message, QDBusError::UnknownInterface);
    } else if (m_callers.contains(m_program) || message.signature() != QLatin1String("sa{sv}")) {
        refuse(message, QDBusError::Failed);
    } else {
        m_registered.append(m_program);
        m_bus.send(message.createReply());
    }
}

void PreparedShortcutsPortal::closeSession(const QDBusMessage& message) {
    if (sessions.removeAll(message.path()) == 0) {
        refuse(message, QDBusError::UnknownObject);
    } else {
        m_bus.send(message.createReply());
    }
}

void PreparedShortcutsPortal::answerCall(const QDBusMessage& message) {
    const auto error = errors.constFind(message.member());
    if (error != errors.cend()) {
        m_bus.send(message.createErrorReply(*error, QStringLiteral("no")));
        if (!doesWhatItDenies) {
            return;
        }
    }
    if (message.member() == QLatin1String("CreateSession")) {
        createSession(message);
    } else if (message.member() == QLatin1String("BindShortcuts")) {
        bindShortcuts(message);
    } else {
        refuse(message, QDBusError::UnknownMethod);
    }
}

void PreparedShortcutsPortal::createSession(const QDBusMessage& message) {
    const auto options = qdbus_cast<QVariantMap>(message.arguments().value(0));
    const QString wanted =
        below(QStringLiteral("session"), message, options.value(QStringLiteral("session_handle_token")));
    if (sessions.contains(wanted)) {
        refuse(message, QDBusError::Failed);
        return;
    }
    if (answerToSession == 0) {
        session = wanted;
        sessions.append(wanted);
        m_bound.removeAll(wanted);
    }
    respond(message, options, answerToSession, {{QStringLiteral("session_handle"), wanted}});
}

void PreparedShortcutsPortal::bindShortcuts(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    signature = message.signature();
    const QString of = arguments.value(0).value<QDBusObjectPath>().path();
    if (!sessions.contains(of) || m_bound.contains(of)) {
        refuse(message, QDBusError::AccessDenied);
        return;
    }
    m_bound.append(of);
    offered.clear();
    const auto list = arguments.value(1).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString identifier;
        QVariantMap properties;
        list.beginStructure();
        list >> identifier >> properties;
        list.endStructure();
        offered.insert(identifier, properties);
    }
    list.endArray();
    respond(message, qdbus_cast<QVariantMap>(arguments.value(3)), answerToBinding, {});
}

/// As the real one does it: first the handle of the request, then a signal of that object.
void PreparedShortcutsPortal::respond(const QDBusMessage& message, const QVariantMap& options, uint response,
                                      const QVariantMap& results) {
    const QString request =
        below(QStringLiteral("request"), message, options.value(QStringLiteral("handle_token")));
    if (!errors.contains(message.member())) {
        m_bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    }
    auto answer = QDBusMessage::createTargetedSignal(message.service(), request,
                                                     QStringLiteral("org.freedesktop.portal.Request"),
                                                     QStringLiteral("Response"));
    answer << response << results;
    m_answers.push_back(answer);
    if (!m_hesitates) {
        answerAll();
    }
}

} // namespace VintrelTests
