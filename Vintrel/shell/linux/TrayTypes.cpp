#include "Vintrel/shell/linux/TrayTypes.h"

#include <QDBusMetaType>
#include <QtEndian>

namespace Vintrel::Tray {

Picture Picture::from(const QImage& image) {
    const QImage plain = image.convertToFormat(QImage::Format_ARGB32);
    Picture picture{.width = plain.width(), .height = plain.height(), .pixels = {}};
    const qsizetype lineLength = qsizetype{4} * plain.width();
    picture.pixels.resize(lineLength * plain.height());
    for (int y = 0; y < plain.height(); ++y) {
        qToBigEndian<quint32>(plain.constScanLine(y), plain.width(), picture.pixels.data() + y * lineLength);
    }
    return picture;
}

// NOLINTBEGIN(bugprone-return-const-ref-from-parameter): the form that the library asks for

QDBusArgument& operator<<(QDBusArgument& argument, const Picture& picture) {
    argument.beginStructure();
    argument << picture.width << picture.height << picture.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Picture& picture) {
    argument.beginStructure();
    argument >> picture.width >> picture.height >> picture.pixels;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const Tooltip& tooltip) {
    argument.beginStructure();
    argument << tooltip.iconName << tooltip.pictures << tooltip.title << tooltip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Tooltip& tooltip) {
    argument.beginStructure();
    argument >> tooltip.iconName >> tooltip.pictures >> tooltip.title >> tooltip.text;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItem& item) {
    argument.beginStructure();
    argument << item.number << item.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const MenuItem& child : item.children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItem& item) {
    item.children.clear();
    argument.beginStructure();
    argument >> item.number >> item.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        item.children += qdbus_cast<MenuItem>(child.variant());
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemProperties& item) {
    argument.beginStructure();
    argument << item.number << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemProperties& item) {
    argument.beginStructure();
    argument >> item.number >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuEvent& event) {
    argument.beginStructure();
    argument << event.number << event.what << event.data << event.time;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuEvent& event) {
    argument.beginStructure();
    argument >> event.number >> event.what >> event.data >> event.time;
    argument.endStructure();
    return argument;
}

// NOLINTEND(bugprone-return-const-ref-from-parameter)

void registerTypes() {
    qDBusRegisterMetaType<Picture>();
    qDBusRegisterMetaType<Pictures>();
    qDBusRegisterMetaType<Tooltip>();
    qDBusRegisterMetaType<MenuItem>();
    qDBusRegisterMetaType<MenuItemProperties>();
    qDBusRegisterMetaType<MenuItemsProperties>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<MenuEvents>();
    qDBusRegisterMetaType<Shortcuts>();
    // By the names that stand in declarations, by which the library finds them.
    qRegisterMetaType<QDBusVariant>();
    qRegisterMetaType<Pictures>("Vintrel::Tray::Pictures");
    qRegisterMetaType<MenuItemsProperties>("Vintrel::Tray::MenuItemsProperties");
    qRegisterMetaType<MenuEvents>("Vintrel::Tray::MenuEvents");
}

} // namespace Vintrel::Tray
