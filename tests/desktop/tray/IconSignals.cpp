#include "tests/desktop/tray/IconSignals.h"

#include <stdexcept>

namespace VintrelTests {

IconSignals::IconSignals(SessionBus& bus) : m_bus(bus.connect()) {
    if (!m_bus.connect(QString(), QString(), QStringLiteral("org.kde.StatusNotifierItem"),
                       QStringLiteral("NewIcon"), this, SLOT(note()))) {
        throw std::runtime_error("nobody listens");
    }
}

} // namespace VintrelTests
