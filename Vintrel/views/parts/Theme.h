#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace Vintrel {

/// The popover's colours, made from the desktop's palette: its window colour decides between light and dark,
/// its highlight is the accent. Text in any of them reaches a contrast of 4.5 to 1 on the background, and
/// where it stands in one, on its field or tint.
struct Theme {
    bool isDark = false;
    QColor background;
    QColor field;     ///< text fields, cards and the selected tab
    QColor sunken;    ///< the tabs' track, chips
    QColor hovered;   ///< a row or button under the pointer or with the focus in it
    QColor hairline;  ///< borders and separators
    QColor primary;   ///< text
    QColor secondary; ///< quieter text
    QColor tertiary;  ///< the quietest text
    QColor accent;
    QColor onAccent; ///< text on the accent
    QColor safe;     ///< what is safe to clean; always beside a word or symbol
    QColor review;   ///< what needs review; likewise

    [[nodiscard]] static Theme from(const QPalette& palette);

    /// That of the application's present palette.
    [[nodiscard]] static const Theme& current();

    /// The WCAG contrast ratio, from 1 to 21. Source: Web Content Accessibility Guidelines 2.1, "contrast
    /// ratio".
    [[nodiscard]] static double contrast(const QColor& one, const QColor& other);
};

/// What the desktop's panel looks like, as far as one can know.
enum class PanelScheme { unknown, light, dark };

/// The colours of the status icon, which stands on the panel and not in one of our windows.
struct PanelColors {
    QColor glyph; ///< as black or white as the panel is not; on an unknown one a grey that both let see
    QColor safe;
    QColor onSafe;
    QColor review;
    QColor onReview;

    [[nodiscard]] static PanelColors on(PanelScheme scheme);
};

/// How large a text is, from the desktop's font.
enum class TextSize { title, body, caption, small };

enum class TextWeight { regular, bold };

/// The desktop's font in one of these sizes.
[[nodiscard]] QFont textFont(TextSize size, TextWeight weight = TextWeight::regular);

/// The same with digits of one width, for figures that change.
[[nodiscard]] QFont figuresFont(TextSize size);

/// The desktop's fixed-width font, for paths.
[[nodiscard]] QFont codeFont(TextSize size);

} // namespace Vintrel
