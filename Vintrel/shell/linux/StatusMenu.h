#pragma once

#include "Vintrel/shell/linux/TrayTypes.h"

#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QStringList>

namespace Vintrel {

/// The status item's menu as trays read it over the bus: com.canonical.dbusmenu, version 3. It never changes.
/// What is marked as scriptable is the interface.
class StatusMenu : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"com.canonical.dbusmenu\">\n"
                "    <property name=\"Version\" type=\"u\" access=\"read\"/>\n"
                "    <property name=\"TextDirection\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Status\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"IconThemePath\" type=\"as\" access=\"read\"/>\n"
                "    <method name=\"GetLayout\">\n"
                "      <arg name=\"parentId\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"recursionDepth\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"propertyNames\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"revision\" type=\"u\" direction=\"out\"/>\n"
                "      <arg name=\"layout\" type=\"(ia{sv}av)\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetGroupProperties\">\n"
                "      <arg name=\"ids\" type=\"ai\" direction=\"in\"/>\n"
                "      <arg name=\"propertyNames\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"properties\" type=\"a(ia{sv})\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetProperty\">\n"
                "      <arg name=\"id\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"name\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"value\" type=\"v\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"Event\">\n"
                "      <arg name=\"id\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"eventId\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"data\" type=\"v\" direction=\"in\"/>\n"
                "      <arg name=\"timestamp\" type=\"u\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"EventGroup\">\n"
                "      <arg name=\"events\" type=\"a(isvu)\" direction=\"in\"/>\n"
                "      <arg name=\"idErrors\" type=\"ai\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"AboutToShow\">\n"
                "      <arg name=\"id\" type=\"i\" direction=\"in\"/>\n"
                "      <arg name=\"needUpdate\" type=\"b\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"AboutToShowGroup\">\n"
                "      <arg name=\"ids\" type=\"ai\" direction=\"in\"/>\n"
                "      <arg name=\"updatesNeeded\" type=\"ai\" direction=\"out\"/>\n"
                "      <arg name=\"idErrors\" type=\"ai\" direction=\"out\"/>\n"
                "    </method>\n"
                "  </interface>\n")
    // clang-format on
    Q_PROPERTY(uint Version READ version CONSTANT)
    Q_PROPERTY(QString TextDirection READ textDirection CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

public:
    enum class Content {
        quit,
        openAndQuit, ///< where a left click on the icon shows the menu
    };

    explicit StatusMenu(Content content, QObject* parent = nullptr);

    [[nodiscard]] static uint version() { return 3; }

    [[nodiscard]] static QString textDirection();

    [[nodiscard]] static QString status() { return QStringLiteral("normal"); }

    [[nodiscard]] static QStringList iconThemePath() { return {}; }

    /// The number of the menu's state. Depth is how many levels below the item are wanted, all if negative.
    Q_SCRIPTABLE uint GetLayout(int parent, int depth, const QStringList& names,
                                Vintrel::Tray::MenuItem& layout);
    /// Of all items if there are no numbers; all of them if there are no names.
    [[nodiscard]] Q_SCRIPTABLE Vintrel::Tray::MenuItemsProperties
    GetGroupProperties(const QList<int>& numbers, const QStringList& names) const;
    Q_SCRIPTABLE QDBusVariant GetProperty(int number, const QString& name);
    Q_SCRIPTABLE void Event(int number, const QString& what, const QDBusVariant& data, uint time);
    /// Which of them are of no item.
    Q_SCRIPTABLE QList<int> EventGroup(const Vintrel::Tray::MenuEvents& events);
    /// Whether the item has to be read again.
    Q_SCRIPTABLE bool AboutToShow(int number);
    /// Which have to be read again, and which are of no item.
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& numbers, QList<int>& unknown) const;

signals:
    void openChosen();
    void quitChosen();

private:
    [[nodiscard]] const Tray::MenuItem* find(int number) const;
    bool take(int number, const QString& what);
    void refuse(int number);

    Tray::MenuItem m_root;
};

} // namespace Vintrel
