#pragma once

#include "Vintrel/views/StraysModel.h"

class QMenu;
class QPoint;
class QWidget;

/// The context menu of a row.
namespace Vintrel::StrayMenu {

/// Makes the menu; it keeps what it needs of the item, whose row may be gone when something is chosen.
[[nodiscard]] QMenu* make(const StraysModel& model, const StraysModel::Item& item, QWidget* parent);

/// Shows it, and deletes it when it closes. Returns at once.
void popUp(const StraysModel& model, const StraysModel::Item& item, const QPoint& where, QWidget* parent);

} // namespace Vintrel::StrayMenu
