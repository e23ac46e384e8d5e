#include "Vintrel/views/SectionHeader.h"

#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/PushButton.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "Vintrel/views/parts/Theme.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>

namespace Vintrel {

namespace {

constexpr int margin = 16;
constexpr int dotSize = 8;
constexpr int gap = 8;
constexpr int trailingMargin = 12;

} // namespace

SectionHeader::SectionHeader(VintrelCore::Bucket bucket, QWidget* parent)
    : QWidget(parent), m_bucket(bucket) {
    AccessibleRole::set(*this, QAccessible::Grouping);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 6, 0, 4); // at the sides spaces, which are mirrored where margins are not
    layout->setSpacing(gap);
    layout->addSpacing(margin + dotSize + gap);
    m_title = new TextLabel({}, {.size = TextSize::body, .weight = TextWeight::bold}, this);
    layout->addWidget(m_title);
    if (bucket == VintrelCore::Bucket::safe) {
        m_detail = new TextLabel({},
                                 {.size = TextSize::caption,
                                  .tone = TextLabel::Tone::secondary,
                                  .elide = Qt::ElideRight,
                                  .hasFigures = true},
                                 this);
        m_cleanButton = new PushButton(tr("Clean all"), PushButton::Emphasis::accent, this);
        layout->addWidget(m_detail, 1);
        layout->addWidget(m_cleanButton);
    } else {
        layout->addStretch(1);
    }
    layout->addSpacing(trailingMargin);
}

void SectionHeader::displayTitle(const QString& title) {
    m_title->setText(title);
    setAccessibleName(title);
}

void SectionHeader::displayDetail(const QString& detail) {
    if (m_detail != nullptr) {
        m_detail->setText(detail);
    }
}

void SectionHeader::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_bucket == VintrelCore::Bucket::safe ? theme.safe : theme.review);
    const QRect title = m_title->geometry();
    const QRect dot(margin, title.y() + (title.height() - dotSize) / 2, dotSize, dotSize);
    painter.drawEllipse(QStyle::visualRect(layoutDirection(), rect(), dot));
}

} // namespace Vintrel
