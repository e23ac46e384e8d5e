#include "Vintrel/shell/linux/StatusNotifierItem.h"

#include "Vintrel/shell/StatusContextMenu.h"

#include <chrono>
#include <utility>

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
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

QDBusMessage busCall(const QString& method) {
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                          QStringLiteral("/org/freedesktop/DBus"),
                                          QStringLiteral("org.freedesktop.DBus"), method);
}

/// Calls `onReply(reply)` on this thread once there is one, or an error, unless `owner` is gone.
template <typename Reply, typename OnReply>
void call(const QDBusConnection& bus, const QDBusMessage& message, QObject* owner, OnReply onReply) {
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         onReply(Reply(*finished));
                     });
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
    connect(&m_object, &StatusNotifierObject::menuRequested, this,
            [this](int x, int y) { popUpMenu({x, y}); });
    connect(&m_menu, &StatusMenu::openChosen, this,
            [this] { emit openRequested(std::exchange(m_token, {})); });
    connect(&m_menu, &StatusMenu::quitChosen, this, &StatusItem::quitRequested);
    if (m_bus.isConnected()) {
        offer();
        lookForWatcher();
    } else {
        m_watcher = Watcher::absent;
    }
}

StatusNotifierItem::~StatusNotifierItem() {
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(menuPath);
    if (m_bus.isConnected()) {
        m_bus.send(busCall(QStringLiteral("ReleaseName")) << m_service);
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
    m_bus.send(busCall(QStringLiteral("RequestName")) << m_service << doNotQueue);
}

void StatusNotifierItem::lookForWatcher() {
    connect(&m_serviceWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                take(newOwner.isEmpty() ? Watcher::absent : Watcher::present);
            });
    for (const QString& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")}) {
        m_bus.connect(watcherService, watcherPath, watcherInterface, signal, this, SLOT(askForHost()));
    }
    call<QDBusPendingReply<bool>>(m_bus, busCall(QStringLiteral("NameHasOwner")) << watcherService, this,
                                  [this](const QDBusPendingReply<bool>& reply) {
                                      if (m_watcher ==
                                          Watcher::unknown) { // nobody has come or gone meanwhile
                                          const bool isThere = !reply.isError() && reply.value();
                                          take(isThere ? Watcher::present : Watcher::absent);
                                      }
                                  });
}

void StatusNotifierItem::take(Watcher watcher) {
    ++m_watchersSeen;
    const bool isOther = std::exchange(m_watcher, watcher) != watcher;
    setShown(false);
    if (watcher == Watcher::present) {
        registerItem(0);
    }
    if (isOther) {
        emit watcherChanged();
    }
}

void StatusNotifierItem::registerItem(int attempt) {
    auto message = QDBusMessage::createMethodCall(watcherService, watcherPath, watcherInterface,
                                                  QStringLiteral("RegisterStatusNotifierItem"));
    message.setAutoStartService(false);
    message << m_service;
    const int asked = m_watchersSeen;
    call<QDBusPendingReply<>>(m_bus, message, this, [this, asked, attempt](const QDBusPendingReply<>& reply) {
        if (asked != m_watchersSeen) {
            return;
        }
        if (!reply.isError()) {
            askForHost();
            return;
        }
        // Some watchers take their name before they can answer.
        constexpr int mostAttempts = 6;
        if (attempt + 1 < mostAttempts) {
            constexpr std::chrono::milliseconds atFirst{50};
            QTimer::singleShot(atFirst * (1 << attempt), this, [this, asked, attempt] {
                if (asked == m_watchersSeen) {
                    registerItem(attempt + 1);
                }
            });
        }
    });
}

/// A watcher without a tray only keeps the item for one that may come.
void StatusNotifierItem::askForHost() {
    auto question = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question.setAutoStartService(false);
    question << watcherInterface << QStringLiteral("IsStatusNotifierHostRegistered");
    const int asked = m_watchersSeen;
    call<QDBusPendingReply<QDBusVariant>>(
        m_bus, question, this, [this, asked](const QDBusPendingReply<QDBusVariant>& reply) {
            if (asked == m_watchersSeen && m_watcher == Watcher::present) {
                setShown(reply.isError() || reply.value().variant().toBool());
            }
        });
}

void StatusNotifierItem::setShown(bool isShown) {
    if (std::exchange(m_isShown, isShown) != isShown) {
        emit shownChanged();
    }
}

void StatusNotifierItem::display(const QList<QImage>& pictures, const StatusIcon::Look& look) {
    m_object.show(pictures, look);
}

void StatusNotifierItem::popUpMenu(const QPoint& place) {
    if (!m_popUpMenu) {
        m_popUpMenu = makeStatusContextMenu(*this);
    }
    m_popUpMenu->popup(place);
}

} // namespace Vintrel
