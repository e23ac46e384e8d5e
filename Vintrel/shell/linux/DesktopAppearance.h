#pragma once

#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/linux/PortalSettings.h"

#include <memory>

#include <QDBusConnection>
#include <QDBusVariant>
#include <QString>

namespace Vintrel {

class Portal;

/// What is known without the portal.
struct AppearanceSurroundings {
    AppearanceSettings fallback;
    bool scalesText = false; ///< as for `PortalSettings::settings`
};

/// The appearance by way of the settings portal. It is asked when this object is made and whenever it appears
/// on the bus; nothing ever waits for its answer. Without a bus or portal the fallback stays.
class DesktopAppearance : public Appearance {
    Q_OBJECT

public:
    explicit DesktopAppearance(QDBusConnection bus = QDBusConnection::sessionBus(),
                               AppearanceSurroundings surroundings = {}, QObject* parent = nullptr);

    [[nodiscard]] const AppearanceSettings& settings() const override { return m_settings; }

private slots:
    void noteChange(const QString& group, const QString& key, const QDBusVariant& value);

private: // NOLINT(readability-redundant-access-specifiers): what follows is no slot
    void ask();
    void use(const PortalSettings& known);

    QDBusConnection m_bus;
    AppearanceSurroundings m_surroundings;
    PortalSettings m_known;
    AppearanceSettings m_settings;
    std::shared_ptr<Portal> m_portal;
};

} // namespace Vintrel
