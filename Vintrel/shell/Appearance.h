#pragma once

#include <optional>

#include <QColor>
#include <QFont>
#include <QObject>

namespace Vintrel {

/// What the desktop asks programs to look like. What it does not say is absent.
struct AppearanceSettings {
    std::optional<bool> prefersDark;
    std::optional<QColor> accent;
    bool prefersReducedMotion = false;
    bool prefersHighContrast = false;
    std::optional<QFont> font;
    std::optional<QFont> fixedFont; ///< of one width for all characters

    bool operator==(const AppearanceSettings&) const = default;
};

/// The desktop's wishes, as far as they are known, and when they change. Used on the thread that made it.
class Appearance : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The present ones. They may come some time after the start; `changed` says so.
    [[nodiscard]] virtual const AppearanceSettings& settings() const = 0;

signals:
    /// The settings differ from what they were.
    void changed();
};

} // namespace Vintrel
