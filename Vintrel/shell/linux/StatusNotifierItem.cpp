#include "Vintrel/shell/linux/StatusNotifierItem.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/PopoverPlacement.h"
#include "Vintrel/shell/StatusContextMenu.h"
#include "Vintrel/shell/linux/BusCall.h"

#include <chrono>
#include <utility>

#include <QCoreApplication>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QTimer>

namespace Vintrel {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString& watcherInterface = watcherService;

const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");

/// A name that no other item has, in this process or another.
QString newServiceName() {
    static int last = 0;
    return QStringLiteral("org.kde.StatusNotifierItem-%1-%2")
        .arg(QCoreApplication::applicationPid())
        .arg(++last);
}

/// The place of a click, which is 0, 0 where the tray does not know it.
std::optional<QPoint> placeOf(int x, int y) {
    return x == 0 && y == 0 ? std::nullopt : std::optional(QPoint(x, y));
}

} // namespace

StatusNotifierItem::StatusNotifierItem(const Appearance& appearance, StatusMenu::Content menu,
                                       QDBusConnection bus, QObject* parent)
    : PaintedStatusItem(appearance, parent),
      m_bus(std::move(bus)),
      m_service(newServiceName()),
      m_object(QDBusObjectPath(menuPath)),
      m_menu(menu),
      m_serviceWatcher(watcherService, m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    connect(&m_object, &StatusNotifierObject::tokenProvided, this,
            [this](const QString& token) { m_token = token; });
    connect(&m_object, &StatusNotifierObject::activated, this, [this](int x, int y) {
        emit clicked({.place = placeOf(x, y), .activationToken = std::exchange(m_token, {})});
    });
    connect(&m_object, &StatusNotifierObject::menuRequested, this, &StatusNotifierItem::showContextMenu);
    connect(&m_menu, &StatusMenu::openChosen, this,
            [this] { emit openRequested(std::exchange(m_token, {})); });
    connect(&m_menu, &StatusMenu::quitChosen, this, &StatusItem::quitRequested);
    if (m_bus.isConnected()) {
        offer();
        lookForWatcher();
    } else {
        m_presence = Presence::absent;
    }
}

StatusNotifierItem::~StatusNotifierItem() {
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(menuPath);
    if (m_bus.isConnected()) {
        m_bus.send(BusCall::toBus(QStringLiteral("ReleaseName")) << m_service);
    }
}

/// First the objects and then the name, so that whoever sees the name finds them.
void StatusNotifierItem::offer() {
    m_bus.registerObject(
        itemPath, &m_object,
        QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableInvokables |
            QDBusConnection::ExportScriptableSignals | QDBusConnection::ExportScriptableProperties);
    m_bus.registerObject(menuPath, &m_menu,
                         QDBusConnection::ExportScriptableInvokables |
                             QDBusConnection::ExportScriptableProperties);
    constexpr uint doNotQueue = 4;
    m_bus.send(BusCall::toBus(QStringLiteral("RequestName")) << m_service << doNotQueue);
}

void StatusNotifierItem::lookForWatcher() {
    connect(&m_serviceWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { take(!newOwner.isEmpty()); });
    for (const QString& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")}) {
        m_bus.connect(watcherService, watcherPath, watcherInterface, signal, this, SLOT(followHost()));
    }
    BusCall::make<QDBusPendingReply<bool>>(m_bus,
                                           BusCall::toBus(QStringLiteral("NameHasOwner")) << watcherService,
                                           this, [this](const QDBusPendingReply<bool>& reply) {
                                               if (m_watchersSeen == 0) { // nobody has come or gone meanwhile
                                                   take(!reply.isError() && reply.value());
                                               }
                                           });
}

void StatusNotifierItem::take(bool isWatcherThere) {
    ++m_watchersSeen;
    m_isRegistered = false;
    if (isWatcherThere) {
        setPresence(Presence::unknown);
        registerItem(0);
    } else {
        setPresence(Presence::absent);
    }
}

void StatusNotifierItem::registerItem(int attempt) {
    auto message = QDBusMessage::createMethodCall(watcherService, watcherPath, watcherInterface,
                                                  QStringLiteral("RegisterStatusNotifierItem"));
    message.setAutoStartService(false);
    message << m_service;
    const int asked = m_watchersSeen;
    BusCall::make<QDBusPendingReply<>>(
        m_bus, message, this, [this, asked, attempt](const QDBusPendingReply<>& reply) {
            if (asked != m_watchersSeen) {
                return;
            }
            if (!reply.isError()) {
                m_isRegistered = true;
                askForHost();
                return;
            }
            // Some watchers take their name before they can answer. Those that hang cost patience enough.
            constexpr int quickAttempts = 5;
            constexpr int mostAttempts = 12; // over three minutes; a tray that comes later tells of itself
            if (attempt >= quickAttempts || reply.error().type() == QDBusError::NoReply) {
                setPresence(Presence::absent); // for the time being
            }
            if (attempt < mostAttempts) {
                constexpr std::chrono::milliseconds atFirst{50};
                QTimer::singleShot(atFirst * (1 << attempt), this, [this, asked, attempt] {
                    if (asked == m_watchersSeen) {
                        registerItem(attempt + 1);
                    }
                });
            }
        });
}

/// Some tray has come or gone.
void StatusNotifierItem::followHost() {
    if (m_isRegistered) {
        askForHost();
    } else if (m_presence == Presence::absent) { // then the watcher, too, may answer by now
        take(true);
    }
}

/// A watcher without a tray only keeps the item for one that may come.
void StatusNotifierItem::askForHost() {
    auto question = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question.setAutoStartService(false);
    question << watcherInterface << QStringLiteral("IsStatusNotifierHostRegistered");
    const int asked = m_watchersSeen;
    BusCall::make<QDBusPendingReply<QDBusVariant>>(
        m_bus, question, this, [this, asked](const QDBusPendingReply<QDBusVariant>& reply) {
            if (asked == m_watchersSeen && m_isRegistered) {
                const bool isThere = reply.isError() || reply.value().variant().toBool();
                setPresence(isThere ? Presence::shown : Presence::absent);
            }
        });
}

void StatusNotifierItem::setPresence(Presence presence) {
    if (std::exchange(m_presence, presence) != presence) {
        emit presenceChanged();
    }
}

void StatusNotifierItem::display(const QList<QImage>& pictures, const StatusIcon::Look& look) {
    m_object.show(pictures, look);
}

/// For trays that leave the menu to the program.
void StatusNotifierItem::showContextMenu(int x, int y) {
    if (!Desktop::canPlaceWindows()) { // there are no menus without a window, but one in which one can quit
        emit openRequested(std::exchange(m_token, {}));
        return;
    }
    if (!m_contextMenu) {
        m_contextMenu = makeStatusContextMenu(*this);
    }
    m_contextMenu->popup(PopoverPlacement::anchor(PopoverPlacement::cluesNow(placeOf(x, y), {})).center());
}

} // namespace Vintrel
