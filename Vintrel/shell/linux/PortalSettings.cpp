#include "Vintrel/shell/linux/PortalSettings.h"

#include <QDBusArgument>
#include <QDBusVariant>

namespace Vintrel {

namespace {

/// The value, if it is of that type.
template <typename Value>
std::optional<Value> valueAs(const QVariant& value) {
    if (value.metaType() != QMetaType::fromType<Value>()) {
        return std::nullopt;
    }
    return value.value<Value>();
}

/// Overwrites `known` with the value, if it is of its type.
template <typename Value>
void takeInto(std::optional<Value>& known, const QVariant& value) {
    if (auto taken = valueAs<Value>(value)) {
        known = std::move(taken);
    }
}

void takeFontInto(std::optional<QFont>& known, const QVariant& value) {
    const auto description = valueAs<QString>(value);
    if (!description) {
        return;
    }
    if (auto font = fontFromDescription(*description)) {
        known = std::move(font);
    }
}

/// Three shares of red, green and blue. Any of them out of range means that there is no accent.
void takeAccentInto(std::optional<QColor>& known, const QVariant& value) {
    const auto argument = valueAs<QDBusArgument>(value);
    if (!argument || argument->currentSignature() != QLatin1String("(ddd)")) {
        return;
    }
    double red = 0;
    double green = 0;
    double blue = 0;
    argument->beginStructure();
    *argument >> red >> green >> blue;
    argument->endStructure();
    const auto isShare = [](double share) { return share >= 0 && share <= 1; }; // what is no number is none
    known.reset();
    if (isShare(red) && isShare(green) && isShare(blue)) {
        known =
            QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
    }
}

std::optional<QFont> scaled(std::optional<QFont> font, double factor) {
    if (!font) {
        return font;
    }
    if (font->pointSizeF() > 0) {
        font->setPointSizeF(font->pointSizeF() * factor);
    } else {
        font->setPixelSize(qRound(font->pixelSize() * factor));
    }
    return font;
}

} // namespace

void PortalSettings::take(const QString& group, const QString& key, const QVariant& value) {
    // Some portals wrap a value more than once.
    QVariant plain = value;
    while (const auto wrapped = valueAs<QDBusVariant>(plain)) {
        plain = wrapped->variant();
    }
    if (group == QLatin1String("org.freedesktop.appearance")) {
        takeFromAppearance(key, plain);
    } else if (group == QLatin1String("org.gnome.desktop.interface")) {
        takeFromInterface(key, plain);
    }
}

void PortalSettings::takeFromAppearance(const QString& key, const QVariant& value) {
    if (key == QLatin1String("color-scheme")) {
        takeInto(m_colorScheme, value);
    } else if (key == QLatin1String("accent-color")) {
        takeAccentInto(m_accent, value);
    } else if (key == QLatin1String("contrast")) {
        takeInto(m_contrast, value);
    } else if (key == QLatin1String("reduced-motion")) {
        takeInto(m_reducedMotion, value);
    }
}

void PortalSettings::takeFromInterface(const QString& key, const QVariant& value) {
    if (key == QLatin1String("color-scheme")) {
        takeInto(m_interfaceScheme, value);
    } else if (key == QLatin1String("enable-animations")) {
        takeInto(m_animates, value);
    } else if (key == QLatin1String("font-name")) {
        takeFontInto(m_font, value);
    } else if (key == QLatin1String("monospace-font-name")) {
        takeFontInto(m_fixedFont, value);
    } else if (key == QLatin1String("text-scaling-factor")) {
        constexpr double smallest = 0.5; // the range of the schema
        constexpr double largest = 3;
        const double factor = valueAs<double>(value).value_or(m_textScale);
        m_textScale = factor >= smallest && factor <= largest ? factor : m_textScale;
    }
}

std::optional<bool> PortalSettings::prefersDark() const {
    constexpr uint dark = 1;
    constexpr uint light = 2;
    if (m_colorScheme == dark || m_colorScheme == light) {
        return m_colorScheme == dark;
    }
    // A portal that knows the first key has said that there is no preference; others only know this one.
    if (!m_colorScheme && m_interfaceScheme == QLatin1String("prefer-dark")) {
        return true;
    }
    if (!m_colorScheme && m_interfaceScheme == QLatin1String("prefer-light")) {
        return false;
    }
    return std::nullopt;
}

AppearanceSettings PortalSettings::settings(const AppearanceSettings& fallback, bool scalesText) const {
    constexpr uint more = 1; // contrast, or calm
    AppearanceSettings settings = fallback;
    if (const auto isDark = prefersDark()) {
        settings.prefersDark = isDark;
    }
    if (m_accent) {
        settings.accent = m_accent;
    }
    if (m_contrast) {
        settings.prefersHighContrast = m_contrast == more;
    }
    if (m_reducedMotion || m_animates) {
        settings.prefersReducedMotion = m_reducedMotion == more || m_animates == false;
    }
    const double factor = scalesText ? m_textScale : 1;
    if (m_font) {
        settings.font = scaled(m_font, factor);
    }
    if (m_fixedFont) {
        settings.fixedFont = scaled(m_fixedFont, factor);
    }
    return settings;
}

} // namespace Vintrel
