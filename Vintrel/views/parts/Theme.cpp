#include "Vintrel/views/parts/Theme.h"

#include "Vintrel/views/parts/AppPalette.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include <QFontInfo>
#include <QGuiApplication>

namespace Vintrel {

namespace {

constexpr double readable = 4.5; // for text, by the accessibility guidelines

/// The relative luminance of the guidelines.
double luminance(const QColor& color) {
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor mixed(const QColor& one, const QColor& other, double share) {
    const auto channel = [share](float from, float to) {
        return static_cast<float>(from + (to - from) * share);
    };
    const QColor exact =
        QColor::fromRgbF(channel(one.redF(), other.redF()), channel(one.greenF(), other.greenF()),
                         channel(one.blueF(), other.blueF()));
    return QColor::fromRgb(exact.rgb()); // as it comes to the screen
}

/// The colour, moved towards black or white until it can be read on all of these grounds.
QColor readableOn(QColor color, std::initializer_list<QColor> grounds, bool isDark) {
    const QColor goal = isDark ? Qt::white : Qt::black;
    constexpr int steps = 40;
    for (int step = 0; step < steps; ++step) {
        const bool isReadable = std::ranges::all_of(
            grounds, [&color](const QColor& ground) { return Theme::contrast(color, ground) >= readable; });
        if (isReadable) {
            break;
        }
        color = mixed(color, goal, 0.08);
    }
    return color;
}

double pointSize(TextSize size, double base) {
    switch (size) {
    case TextSize::title:
        return base * 1.15;
    case TextSize::body:
        return base;
    case TextSize::caption:
        return base * 0.94;
    case TextSize::small:
        return base * 0.86;
    }
    return base;
}

QFont sized(QFont font, TextSize size) {
    font.setPointSizeF(pointSize(size, QFontInfo(QGuiApplication::font()).pointSizeF()));
    return font;
}

} // namespace

double Theme::contrast(const QColor& one, const QColor& other) {
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

Theme Theme::from(const QPalette& palette) {
    Theme theme;
    theme.background = palette.color(QPalette::Window);
    const QColor text = palette.color(QPalette::WindowText);
    theme.isDark = luminance(theme.background) < luminance(text);
    theme.field = mixed(theme.background, Qt::white, theme.isDark ? 0.07 : 1.0);
    theme.sunken = mixed(theme.background, text, theme.isDark ? 0.10 : 0.055);
    theme.hovered = mixed(theme.background, text, theme.isDark ? 0.13 : 0.075);
    theme.hairline = mixed(theme.background, text, theme.isDark ? 0.20 : 0.14);
    const std::initializer_list<QColor> grounds{theme.background, theme.field, theme.sunken, theme.hovered};
    theme.primary = readableOn(text, grounds, theme.isDark);
    theme.secondary = readableOn(mixed(text, theme.background, 0.28), grounds, theme.isDark);
    theme.tertiary = readableOn(mixed(text, theme.background, 0.40), grounds, theme.isDark);
    theme.accent = palette.color(QPalette::Highlight);
    theme.onAccent = palette.color(QPalette::HighlightedText);
    if (contrast(theme.onAccent, theme.accent) < readable) {
        theme.onAccent =
            contrast(Qt::white, theme.accent) > contrast(Qt::black, theme.accent) ? Qt::white : Qt::black;
    }
    theme.safe =
        readableOn(theme.isDark ? QColor(0xff, 0x7b, 0x72) : QColor(0xb4, 0x23, 0x18), grounds, theme.isDark);
    theme.review =
        readableOn(theme.isDark ? QColor(0xf2, 0xb8, 0x3d) : QColor(0x8a, 0x57, 0x00), grounds, theme.isDark);
    return theme;
}

const Theme& Theme::current() {
    static std::optional<Theme> theme;
    static qint64 madeFrom = 0;
    const QPalette palette = QGuiApplication::palette();
    if (!theme || madeFrom != palette.cacheKey()) {
        theme = from(palette);
        madeFrom = palette.cacheKey();
    }
    return *theme;
}

PanelColors PanelColors::on(PanelScheme scheme) {
    PanelColors colors{.glyph = QColor(0x75, 0x75, 0x75), // 4.5 to 1 on black as well as on white
                       .safe = QColor(0xd9, 0x2d, 0x20),
                       .onSafe = Qt::white,
                       .review = QColor(0xf5, 0xb8, 0x2e),
                       .onReview = QColor(0x1d, 0x1f, 0x23)};
    if (scheme == PanelScheme::light) {
        colors.glyph = QColor(0x1d, 0x1f, 0x23);
    } else if (scheme == PanelScheme::dark) {
        colors.glyph = QColor(0xf4, 0xf5, 0xf7);
    }
    return colors;
}

QFont textFont(TextSize size, TextWeight weight) {
    QFont font = sized(QGuiApplication::font(), size);
    if (weight == TextWeight::bold) {
        font.setWeight(QFont::DemiBold);
    }
    return font;
}

QFont figuresFont(TextSize size) {
    // NOLINTNEXTLINE(misc-const-correctness): later versions of Qt change it
    QFont font = textFont(size);
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0) // before, a font's own figures have to do; most are of one width
    font.setFeature(QFont::Tag("tnum"), 1);
#endif
    return font;
}

QFont codeFont(TextSize size) {
    return sized(AppPalette::fixedFont(), size);
}

} // namespace Vintrel
