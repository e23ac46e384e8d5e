#include "Vintrel/views/parts/AccessibleRole.h"

#include <algorithm>

#include <QAccessibleWidget>
#include <QVariant>
#include <QWidget>

namespace Vintrel::AccessibleRole {

namespace {

constexpr const char* property = "accessibleRole";

class OrderedInterface : public QAccessibleWidget {
public:
    OrderedInterface(QWidget& widget, QAccessible::Role role, const ReadInOrder& order)
        : QAccessibleWidget(&widget, role), m_order(order) {}

    [[nodiscard]] int childCount() const override { return static_cast<int>(m_order.readingOrder().size()); }

    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        const auto& order = m_order.readingOrder();
        const bool exists = index >= 0 && index < childCount();
        return exists ? QAccessible::queryAccessibleInterface(order[static_cast<size_t>(index)]) : nullptr;
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        const auto& order = m_order.readingOrder();
        const auto place = std::ranges::find(order, child != nullptr ? child->object() : nullptr);
        return place != order.end() ? static_cast<int>(place - order.begin()) : -1;
    }

private:
    const ReadInOrder& m_order;
};

QAccessibleInterface* interfaceOf(const QString& /*className*/, QObject* object) {
    auto* const widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr) {
        return nullptr;
    }
    const QVariant role = widget->property(property);
    if (!role.isValid()) {
        return nullptr;
    }
    // Qt owns the interface from here on.
    const auto known = static_cast<QAccessible::Role>(role.toInt());
    if (const auto* const order = dynamic_cast<const ReadInOrder*>(widget)) {
        return new OrderedInterface(*widget, known, *order);
    }
    return new QAccessibleWidget(widget, known);
}

} // namespace

void set(QWidget& widget, QAccessible::Role role) {
    QAccessible::installFactory(interfaceOf); // known ones are disregarded; an application takes them along
    widget.setProperty(property, static_cast<int>(role));
}

} // namespace Vintrel::AccessibleRole
