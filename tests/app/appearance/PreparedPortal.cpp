#include "tests/app/appearance/PreparedPortal.h"

#include "tests/app/support/AppTest.h"

#include <stdexcept>
#include <utility>

#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace VintrelTests {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settings = QStringLiteral("org.freedesktop.portal.Settings");

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const Shares& shares) {
    argument.beginStructure();
    argument << shares.red << shares.green << shares.blue;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Shares& shares) {
    argument.beginStructure();
    argument >> shares.red >> shares.green >> shares.blue;
    argument.endStructure();
    return argument;
}

PreparedPortal::PreparedPortal(SessionBus& bus, const Groups& values, Presence presence)
    : m_bus(bus.connect()) {
    qDBusRegisterMetaType<Shares>();
    qDBusRegisterMetaType<Groups>();
    answer = {QVariant::fromValue(values)};
    if (!m_bus.registerVirtualObject(path, this)) {
        throw std::runtime_error("no object on the bus");
    }
    if (presence == Presence::now) {
        arrive();
    }
}

PreparedPortal::~PreparedPortal() {
    m_bus.unregisterObject(path);
    leave();
}

void PreparedPortal::arrive() {
    if (!m_bus.registerService(service)) {
        throw std::runtime_error("there is another portal");
    }
}

void PreparedPortal::leave() {
    m_bus.unregisterService(service);
}

void PreparedPortal::answerAll() {
    m_isSilent = false;
    for (const QDBusMessage& message : std::exchange(m_unanswered, {})) {
        reply(message);
    }
}

void PreparedPortal::change(const QString& group, const QString& key, const QVariant& value) {
    tell({group, key, QVariant::fromValue(QDBusVariant(value))});
}

void PreparedPortal::tell(const QVariantList& arguments) {
    auto message = QDBusMessage::createSignal(path, settings, QStringLiteral("SettingChanged"));
    message.setArguments(arguments);
    m_bus.send(message);
}

bool PreparedPortal::isHeardOn(const QDBusConnection& program) const {
    // Messages between two connections stay in order, so what comes after all others has overtaken none.
    const auto last =
        QDBusMessage::createMethodCall(m_bus.baseService(), QStringLiteral("/"),
                                       QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    bool isAnswered = false;
    const QDBusPendingCallWatcher watcher(program.asyncCall(last));
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher, [&] { isAnswered = true; });
    return spinUntil([&] { return isAnswered; }) && !watcher.isError();
}

QString PreparedPortal::introspect(const QString&) const {
    return {};
}

bool PreparedPortal::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    calls.append(message.member());
    if (message.interface() != settings) {
        return false;
    }
    asked.push_back(message);
    message.setDelayedReply(true);
    if (m_isSilent) {
        m_unanswered.push_back(message);
    } else {
        reply(message);
    }
    return true;
}

void PreparedPortal::reply(const QDBusMessage& message) {
    if (message.member() != QLatin1String("ReadAll")) {
        m_bus.send(message.createErrorReply(QDBusError::UnknownMethod, message.member()));
    } else if (error) {
        m_bus.send(message.createErrorReply(*error, QStringLiteral("no")));
    } else {
        m_bus.send(message.createReply(answer));
    }
}

} // namespace VintrelTests
