#pragma once

#include "Vintrel/views/parts/Theme.h"

#include <QString>
#include <QWidget>

namespace Vintrel {

/// Text in one of the theme's tones. Too long a line is cut, with the whole in a tooltip; a screen reader
/// always has the whole.
class TextLabel : public QWidget {
    Q_OBJECT

public:
    enum class Tone { primary, secondary, tertiary, safe, review };

    struct Style {
        TextSize size = TextSize::body;
        TextWeight weight = TextWeight::regular;
        Tone tone = Tone::primary;
        Qt::TextElideMode elide = Qt::ElideMiddle; ///< where a line is cut that is too long
        bool wraps = false;                        ///< several lines instead of a cut one
        bool hasFigures = false;                   ///< digits of one width
        bool isCode = false;                       ///< in the fixed-width font
        Qt::Alignment alignment = Qt::AlignLeading | Qt::AlignVCenter;
    };

    TextLabel(const QString& text, const Style& style, QWidget* parent);

    [[nodiscard]] const QString& text() const { return m_text; }

    /// Repaints only if it is another text.
    void setText(const QString& text);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return m_style.wraps; }

    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    [[nodiscard]] QFont styledFont() const;

    QString m_text;
    Style m_style;
};

} // namespace Vintrel
