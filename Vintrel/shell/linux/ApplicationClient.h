#pragma once

#include "Vintrel/shell/ApplicationInstance.h"
#include "Vintrel/shell/StartRequest.h"

#include <chrono>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>

namespace Vintrel {

/// A second start's side of org.freedesktop.Application. It waits for the answer; it is for a program that
/// has nothing else to do yet. Source of the interface: the Desktop Entry Specification 1.5, "D-Bus
/// Activation".
class ApplicationClient {
public:
    explicit ApplicationClient(QDBusConnection bus, std::chrono::milliseconds patience = defaultPatience);

    /// An errand has the bus start the other instance where none runs, if the bus knows how.
    [[nodiscard]] Handover handOver(const StartRequest& request) const;

    /// The calls that carry the request to the other instance, with the tokens of this start.
    [[nodiscard]] static QList<QDBusMessage> calls(const StartRequest& request);

private:
    /// Longer than a start takes on a machine that is just logging its user in.
    static constexpr std::chrono::seconds defaultPatience{5};

    [[nodiscard]] Handover callOther(const StartRequest& request) const;
    [[nodiscard]] bool startByBus() const;
    [[nodiscard]] bool isOwned() const;

    QDBusConnection m_bus;
    std::chrono::milliseconds m_patience;
};

} // namespace Vintrel
