#pragma once

#include <QFont>
#include <QSize>
#include <QString>

class QPainter;
class QRect;
class QWidget;

/// What several widgets paint alike. No state.
namespace Vintrel::Painting {

/// The ring around a control that has the keyboard's focus.
void focusRing(QPainter& painter, const QRect& rect, double radius);

/// How much room a text takes whose lines are at most so wide. They are broken between words, and in a word
/// only if it is wider than that by itself.
[[nodiscard]] QSize wrappedSize(const QString& text, const QFont& font, int width);

/// Paints such a text with the painter's font and pen.
void drawWrapped(QPainter& painter, const QRect& rect, Qt::Alignment alignment, const QString& text);

/// Whether the focus of this widget is to be seen: it came by the keyboard.
[[nodiscard]] bool showsFocus(const QWidget& widget);

} // namespace Vintrel::Painting
