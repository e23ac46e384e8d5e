#pragma once

#include <memory>

#include <QMenu>

namespace Vintrel {

class StatusItem;

/// The status item's menu where the program has to show it itself. What is chosen, the item tells of; it must
/// outlive the menu.
[[nodiscard]] std::unique_ptr<QMenu> makeStatusContextMenu(StatusItem& item);

} // namespace Vintrel
