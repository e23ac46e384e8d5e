#pragma once

#include <QString>

/// What this program and its objects are called on the session bus.
namespace Vintrel::SessionNames {

inline const QString service = QStringLiteral("dev.vintrel.Vintrel");

/// Follows from the name: org.freedesktop.Application leaves no choice.
inline const QString application = QStringLiteral("/dev/vintrel/Vintrel");
inline const QString searchProvider = QStringLiteral("/dev/vintrel/Vintrel/SearchProvider");
inline const QString runner = QStringLiteral("/dev/vintrel/Vintrel/Runner");

inline const QString applicationInterface = QStringLiteral("org.freedesktop.Application");

// The keys of what a call tells about the click or key press that it comes from.
inline const QString startupID = QStringLiteral("desktop-startup-id");
inline const QString activationToken = QStringLiteral("activation-token");

} // namespace Vintrel::SessionNames
