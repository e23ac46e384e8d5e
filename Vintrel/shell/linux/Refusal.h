#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QString>

namespace Vintrel {

/// Answers a call that arrived on some connection with an error about its arguments. For slots, which say by
/// `message` that they answer themselves.
inline void refuse(const QDBusConnection& bus, const QDBusMessage& message, const QString& text) {
    message.setDelayedReply(true);
    bus.send(message.createErrorReply(QDBusError::InvalidArgs, text));
}

} // namespace Vintrel
