#include "Vintrel/views/parts/AppPalette.h"

#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <utility>

#include <QApplication>
#include <QColor>
#include <QFontDatabase>
#include <QToolTip>

namespace Vintrel::AppPalette {

namespace {

/// The least contrasts, by the accessibility guidelines.
constexpr double readable = 4.5;
constexpr double readableByAll = 7;
constexpr double noticeable = 3;

/// The colours from which a palette is made.
struct Scheme {
    QRgb window;
    QRgb base;          ///< behind text that is edited, and lists
    QRgb alternateBase; ///< every other row
    QRgb button;
    QRgb text;
    QRgb placeholder;
    QRgb disabled;
    QRgb tooltip;
    QRgb light; ///< edges towards the light, and away from it
    QRgb mid;
    QRgb dark;
    QRgb accent; ///< where the desktop has none
    double contrastOfText = readable;
    double contrastOfMarks = noticeable; ///< of what is no text, such as a ring around a control
};

constexpr Scheme lightScheme{.window = 0xfbfbfc,
                             .base = 0xffffff,
                             .alternateBase = 0xf4f5f7,
                             .button = 0xf4f5f8,
                             .text = 0x1d1f23,
                             .placeholder = 0x676d78,
                             .disabled = 0x8b909a,
                             .tooltip = 0x2b2e35,
                             .light = 0xffffff,
                             .mid = 0xd3d6dc,
                             .dark = 0xa9aeb8,
                             .accent = 0x2f6fed};

constexpr Scheme darkScheme{.window = 0x202226,
                            .base = 0x26292f,
                            .alternateBase = 0x2a2e35,
                            .button = 0x30343b,
                            .text = 0xeceef2,
                            .placeholder = 0xa0a6b1,
                            .disabled = 0x7d838e,
                            .tooltip = 0x3a3e47,
                            .light = 0x444953,
                            .mid = 0x2a2d33,
                            .dark = 0x17181b,
                            .accent = 0x6ea0ff};

constexpr Scheme clearLightScheme{.window = 0xffffff,
                                  .base = 0xffffff,
                                  .alternateBase = 0xf2f2f2,
                                  .button = 0xffffff,
                                  .text = 0x000000,
                                  .placeholder = 0x404040,
                                  .disabled = 0x6b6b6b,
                                  .tooltip = 0x000000,
                                  .light = 0xffffff,
                                  .mid = 0xb0b0b0,
                                  .dark = 0x404040,
                                  .accent = 0x0b46b8,
                                  .contrastOfText = readableByAll,
                                  .contrastOfMarks = readable};

constexpr Scheme clearDarkScheme{.window = 0x000000,
                                 .base = 0x000000,
                                 .alternateBase = 0x141414,
                                 .button = 0x000000,
                                 .text = 0xffffff,
                                 .placeholder = 0xc8c8c8,
                                 .disabled = 0x949494,
                                 .tooltip = 0x1c1c1c,
                                 .light = 0xa0a0a0,
                                 .mid = 0x505050,
                                 .dark = 0x303030,
                                 .accent = 0x8ab4ff,
                                 .contrastOfText = readableByAll,
                                 .contrastOfMarks = readable};

const Scheme& schemeFor(bool isDark, bool isHighContrast) {
    if (isHighContrast) {
        return isDark ? clearDarkScheme : clearLightScheme;
    }
    return isDark ? darkScheme : lightScheme;
}

/// One colour with a share of another, from 0 to 1.
QColor mixed(const QColor& one, const QColor& other, float share) {
    const auto channel = [share](float from, float to) { return from + (to - from) * share; };
    return QColor::fromRgbF(channel(one.redF(), other.redF()), channel(one.greenF(), other.greenF()),
                            channel(one.blueF(), other.blueF()));
}

/// The colour, moved towards `goal` until it stands out from all of these grounds.
QColor moved(const QColor& color, const QColor& goal, std::initializer_list<QColor> grounds,
             double contrast) {
    constexpr int steps = 100;
    for (int step = 0; step < steps; ++step) {
        const QColor candidate = mixed(color, goal, static_cast<float>(step) / steps);
        if (std::ranges::all_of(grounds, [&candidate, contrast](const QColor& ground) {
                return Theme::contrast(candidate, ground) >= contrast;
            })) {
            return candidate;
        }
    }
    return goal;
}

/// The highlight and the text on it.
struct Highlight {
    QColor ground;
    QColor text;
};

Highlight highlightFor(const QColor& accent, const Scheme& scheme, bool isDark) {
    const QColor ground =
        moved(accent, isDark ? Qt::white : Qt::black, {scheme.window}, scheme.contrastOfMarks);
    const QColor usual = isDark ? Qt::black : Qt::white;
    const QColor other = isDark ? Qt::white : Qt::black;
    // A light accent on a light window, such as yellow, would have to become brown for white text.
    constexpr double nearly = 3.5;
    if (Theme::contrast(usual, ground) < nearly && Theme::contrast(other, ground) >= scheme.contrastOfText) {
        return {ground, other};
    }
    return {moved(ground, other, {usual}, scheme.contrastOfText), usual};
}

/// What is the same whether the window is in front, behind or disabled.
QPalette grounds(const Scheme& scheme, bool isDark) {
    const QColor tooltipText = Qt::white;
    const QColor shadow = isDark ? QColor(Qt::black) : mixed(scheme.dark, Qt::black, 0.4F);
    QPalette palette;
    for (const auto& [role, color] : std::initializer_list<std::pair<QPalette::ColorRole, QColor>>{
             {QPalette::Window, scheme.window},
             {QPalette::Base, scheme.base},
             {QPalette::AlternateBase, scheme.alternateBase},
             {QPalette::Button, scheme.button},
             {QPalette::ToolTipBase, scheme.tooltip},
             {QPalette::ToolTipText, tooltipText},
             {QPalette::BrightText, isDark ? Qt::white : Qt::black},
             {QPalette::Light, scheme.light},
             {QPalette::Midlight, mixed(scheme.light, scheme.button, 0.5F)},
             {QPalette::Mid, scheme.mid},
             {QPalette::Dark, scheme.dark},
             {QPalette::Shadow, shadow},
         }) {
        palette.setColor(QPalette::All, role, color);
    }
    return palette;
}

/// What QApplication does not keep.
std::optional<QFont>& appliedFixedFont() {
    static std::optional<QFont> font;
    return font;
}

} // namespace

QPalette makePalette(const AppearanceSettings& settings) {
    const bool isDark = settings.prefersDark.value_or(false);
    const Scheme& scheme = schemeFor(isDark, settings.prefersHighContrast);
    const QColor accent = settings.accent.value_or(scheme.accent);
    const Highlight highlight = highlightFor(accent, scheme, isDark);
    const QColor away = isDark ? Qt::white : Qt::black;
    const std::initializer_list<QColor> pages{scheme.window, scheme.base, scheme.alternateBase};
    const QColor link = moved(accent, away, pages, scheme.contrastOfText);
    const QColor visited = moved(mixed(link, QColor(0x9b2fae), 0.6F), away, pages, scheme.contrastOfText);

    QPalette palette = grounds(scheme, isDark);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::All, role, scheme.text);
        palette.setColor(QPalette::Disabled, role, scheme.disabled);
    }
    palette.setColor(QPalette::All, QPalette::PlaceholderText, scheme.placeholder);
    palette.setColor(QPalette::Disabled, QPalette::PlaceholderText, scheme.disabled);
    palette.setColor(QPalette::All, QPalette::Highlight, highlight.ground);
    palette.setColor(QPalette::All, QPalette::HighlightedText, highlight.text);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, scheme.mid);
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, scheme.text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    palette.setColor(QPalette::All, QPalette::Accent, highlight.ground);
    palette.setColor(QPalette::Disabled, QPalette::Accent, scheme.mid);
#endif
    palette.setColor(QPalette::All, QPalette::Link, link);
    palette.setColor(QPalette::All, QPalette::LinkVisited, visited);
    palette.setColor(QPalette::Disabled, QPalette::Link, scheme.disabled);
    palette.setColor(QPalette::Disabled, QPalette::LinkVisited, scheme.disabled);
    return palette;
}

void apply(const AppearanceSettings& settings) {
    const QPalette palette = makePalette(settings);
    if (QApplication::palette() != palette) {
        QApplication::setPalette(palette);
        QToolTip::setPalette(palette); // which is a matter of its own where the desktop has one for it
    }
    if (settings.font && QApplication::font() != *settings.font) {
        QApplication::setFont(*settings.font);
    }
    if (settings.fixedFont) {
        appliedFixedFont() = settings.fixedFont;
    }
}

QFont fixedFont() {
    return appliedFixedFont().value_or(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

} // namespace Vintrel::AppPalette
