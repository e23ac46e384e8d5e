#include "Vintrel/shell/linux/ShortcutsAdaptor.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/linux/BusText.h"
#include "Vintrel/shell/linux/Refusal.h"

#include <utility>

#include <QDBusMetaType>

namespace Vintrel {

QDBusArgument& operator<<(QDBusArgument& argument, const ListedShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.identifier << shortcut.title << shortcut.shortTitle << shortcut.phrases
             << shortcut.icon;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, ListedShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.identifier >> shortcut.title >> shortcut.shortTitle >> shortcut.phrases >>
        shortcut.icon;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): Qt's form
}

ShortcutsAdaptor::ShortcutsAdaptor(QObject* object, QDBusConnection bus, ApplicationRequests& requests)
    : QDBusAbstractAdaptor(object), m_bus(std::move(bus)), m_requests(requests) {
    qDBusRegisterMetaType<ListedShortcut>();
    qDBusRegisterMetaType<QList<ListedShortcut>>();
}

QList<ListedShortcut> ShortcutsAdaptor::List() const {
    QList<ListedShortcut> listed;
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        QStringList phrases;
        for (const std::string& phrase : shortcut.spokenPhrases()) {
            phrases.append(QString::fromStdString(phrase));
        }
        listed.append({.identifier = busText(shortcut.identifier),
                       .title = busText(shortcut.title),
                       .shortTitle = busText(shortcut.shortTitle),
                       .phrases = phrases,
                       .icon = busText(shortcut.icon)});
    }
    return listed;
}

QString ShortcutsAdaptor::Run(const QString& identifier, const QDBusMessage& message) {
    const AppShortcut* const shortcut = VintrelShortcuts::find(identifier.toStdString());
    if (shortcut == nullptr) {
        refuse(m_bus, message, QStringLiteral("there is no shortcut of this name: %1").arg(identifier));
        return {};
    }
    message.setDelayedReply(true);
    // The answer may come after this object has gone, while the program ends.
    m_requests.perform(*shortcut, [bus = m_bus, message](const std::string& dialog) {
        bus.send(message.createReply(QString::fromStdString(dialog)));
    });
    return {};
}

} // namespace Vintrel
