#include "Vintrel/shell/linux/PortalSettings.h"

#include <array>
#include <cmath>
#include <string_view>

#include <QStringList>

namespace Vintrel {

namespace {

/// A word that says something of the style, in small letters and without hyphens.
struct StyleWord {
    std::string_view word;
    int value;
};

constexpr std::array weights{
    StyleWord{"thin", 100},        StyleWord{"ultralight", 200},  StyleWord{"extralight", 200},
    StyleWord{"light", 300},       StyleWord{"semilight", 350},   StyleWord{"demilight", 350},
    StyleWord{"book", 380},        StyleWord{"regular", 400},     StyleWord{"normal", 400},
    StyleWord{"medium", 500},      StyleWord{"semibold", 600},    StyleWord{"demibold", 600},
    StyleWord{"bold", 700},        StyleWord{"ultrabold", 800},   StyleWord{"extrabold", 800},
    StyleWord{"heavy", 900},       StyleWord{"black", 900},       StyleWord{"ultraheavy", 1000},
    StyleWord{"ultrablack", 1000}, StyleWord{"extrablack", 1000},
};

constexpr std::array styles{
    StyleWord{"roman", QFont::StyleNormal},
    StyleWord{"italic", QFont::StyleItalic},
    StyleWord{"oblique", QFont::StyleOblique},
};

constexpr std::array stretches{
    StyleWord{"ultracondensed", QFont::UltraCondensed}, StyleWord{"extracondensed", QFont::ExtraCondensed},
    StyleWord{"condensed", QFont::Condensed},           StyleWord{"semicondensed", QFont::SemiCondensed},
    StyleWord{"semiexpanded", QFont::SemiExpanded},     StyleWord{"expanded", QFont::Expanded},
    StyleWord{"extraexpanded", QFont::ExtraExpanded},   StyleWord{"ultraexpanded", QFont::UltraExpanded},
};

std::optional<int> valueOf(const auto& words, const QString& sought) {
    for (const StyleWord& known : words) {
        if (sought == QLatin1String(known.word.data(), static_cast<qsizetype>(known.word.size()))) {
            return known.value;
        }
    }
    return std::nullopt;
}

/// Whether the word is one of style; then it is applied.
bool applyStyle(const QString& written, QFont& font) {
    const QString word = written.toLower().remove(QLatin1Char('-'));
    if (const auto weight = valueOf(weights, word)) {
        font.setWeight(static_cast<QFont::Weight>(*weight));
        return true;
    }
    if (const auto style = valueOf(styles, word)) {
        font.setStyle(static_cast<QFont::Style>(*style));
        return true;
    }
    if (const auto stretch = valueOf(stretches, word)) {
        font.setStretch(*stretch);
        return true;
    }
    return false;
}

/// Whether the word is a size that a person could read; then it is applied.
bool applySize(QString word, QFont& font) {
    const QString pixels = QStringLiteral("px");
    const bool isInPixels = word.endsWith(pixels);
    if (isInPixels) {
        word.chop(pixels.size());
    }
    bool isNumber = false;
    const double size = word.toDouble(&isNumber);
    constexpr double smallest = 1;
    constexpr double largest = 200;
    // Written so that what is no number at all fails, too.
    if (!isNumber || !(size >= smallest && size <= largest)) {
        return false;
    }
    if (isInPixels) {
        font.setPixelSize(static_cast<int>(std::lround(size)));
    } else {
        font.setPointSizeF(size);
    }
    return true;
}

QStringList familiesIn(const QString& text) {
    QStringList families;
    for (const QString& part : text.split(QLatin1Char(','))) {
        if (const QString family = part.simplified(); !family.isEmpty()) {
            families.append(family);
        }
    }
    return families;
}

} // namespace

std::optional<QFont> fontFromDescription(const QString& description) {
    constexpr qsizetype longest = 500; // no font has such a name
    if (description.size() > longest) {
        return std::nullopt;
    }
    QStringList words = description.simplified().split(QLatin1Char(' '));
    // Settings of variable fonts and their features stand behind the size.
    while (!words.isEmpty() &&
           (words.last().startsWith(QLatin1Char('@')) || words.last().startsWith(QLatin1Char('#')))) {
        words.removeLast();
    }
    // A size alone is no font, nor are words of style: without a family every glyph is anyone's guess.
    QFont font((QString()));
    if (words.isEmpty() || !applySize(words.takeLast(), font)) {
        return std::nullopt;
    }
    // A comma ends the families, so that one may be called like a style.
    while (!words.isEmpty() && !words.last().endsWith(QLatin1Char(',')) && applyStyle(words.last(), font)) {
        words.removeLast();
    }
    const QStringList families = familiesIn(words.join(QLatin1Char(' ')));
    if (families.isEmpty()) {
        return std::nullopt;
    }
    font.setFamilies(families);
    return font;
}

} // namespace Vintrel
