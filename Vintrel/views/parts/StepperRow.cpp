#include "Vintrel/views/parts/StepperRow.h"

#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/TextLabel.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include <QHBoxLayout>
#include <QKeyEvent>

namespace Vintrel {

namespace {

/// In whole minutes; what is left over is not told.
QString minutesOf(double seconds) {
    constexpr double minute = 60;
    return QString::number(std::floor(seconds / minute), 'f', 0);
}

} // namespace

std::optional<double> StepRange::above(double value) const {
    if (value >= most) {
        return std::nullopt;
    }
    const double steps = std::floor((value - least) / step) + 1;
    return std::clamp(least + steps * step, least, most);
}

std::optional<double> StepRange::below(double value) const {
    if (value <= least) {
        return std::nullopt;
    }
    const double steps = std::ceil((value - least) / step) - 1;
    return std::clamp(least + steps * step, least, most);
}

StepperRow::StepperRow(Texts texts, const StepRange& range, std::function<void(double seconds)> onChoice,
                       QWidget* parent)
    : QWidget(parent),
      m_texts(std::move(texts)),
      m_range(range),
      m_onChoice(std::move(onChoice)),
      m_label(new TextLabel({}, {.wraps = true, .hasFigures = true}, this)),
      m_less(new IconButton(QStringLiteral("minus"), m_texts.less, this)),
      m_more(new IconButton(QStringLiteral("plus"), m_texts.more, this)) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(8, 4, 8, 4);
    row->setSpacing(2);
    row->addSpacing(4); // the symbols have room of their own
    row->addWidget(m_label, 1);
    for (IconButton* const button : {m_less, m_more}) {
        button->setAutoRepeat(true);
        button->installEventFilter(this);
        row->addWidget(button);
    }
    connect(m_less, &IconButton::clicked, this, [this] { choose(m_range.below(m_seconds)); });
    connect(m_more, &IconButton::clicked, this, [this] { choose(m_range.above(m_seconds)); });
}

void StepperRow::setShown(double seconds) {
    m_seconds = seconds;
    const QString text = m_texts.before + QLatin1Char(' ') + minutesOf(seconds) + QStringLiteral(" min");
    m_label->setText(text);
    m_less->setAccessibleDescription(text); // a button alone does not tell what it changes
    m_more->setAccessibleDescription(text);
    enableButtons();
}

void StepperRow::enableButtons() {
    const bool hasLess = m_range.below(m_seconds).has_value();
    const bool hasMore = m_range.above(m_seconds).has_value();
    // The focus stays in the row when the button that has it comes to its end.
    for (const auto& [button, isToStay, other] :
         {std::tuple(m_less, hasLess, m_more), std::tuple(m_more, hasMore, m_less)}) {
        if (!isToStay && window()->focusWidget() == button) {
            other->setEnabled(true);
            other->setFocus();
        }
    }
    m_less->setEnabled(hasLess);
    m_more->setEnabled(hasMore);
}

void StepperRow::choose(const std::optional<double>& seconds) {
    if (seconds) {
        m_onChoice(*seconds);
    }
}

bool StepperRow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<const QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            choose(key == Qt::Key_Up ? m_range.above(m_seconds) : m_range.below(m_seconds));
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace Vintrel
