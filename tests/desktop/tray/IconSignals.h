#pragma once

#include "tests/app/support/SessionBus.h"

#include <QDBusConnection>
#include <QObject>

namespace VintrelTests {

/// Counts how often items in the tray have told it that they look different.
class IconSignals : public QObject {
    Q_OBJECT

public:
    explicit IconSignals(SessionBus& bus);

    [[nodiscard]] int count() const { return m_count; }

private slots:

    void note() { ++m_count; }

private: // NOLINT(readability-redundant-access-specifiers): what follows is no slot
    QDBusConnection m_bus;
    int m_count = 0;
};

} // namespace VintrelTests
