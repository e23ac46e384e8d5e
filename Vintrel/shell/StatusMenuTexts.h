#pragma once

#include <QString>

/// The words of the status item's menu.
namespace Vintrel::StatusMenuTexts {

[[nodiscard]] inline QString open() {
    return QStringLiteral("Open Vintrel");
}

[[nodiscard]] inline QString quit() {
    return QStringLiteral("Quit Vintrel");
}

} // namespace Vintrel::StatusMenuTexts
