#include "Vintrel/views/ContainerRow.h"

#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <utility>

#include <QAccessible>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

constexpr double radius = 6;

QString shown(const std::string& text) {
    return QString::fromStdString(text);
}

constexpr TextLabel::Style quiet{.size = TextSize::small, .tone = TextLabel::Tone::secondary};

/// A label that is as wide as its text.
TextLabel* addWhole(QHBoxLayout& layout, const QString& text, QWidget* parent) {
    TextLabel::Style style = quiet;
    style.hasFigures = true;
    auto* const label = new TextLabel(text, style, parent);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    layout.addWidget(label);
    return label;
}

} // namespace

ContainerRow::ContainerRow(std::string id, const ContainerTexts& texts, QWidget* parent)
    : QWidget(parent), m_id(std::move(id)), m_texts(texts) {
    AccessibleRole::set(*this, QAccessible::ListItem);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 6, 0, 6); // at the sides spaces, which are mirrored where margins are not
    layout->setSpacing(4);
    layout->addSpacing(10);
    addTexts(*layout);
    addButtons(*layout);
    layout->addSpacing(4);
    showTexts();
}

void ContainerRow::addTexts(QHBoxLayout& layout) {
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(1);
    m_name = new TextLabel({}, {.size = TextSize::caption, .weight = TextWeight::bold}, this);
    m_image = new TextLabel({}, quiet, this);
    texts->addWidget(m_name);
    texts->addWidget(m_image);
    auto* const line = new QHBoxLayout;
    line->setSpacing(4);
    m_status = new TextLabel({}, quiet, this);
    line->addWidget(m_status);
    m_dot = addWhole(*line, QStringLiteral("·"), this);
    m_figures = addWhole(*line, {}, this);
    line->addStretch(1);
    texts->addLayout(line);
    layout.addLayout(texts, 1);
}

void ContainerRow::addButtons(QHBoxLayout& layout) {
    m_buttons = {new IconButton(QStringLiteral("arrow.clockwise.circle"), {}, this),
                 new IconButton(QStringLiteral("stop.circle"), {}, this),
                 new IconButton(QStringLiteral("trash"), QStringLiteral("Stop and remove"), this,
                                IconButton::Tone::destructive)};
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(0);
    layout.addLayout(buttons);
    for (const ContainerAction action :
         {ContainerAction::restart, ContainerAction::stop, ContainerAction::remove}) {
        IconButton* const made = button(action);
        buttons->addWidget(made);
        made->installEventFilter(this);
        connect(made, &IconButton::clicked, this, [this, action] {
            if (!m_pressGuard.takeTooSoon()) {
                emit actionRequested(action);
            }
        });
        connect(made, &IconButton::released, this, &ContainerRow::released);
    }
}

void ContainerRow::setTexts(const ContainerTexts& texts) {
    if (m_texts != texts) {
        m_texts = texts;
        showTexts();
    }
}

void ContainerRow::showTexts() {
    m_name->setText(shown(m_texts.name));
    m_image->setText(shown(m_texts.image));
    m_status->setText(shown(m_texts.status));
    m_figures->setText(shown(m_texts.figures));
    m_figures->setVisible(!m_texts.figures.empty());
    m_status->setVisible(!m_texts.status.empty() || m_texts.figures.empty()); // it keeps the line
    m_dot->setVisible(!m_texts.status.empty() && !m_texts.figures.empty());
    button(ContainerAction::restart)->setHelp(shown(m_texts.restartHelp));
    button(ContainerAction::stop)->setHelp(shown(m_texts.stopHelp));
    if (accessibleName() != shown(m_texts.sentence)) {
        setAccessibleName(shown(m_texts.sentence));
    }
}

void ContainerRow::setBusy(bool isBusy) {
    if (m_isBusy == isBusy) {
        return;
    }
    m_isBusy = isBusy;
    const auto column = focusedColumn();
    // Before the buttons go dead: they would hand the focus on to a button of another row.
    setFocusPolicy(isBusy ? Qt::TabFocus : Qt::NoFocus);
    if (column && isBusy) {
        focusColumn(*column);
    }
    for (IconButton* const each : m_buttons) {
        each->setEnabled(!isBusy);
    }
    if (column && !isBusy) {
        focusColumn(*column);
    }
}

bool ContainerRow::isPressed() const {
    return std::ranges::any_of(m_buttons, &IconButton::isDown);
}

std::optional<ContainerAction> ContainerRow::focusedColumn() const {
    const QWidget* const focused = window()->focusWidget();
    if (focused == this) {
        return m_column;
    }
    const auto found = std::ranges::find(m_buttons, focused);
    if (focused == nullptr || found == m_buttons.end()) {
        return std::nullopt;
    }
    return static_cast<ContainerAction>(found - m_buttons.begin());
}

void ContainerRow::focusColumn(ContainerAction column) {
    m_column = column;
    if (m_isBusy) {
        setFocus(Qt::OtherFocusReason);
    } else {
        button(column)->setFocus(Qt::OtherFocusReason);
    }
}

void ContainerRow::focusRow() {
    setFocusPolicy(Qt::TabFocus); // until it leaves
    setFocus(Qt::OtherFocusReason);
}

bool ContainerRow::eventFilter(QObject* watched, QEvent* event) {
    m_pressGuard.follow(*event);
    switch (event->type()) {
    case QEvent::KeyPress:
        return takeKey(*static_cast<QKeyEvent*>(event)) || QWidget::eventFilter(watched, event);
    case QEvent::FocusIn:
    case QEvent::FocusOut:
        update();
        break;
    case QEvent::MouseButtonRelease:
        emit released(); // beside the button it says nothing itself
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

bool ContainerRow::takeKey(const QKeyEvent& event) {
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) {
        return false;
    }
    const bool isForward =
        event.key() == (layoutDirection() == Qt::RightToLeft ? Qt::Key_Left : Qt::Key_Right);
    switch (event.key()) {
    case Qt::Key_Up:
        emit moveRequested(-1);
        break;
    case Qt::Key_Down:
        emit moveRequested(1);
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        moveAlong(isForward ? 1 : -1);
        break;
    default:
        return false;
    }
    return true;
}

void ContainerRow::moveAlong(int step) {
    if (const auto column = focusedColumn()) {
        window()->setAttribute(Qt::WA_KeyboardFocusChange);
        const int last = static_cast<int>(m_buttons.size()) - 1;
        focusColumn(static_cast<ContainerAction>(std::clamp(static_cast<int>(*column) + step, 0, last)));
    }
}

void ContainerRow::paintEvent(QPaintEvent* /*event*/) {
    const bool hasFocusInside =
        Painting::showsFocus(*this) ||
        std::ranges::any_of(m_buttons, [](const IconButton* each) { return Painting::showsFocus(*each); });
    if (!underMouse() && !hasFocusInside) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::current().hovered);
    painter.drawRoundedRect(rect(), radius, radius);
    if (Painting::showsFocus(*this)) {
        Painting::focusRing(painter, rect(), radius);
    }
}

void ContainerRow::keyPressEvent(QKeyEvent* event) {
    if (!takeKey(*event)) {
        QWidget::keyPressEvent(event);
    }
}

void ContainerRow::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    update();
}

void ContainerRow::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    if (!m_isBusy) {
        setFocusPolicy(Qt::NoFocus);
    }
    update();
}

} // namespace Vintrel
