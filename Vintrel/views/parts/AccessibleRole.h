#pragma once

#include <vector>

#include <QAccessible>

class QWidget;

namespace Vintrel {

/// A widget whose children are to be read in another order than that in which they were made.
class ReadInOrder {
public:
    ReadInOrder() = default;
    ReadInOrder(const ReadInOrder&) = delete;
    ReadInOrder& operator=(const ReadInOrder&) = delete;
    virtual ~ReadInOrder() = default;

    [[nodiscard]] virtual const std::vector<QWidget*>& readingOrder() const = 0;
};

} // namespace Vintrel

/// What widgets of our own are to a screen reader. No state but the registration.
namespace Vintrel::AccessibleRole {

/// To be called before the widget is first asked about; its first accessible name already counts as that.
void set(QWidget& widget, QAccessible::Role role);

} // namespace Vintrel::AccessibleRole
