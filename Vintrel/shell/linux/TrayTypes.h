#pragma once

#include <QDBusArgument>
#include <QImage>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// What tray protocols send over the bus. Sources: the StatusNotifierItem specification of freedesktop.org
/// and the description of com.canonical.dbusmenu, version 3.
namespace Vintrel::Tray {

/// A picture as it stands on the bus, (iiay): ARGB with the most significant byte first, not premultiplied.
struct Picture {
    int width = 0;
    int height = 0;
    QByteArray pixels;

    [[nodiscard]] static Picture from(const QImage& image);
};

using Pictures = QList<Picture>;

/// (sa(iiay)ss)
struct Tooltip {
    QString iconName;
    Pictures pictures;
    QString title;
    QString text; ///< some trays read markup in it
};

/// An item of a menu with those below it, (ia{sv}av).
struct MenuItem {
    int number = 0;
    QVariantMap properties;
    QList<MenuItem> children;
};

/// (ia{sv})
struct MenuItemProperties {
    int number = 0;
    QVariantMap properties;
};

using MenuItemsProperties = QList<MenuItemProperties>;

/// What happened to an item, (isvu).
struct MenuEvent {
    int number = 0;
    QString what;
    QDBusVariant data;
    uint time = 0;
};

using MenuEvents = QList<MenuEvent>;

/// The keys that belong to an item: for each way, the modifiers and the key.
using Shortcuts = QList<QStringList>;

QDBusArgument& operator<<(QDBusArgument& argument, const Picture& picture);
const QDBusArgument& operator>>(const QDBusArgument& argument, Picture& picture);
QDBusArgument& operator<<(QDBusArgument& argument, const Tooltip& tooltip);
const QDBusArgument& operator>>(const QDBusArgument& argument, Tooltip& tooltip);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItem& item);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemProperties& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemProperties& item);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event);

/// Makes them known to the bus's library. To be called before any of them is used; more than once if need be.
void registerTypes();

} // namespace Vintrel::Tray

Q_DECLARE_METATYPE(Vintrel::Tray::Picture)
Q_DECLARE_METATYPE(Vintrel::Tray::Tooltip)
Q_DECLARE_METATYPE(Vintrel::Tray::MenuItem)
Q_DECLARE_METATYPE(Vintrel::Tray::MenuItemProperties)
Q_DECLARE_METATYPE(Vintrel::Tray::MenuEvent)
