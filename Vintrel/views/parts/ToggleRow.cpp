#include "Vintrel/views/parts/ToggleRow.h"

#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <utility>

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

namespace Vintrel {

namespace {

constexpr int sideInset = 12;
constexpr int padding = 7; // above and below
constexpr int gap = 10;    // between the label and the switch
constexpr QSize trackSize(34, 20);
constexpr int ringWidth = 3; // what the focus ring takes around the switch
constexpr int unlimited = 1'000'000;

constexpr int besideLabel = sideInset + gap + trackSize.width() + sideInset;

QFont labelFont() {
    return textFont(TextSize::body);
}

} // namespace

ToggleRow::ToggleRow(const QString& label, std::function<void(bool isOn)> onChoice, QWidget* parent)
    : QCheckBox(QString(label).replace(QLatin1Char('&'), QLatin1String("&&")), parent), m_label(label) {
    setAccessibleName(label);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    // A click and a screen reader's "toggle" both arrive here, and only here.
    connect(this, &QCheckBox::toggled, this, [this, onChoice = std::move(onChoice)](bool isOn) {
        if (!m_isToldToShow) {
            onChoice(isOn);
        }
    });
}

void ToggleRow::setShown(bool isOn) {
    const bool before = std::exchange(m_isToldToShow, true);
    setChecked(isOn);
    m_isToldToShow = before;
}

QSize ToggleRow::sizeHint() const {
    const QFontMetrics metrics(labelFont());
    const int height = std::max(metrics.height(), trackSize.height()) + 2 * padding;
    return {metrics.horizontalAdvance(m_label) + 1 + besideLabel, height};
}

QSize ToggleRow::minimumSizeHint() const {
    const QSize size = sizeHint();
    const int shortestLabel = QFontMetrics(labelFont()).averageCharWidth() * 4;
    return {std::min(size.width(), besideLabel + shortestLabel), size.height()};
}

int ToggleRow::heightForWidth(int width) const {
    const QRect space(0, 0, std::max(width - besideLabel, 1), unlimited);
    const int height = QFontMetrics(labelFont()).boundingRect(space, Qt::TextWordWrap, m_label).height();
    return std::max(height + 2 * padding, sizeHint().height());
}

void ToggleRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setFont(labelFont());
    painter.setPen(Theme::current().primary);
    const QRect label = rect().adjusted(sideInset, 0, sideInset - besideLabel, 0);
    const auto alignment = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter);
    painter.drawText(QStyle::visualRect(layoutDirection(), rect(), label),
                     static_cast<int>(alignment) | Qt::TextWordWrap, m_label);
    const QRect track(QPoint(width() - sideInset - trackSize.width(), (height() - trackSize.height()) / 2),
                      trackSize);
    paintSwitch(painter, QStyle::visualRect(layoutDirection(), rect(), track));
}

void ToggleRow::paintSwitch(QPainter& painter, const QRect& track) const {
    constexpr double knobGap = 3;
    const Theme& theme = Theme::current();
    const double radius = trackSize.height() / 2.0;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(isChecked() ? theme.accent : theme.tertiary);
    painter.setBrush(isChecked() ? theme.accent : theme.sunken);
    painter.drawRoundedRect(QRectF(track).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.setPen(Qt::NoPen);
    // In the dark the text on the accent may be black, and a black knob looks like a hole.
    const QColor knobColor = theme.isDark ? theme.primary : theme.onAccent;
    painter.setBrush(isChecked() ? knobColor : theme.tertiary);
    const double knob = trackSize.height() - 2 * knobGap;
    const bool isAtRight = isChecked() == (layoutDirection() == Qt::LeftToRight);
    const double left = isAtRight ? track.right() + 1 - knobGap - knob : track.left() + knobGap;
    painter.drawEllipse(QRectF(left, track.top() + knobGap, knob, knob));
    if (Painting::showsFocus(*this)) {
        const QRect ring = track.adjusted(-ringWidth - 1, -ringWidth - 1, ringWidth + 1, ringWidth + 1);
        Painting::focusRing(painter, ring, radius + ringWidth);
    }
}

void ToggleRow::changeEvent(QEvent* event) {
    QCheckBox::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        updateGeometry();
    }
}

bool ToggleRow::hitButton(const QPoint& position) const {
    return rect().contains(position);
}

} // namespace Vintrel
