#include "tests/app/instance/PreparedShortcutsPortal.h"

#include <stdexcept>

#include <QDBusArgument>
#include <QDBusError>
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

void PreparedShortcutsPortal::leave() {
    m_bus.unregisterService(service);
}

void PreparedShortcutsPortal::press(const QString& identifier, const QString& inSession) {
    auto message = QDBusMessage::createSignal(path, shortcuts, QStringLiteral("Activated"));
    message << QVariant::fromValue(QDBusObjectPath(inSession.isEmpty() ? session : inSession)) << identifier
            << qulonglong{12'345} << QVariantMap();
    m_bus.send(message);
}

void PreparedShortcutsPortal::endSession() {
    auto message = QDBusMessage::createTargetedSignal(
        m_program, session, QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Closed"));
    message << QVariantMap();
    m_bus.send(message);
}

QString PreparedShortcutsPortal::introspect(const QString&) const {
    return {};
}

bool PreparedShortcutsPortal::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (message.interface() == QLatin1String("org.freedesktop.portal.Session")) {
        calls.append(message.member());
        m_bus.send(message.createReply());
        return true;
    }
    if (message.interface() != shortcuts) {
        return false;
    }
    calls.append(message.member());
    message.setDelayedReply(true);
    m_program = message.service();
    if (isWithoutShortcuts) {
        m_bus.send(message.createErrorReply(QDBusError::UnknownInterface, QStringLiteral("no")));
    } else if (message.member() == QLatin1String("CreateSession")) {
        createSession(message);
    } else if (message.member() == QLatin1String("BindShortcuts")) {
        bindShortcuts(message);
    } else {
        m_bus.send(message.createErrorReply(QDBusError::UnknownMethod, message.member()));
    }
    return true;
}

void PreparedShortcutsPortal::createSession(const QDBusMessage& message) {
    const auto options = qdbus_cast<QVariantMap>(message.arguments().value(0));
    session =
        below(QStringLiteral("session"), message, options.value(QStringLiteral("session_handle_token")));
    respond(message, options, answerToSession, {{QStringLiteral("session_handle"), session}});
}

void PreparedShortcutsPortal::bindShortcuts(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    signature = message.signature();
    if (arguments.value(0).value<QDBusObjectPath>().path() != session) {
        m_bus.send(message.createErrorReply(QDBusError::AccessDenied, QStringLiteral("no such session")));
        return;
    }
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
    m_bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    auto answer = QDBusMessage::createTargetedSignal(message.service(), request,
                                                     QStringLiteral("org.freedesktop.portal.Request"),
                                                     QStringLiteral("Response"));
    answer << response << results;
    m_bus.send(answer);
}

} // namespace VintrelTests
