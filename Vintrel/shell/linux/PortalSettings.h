#pragma once

#include "Vintrel/shell/Appearance.h"

#include <optional>

#include <QColor>
#include <QFont>
#include <QString>
#include <QVariant>

namespace Vintrel {

/// The values of the settings portal that matter for the appearance, and what they come to. Knows no bus.
/// Source of the names and values: the Settings portal of XDG Desktop Portal, version 2, and the schema
/// org.gnome.desktop.interface.
class PortalSettings {
public:
    /// Remembers a value. One of no interest, or not of the type that it has to be of, changes nothing.
    void take(const QString& group, const QString& key, const QVariant& value);

    /// `fallback` stands for what the portal does not say. `scalesText` applies the desktop's factor for the
    /// size of text to the fonts, for where Qt does not do that itself.
    [[nodiscard]] AppearanceSettings settings(const AppearanceSettings& fallback, bool scalesText) const;

private:
    void takeFromAppearance(const QString& key, const QVariant& value);
    void takeFromInterface(const QString& key, const QVariant& value);
    [[nodiscard]] std::optional<bool> prefersDark() const;

    std::optional<uint> m_colorScheme;
    std::optional<QColor> m_accent;
    std::optional<uint> m_contrast;
    std::optional<uint> m_reducedMotion;
    std::optional<QString> m_interfaceScheme;
    std::optional<bool> m_animates;
    std::optional<QFont> m_font;
    std::optional<QFont> m_fixedFont;
    double m_textScale = 1;
};

/// A font from a description such as "Cantarell Bold 11": families separated by commas, words for the style,
/// and a size in points, or in pixels with "px". Absent for what has no family or no sensible size. Source:
/// Pango's documentation of font descriptions.
[[nodiscard]] std::optional<QFont> fontFromDescription(const QString& description);

} // namespace Vintrel
