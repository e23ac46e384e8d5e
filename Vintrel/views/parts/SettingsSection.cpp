#include "Vintrel/views/parts/SettingsSection.h"

#include "Vintrel/views/parts/Theme.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

constexpr int inset = 12; // of titles, hints and separators, as that of what stands in the rows

/// The rounded ground of the rows.
class Card : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent* event) override;
};

void Card::paintEvent(QPaintEvent* /*event*/) {
    constexpr double radius = 8;
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.hairline);
    painter.setBrush(theme.field);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (int index = 1; index < layout()->count(); ++index) {
        const QRect row = layout()->itemAt(index)->geometry();
        painter.drawLine(row.left() + inset, row.top(), row.right() - inset, row.top());
    }
}

} // namespace

SettingsSection::SettingsSection(const QString& title, QWidget* parent)
    : QWidget(parent),
      m_parts(new QVBoxLayout(this)),
      m_card(new Card(this)),
      m_rows(new QVBoxLayout(m_card)) {
    m_parts->setContentsMargins(0, 0, 0, 0);
    m_parts->setSpacing(6);
    addText(title, {.weight = TextWeight::bold, .wraps = true});
    m_card->setAccessibleName(title);
    m_rows->setContentsMargins(1, 1, 1, 1); // inside of the border
    m_rows->setSpacing(0);
    m_parts->addWidget(m_card);
}

void SettingsSection::addRow(QWidget* row) {
    m_rows->addWidget(row);
}

void SettingsSection::addHint(const QString& text) {
    addText(text, {.size = TextSize::small, .tone = TextLabel::Tone::secondary, .wraps = true});
}

void SettingsSection::addText(const QString& text, const TextLabel::Style& style) {
    auto* const line = new QHBoxLayout;
    line->setContentsMargins(inset, 0, inset, 0);
    line->addWidget(new TextLabel(text, style, this));
    m_parts->addLayout(line);
}

} // namespace Vintrel
