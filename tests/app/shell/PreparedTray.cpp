#include "tests/app/shell/PreparedTray.h"

#include "tests/app/support/AppTest.h"

#include <stdexcept>
#include <utility>

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QVariantMap>

namespace VintrelTests {

namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

} // namespace

PreparedTray::PreparedTray(SessionBus& bus, Presence presence) : m_bus(bus.connect()) {
    if (!m_bus.registerVirtualObject(path, this)) {
        throw std::runtime_error("no object on the bus");
    }
    if (presence == Presence::now) {
        arrive();
    }
}

PreparedTray::~PreparedTray() {
    if (m_bus.isConnected()) {
        m_bus.unregisterObject(path);
        leave();
    }
}

void PreparedTray::arrive() {
    if (!m_bus.registerService(service)) {
        throw std::runtime_error("there is another tray");
    }
}

void PreparedTray::leave() {
    m_bus.unregisterService(service);
}

void PreparedTray::crash() {
    const QString name = std::exchange(m_bus, QDBusConnection(QString())).name();
    QDBusConnection::disconnectFromBus(name);
}

void PreparedTray::setHost(bool isThere) {
    hasHost = isThere;
    m_bus.send(QDBusMessage::createSignal(path, service,
                                          isThere ? QStringLiteral("StatusNotifierHostRegistered")
                                                  : QStringLiteral("StatusNotifierHostUnregistered")));
}

bool PreparedTray::hasRegistered(size_t count) const {
    const bool came = spinUntil([&] { return registered.size() >= count; });
    spinFor(std::chrono::milliseconds(30)); // one too many
    return came && registered.size() == count;
}

QDBusMessage PreparedTray::call(const QString& where, const QString& interface, const QString& method,
                                const QVariantList& arguments) {
    auto message =
        QDBusMessage::createMethodCall(QString::fromStdString(registered.back()), where, interface, method);
    message.setArguments(arguments);
    const QDBusPendingCall pending = m_bus.asyncCall(message);
    if (!spinUntil([&] { return pending.isFinished(); })) {
        throw std::runtime_error("no answer to " + method.toStdString());
    }
    return pending.reply();
}

QVariant PreparedTray::read(const QString& name, const QString& where, const QString& interface) {
    const QDBusMessage answer = call(where, properties, QStringLiteral("Get"), {interface, name});
    if (answer.type() != QDBusMessage::ReplyMessage) {
        throw std::runtime_error("no " + name.toStdString() + ": " + answer.errorMessage().toStdString());
    }
    return answer.arguments().value(0).value<QDBusVariant>().variant();
}

void PreparedTray::listenFor(const QString& signal) {
    auto timer = std::make_unique<QTimer>();
    timer->setInterval(std::chrono::hours(1));
    if (!m_bus.connect(QString::fromStdString(registered.back()), itemPath, itemInterface, signal,
                       timer.get(), SLOT(start()))) {
        throw std::runtime_error("cannot listen for " + signal.toStdString());
    }
    m_told[signal] = std::move(timer);
}

bool PreparedTray::hasTold(const QString& signal) {
    const bool told = spinUntil([&] { return m_told.at(signal)->isActive(); }, std::chrono::seconds(5));
    m_told.at(signal)->stop();
    return told;
}

bool PreparedTray::hasToldByNow(const QString& signal) {
    (void)read(QStringLiteral("Id")); // its answer comes after whatever was told before
    const bool told = m_told.at(signal)->isActive();
    m_told.at(signal)->stop();
    return told;
}

QString PreparedTray::introspect(const QString&) const {
    return {};
}

bool PreparedTray::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (message.interface() == properties && message.member() == QLatin1String("Get") &&
        message.arguments().value(1).toString() == QLatin1String("IsStatusNotifierHostRegistered")) {
        m_bus.send(message.createReply(QVariant::fromValue(QDBusVariant(hasHost))));
        return true;
    }
    if (message.interface() != service || message.member() != QLatin1String("RegisterStatusNotifierItem")) {
        return false;
    }
    if (refusals > 0) {
        --refusals;
        m_bus.send(message.createErrorReply(QDBusError::UnknownObject, QStringLiteral("not yet")));
        return true;
    }
    takeRegistration(message);
    m_bus.send(message.createReply());
    return true;
}

void PreparedTray::takeRegistration(const QDBusMessage& message) {
    const QString item = message.arguments().value(0).toString();
    registered.push_back(item.toStdString());
    auto question = QDBusMessage::createMethodCall(item, itemPath, properties, QStringLiteral("GetAll"));
    question << itemInterface;
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusPendingReply<QVariantMap> reply = *finished;
            propertiesAtOnce.push_back(reply.isError() ? 0 : static_cast<int>(reply.value().size()));
        });
}

} // namespace VintrelTests
