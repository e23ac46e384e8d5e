#include "Vintrel/shell/linux/StatusMenu.h"

#include "Vintrel/shell/StatusMenuTexts.h"

#include <algorithm>

#include <QDBusError>
#include <QGuiApplication>

namespace Vintrel {

namespace {

constexpr uint revision = 1;

enum ItemNumber { root, open, quit };

QVariantMap chosen(const QVariantMap& properties, const QStringList& names) {
    if (names.empty()) {
        return properties;
    }
    QVariantMap found;
    for (const QString& name : names) {
        if (properties.contains(name)) {
            found[name] = properties[name];
        }
    }
    return found;
}

Tray::MenuItem layoutOf(const Tray::MenuItem& item, int depth, const QStringList& names) {
    Tray::MenuItem layout{
        .number = item.number, .properties = chosen(item.properties, names), .children = {}};
    if (depth != 0) {
        for (const Tray::MenuItem& child : item.children) {
            layout.children += layoutOf(child, depth - 1, names);
        }
    }
    return layout;
}

} // namespace

StatusMenu::StatusMenu(Content content, QObject* parent) : QObject(parent) {
    Tray::registerTypes();
    const QString label = QStringLiteral("label");
    m_root = {.number = root,
              .properties = {{QStringLiteral("children-display"), QStringLiteral("submenu")}},
              .children = {}};
    if (content == Content::openAndQuit) {
        m_root.children += {.number = open, .properties = {{label, StatusMenuTexts::open()}}, .children = {}};
    }
    const Tray::Shortcuts shortcuts{{QStringLiteral("Control"), QStringLiteral("q")}};
    m_root.children += {.number = quit,
                        .properties = {{label, StatusMenuTexts::quit()},
                                       {QStringLiteral("shortcut"), QVariant::fromValue(shortcuts)}},
                        .children = {}};
}

QString StatusMenu::textDirection() {
    return QGuiApplication::isRightToLeft() ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

uint StatusMenu::GetLayout(int parent, int depth, const QStringList& names, Tray::MenuItem& layout) {
    if (const Tray::MenuItem* const item = find(parent)) {
        layout = layoutOf(*item, depth, names);
    } else {
        refuse(parent);
    }
    return revision;
}

Tray::MenuItemsProperties StatusMenu::GetGroupProperties(const QList<int>& numbers,
                                                         const QStringList& names) const {
    Tray::MenuItemsProperties all;
    const auto add = [&](const Tray::MenuItem& item) {
        if (numbers.empty() || numbers.contains(item.number)) {
            all += {.number = item.number, .properties = chosen(item.properties, names)};
        }
    };
    add(m_root);
    std::ranges::for_each(m_root.children, add);
    return all;
}

QDBusVariant StatusMenu::GetProperty(int number, const QString& name) {
    const Tray::MenuItem* const item = find(number);
    if (item == nullptr || !item->properties.contains(name)) {
        refuse(number);
        return QDBusVariant(QString());
    }
    return QDBusVariant(item->properties[name]);
}

void StatusMenu::Event(int number, const QString& what, const QDBusVariant& /*data*/, uint /*time*/) {
    if (!take(number, what)) {
        refuse(number);
    }
}

QList<int> StatusMenu::EventGroup(const Tray::MenuEvents& events) {
    QList<int> unknown;
    for (const Tray::MenuEvent& event : events) {
        if (!take(event.number, event.what)) {
            unknown += event.number;
        }
    }
    return unknown;
}

bool StatusMenu::AboutToShow(int number) {
    if (find(number) == nullptr) {
        refuse(number);
    }
    return false;
}

QList<int> StatusMenu::AboutToShowGroup(const QList<int>& numbers, QList<int>& unknown) const {
    std::ranges::copy_if(numbers, std::back_inserter(unknown),
                         [this](int number) { return find(number) == nullptr; });
    return {};
}

const Tray::MenuItem* StatusMenu::find(int number) const {
    if (number == m_root.number) {
        return &m_root;
    }
    const auto found = std::ranges::find(m_root.children, number, &Tray::MenuItem::number);
    return found != m_root.children.end() ? &*found : nullptr;
}

/// Whether there is such an item.
bool StatusMenu::take(int number, const QString& what) {
    if (find(number) == nullptr) {
        return false;
    }
    if (what == QLatin1String("clicked")) {
        if (number == open) {
            emit openChosen();
        } else if (number == quit) {
            emit quitChosen();
        }
    }
    return true;
}

void StatusMenu::refuse(int number) {
    if (calledFromDBus()) {
        sendErrorReply(QDBusError::InvalidArgs,
                       QStringLiteral("there is no such item or property: %1").arg(number));
    }
}

} // namespace Vintrel
