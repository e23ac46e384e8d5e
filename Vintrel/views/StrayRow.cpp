#include "Vintrel/views/StrayRow.h"

#include "Vintrel/views/ReasoningBlock.h"
#include "Vintrel/views/StrayMenu.h"
#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/Symbol.h"
#include "Vintrel/views/parts/Theme.h"
#include "VintrelCore/base/UnicodeText.h"

#include <algorithm>

#include <QContextMenuEvent>
#include <QFontMetrics>
#include <QHelpEvent>
#include <QKeySequence>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace Vintrel {

namespace {

constexpr int leadingMargin = 22;
constexpr int trailingMargin = 10;
constexpr int verticalPadding = 6;
constexpr int lineSpacing = 1;
constexpr int noteHeight = 20;
constexpr int noteIconSize = 14;
constexpr int blockMargin = 6;
constexpr int blockTrailingMargin = 12; // where the search field ends, too

QString withoutLineBreaks(const std::string& text) {
    return QString::fromStdString(VintrelCore::UnicodeText::printable(text));
}

/// Whether two rows read the same; what is not shown may differ.
bool readsTheSame(const StraysModel::Row& one, const StraysModel::Row& other) {
    return one.label == other.label && one.descriptor == other.descriptor && one.figures == other.figures &&
           one.isProtected == other.isProtected && one.isEnding == other.isEnding &&
           one.failure == other.failure && one.isSoleSafe == other.isSoleSafe &&
           one.reasoning == other.reasoning && one.item.bucket() == other.item.bucket();
}

} // namespace

StrayRow::StrayRow(StraysModel& model, QWidget* parent) : QWidget(parent), m_model(model) {
    setAttribute(Qt::WA_Hover);
    AccessibleRole::set(*this, QAccessible::ListItem);
    m_buttons = {
        new IconButton(QStringLiteral("info.circle"), tr("Why is this here?"), this),
        new IconButton(QStringLiteral("eye.slash"), tr("Ignore for session"), this),
        new IconButton(QStringLiteral("lock.open"), {}, this),
        new IconButton(QStringLiteral("xmark"), {}, this, IconButton::Tone::destructive),
    };
    for (IconButton* const button : m_buttons) {
        button->installEventFilter(this);
    }
    connectButtons();
}

void StrayRow::connectButtons() {
    const auto onClick = [this](Column column, auto action) {
        connect(button(column), &QAbstractButton::clicked, this, action);
    };
    onClick(Column::info, [this] {
        if (m_model.isListed(m_row.item)) {
            m_model.toggleExpanded(m_row.item.pid);
        }
    });
    onClick(Column::hide, [this] { m_model.dismiss(m_row.item); });
    onClick(Column::lock, [this] { m_model.toggleProtected(m_row.item); });
    onClick(Column::kill, [this] { kill(); });
}

void StrayRow::kill() {
    if (!m_pressGuard.takeTooSoon()) {
        m_model.kill(m_row.item);
    }
}

void StrayRow::display(const StraysModel::Row& row) {
    const bool isNew = m_row.item.pid == 0;
    const bool isToRepaint = isNew || !readsTheSame(m_row, row);
    m_row = row;
    if (!isToRepaint) {
        return;
    }
    setAccessibleName(QString::fromStdString(row.sentence()));
    updateButtons();
    updateReasoning();
    update();
}

void StrayRow::updateButtons() {
    IconButton* const lock = button(Column::lock);
    if (lock->hasFocus() && m_row.item.bucket() != VintrelCore::Bucket::safe) {
        button(Column::hide)->setFocus(Qt::OtherFocusReason); // it would go on to the kill button
    }
    lock->setVisible(m_row.item.bucket() == VintrelCore::Bucket::safe);
    lock->setSymbolName(m_row.isProtected ? QStringLiteral("lock.fill") : QStringLiteral("lock.open"));
    lock->setHelp(m_row.isProtected ? tr("Un-protect this project")
                                    : tr("Protect: keep this project out of “Clean all”"));
    const QString shortcut =
        m_row.isSoleSafe ? QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_K).toString(QKeySequence::NativeText)
                         : QString();
    button(Column::kill)->setHelp(tr("Kill PID %1").arg(m_row.item.pid), shortcut);
    arrange();
}

void StrayRow::updateReasoning() {
    if (!m_row.reasoning) {
        delete m_reasoning;
        m_reasoning = nullptr;
        return;
    }
    if (m_reasoning == nullptr) {
        m_reasoning = new ReasoningBlock(this);
        m_reasoning->show();
    }
    m_reasoning->display(*m_row.reasoning);
    arrange();
}

IconButton* StrayRow::button(Column column) const {
    return m_buttons.at(static_cast<size_t>(column));
}

// Where things stand

int StrayRow::lineHeight() const {
    return QFontMetrics(textFont(TextSize::body, TextWeight::bold)).height();
}

int StrayRow::headHeight() const {
    const int figures = QFontMetrics(figuresFont(TextSize::caption)).height();
    const int text = lineHeight() + lineSpacing + figures + (note().isEmpty() ? 0 : noteHeight);
    return text + 2 * verticalPadding;
}

int StrayRow::buttonsWidth() const {
    const auto count = std::ranges::count_if(m_buttons, [](IconButton* one) { return !one->isHidden(); });
    return static_cast<int>(count) * IconButton::edge;
}

QSize StrayRow::sizeHint() const {
    return {320, heightForWidth(std::max(width(), 320))};
}

int StrayRow::heightForWidth(int width) const {
    if (m_reasoning == nullptr) {
        return headHeight();
    }
    const int inner = width - leadingMargin - blockTrailingMargin;
    return headHeight() + m_reasoning->heightForWidth(inner) + blockMargin;
}

void StrayRow::arrange() {
    const int textHeight = headHeight() - (note().isEmpty() ? 0 : noteHeight);
    int right = width() - trailingMargin;
    for (auto place = m_buttons.rbegin(); place != m_buttons.rend(); ++place) {
        if ((*place)->isHidden()) {
            continue;
        }
        right -= IconButton::edge;
        const QRect where(right, (textHeight - IconButton::edge) / 2, IconButton::edge, IconButton::edge);
        (*place)->setGeometry(QStyle::visualRect(layoutDirection(), rect(), where));
    }
    if (m_reasoning != nullptr) {
        const int inner = width() - leadingMargin - blockTrailingMargin;
        const QRect where(leadingMargin, headHeight(), inner, m_reasoning->heightForWidth(inner));
        m_reasoning->setGeometry(QStyle::visualRect(layoutDirection(), rect(), where));
    }
}

void StrayRow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange || event->type() == QEvent::FontChange) {
        arrange();
    }
}

void StrayRow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

// What it looks like

QString StrayRow::note() const {
    if (!m_row.failure.empty()) {
        return QString::fromStdString(m_row.failure);
    }
    return m_row.isProtected ? tr("Protected — kept out of “Clean all”") : QString();
}

void StrayRow::paintEvent(QPaintEvent* /*event*/) {
    const Theme& theme = Theme::current();
    QPainter painter(this);
    if (underMouse() || focusedColumn()) {
        painter.fillRect(QRect(0, 0, width(), headHeight()), theme.hovered);
    }
    const auto draw = [&](QRect where, const QFont& font, const QColor& color, const QString& text) {
        painter.setFont(font);
        painter.setPen(color);
        where = QStyle::visualRect(layoutDirection(), rect(), where);
        const QString cut = painter.fontMetrics().elidedText(text, Qt::ElideMiddle, where.width());
        painter.drawText(where,
                         static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft)) |
                             Qt::AlignVCenter | Qt::TextSingleLine,
                         cut);
        return painter.fontMetrics().horizontalAdvance(cut);
    };
    const int space = width() - leadingMargin - trailingMargin - buttonsWidth() - 6;
    const QString label = QString::fromStdString(m_row.label);
    const QString descriptor = QString::fromStdString(m_row.descriptor);
    const int labelSpace = descriptor.isEmpty() ? space : space * 3 / 5;
    const int top = verticalPadding;
    constexpr int gap = 6;
    const int used = draw(QRect(leadingMargin, top, labelSpace, lineHeight()),
                          textFont(TextSize::body, TextWeight::bold), theme.primary, label);
    if (descriptor != label) {
        draw(QRect(leadingMargin + used + gap, top, space - used - gap, lineHeight()),
             textFont(TextSize::body), theme.primary, descriptor);
    }
    const QString figures = m_row.isEnding ? tr("Ending…") : QString::fromStdString(m_row.figures);
    const int second = top + lineHeight() + lineSpacing;
    const int figuresHeight = QFontMetrics(figuresFont(TextSize::caption)).height();
    draw(QRect(leadingMargin, second, space, figuresHeight), figuresFont(TextSize::caption), theme.secondary,
         figures);
    paintNote(painter, QRect(leadingMargin, second + figuresHeight, width() - leadingMargin - trailingMargin,
                             noteHeight));
}

void StrayRow::paintNote(QPainter& painter, const QRect& line) const {
    const QString text = note();
    if (text.isEmpty()) {
        return;
    }
    const Theme& theme = Theme::current();
    const bool isFailure = !m_row.failure.empty();
    const QString symbol =
        isFailure ? QStringLiteral("exclamationmark.triangle") : QStringLiteral("info.circle.fill");
    const QColor color = isFailure ? theme.review : theme.secondary;
    const QRect icon(line.x(), line.y() + (line.height() - noteIconSize) / 2, noteIconSize, noteIconSize);
    painter.drawPixmap(QStyle::visualRect(layoutDirection(), rect(), icon).topLeft(),
                       Symbol::pixmap(symbol, color, noteIconSize, devicePixelRatioF()));
    painter.setFont(textFont(TextSize::caption));
    painter.setPen(color);
    const QRect rest = line.adjusted(noteIconSize + 6, 0, 0, 0);
    painter.drawText(QStyle::visualRect(layoutDirection(), rect(), rest),
                     static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft)) |
                         Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(text, Qt::ElideMiddle, rest.width()));
}

bool StrayRow::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        // As rich text the tooltip breaks its lines.
        const QString command = withoutLineBreaks(m_row.item.command).toHtmlEscaped();
        const QString more = note().isEmpty() ? QString() : QStringLiteral("<br>") + note().toHtmlEscaped();
        const QString text =
            QStringLiteral("<qt><b>%1 %2</b><br>%3%4</qt>")
                .arg(QString::fromStdString(m_row.label).toHtmlEscaped(),
                     QString::fromStdString(m_row.descriptor).toHtmlEscaped(), command, more);
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text, this);
        return true;
    }
    return QWidget::event(event);
}

/// The row of the button with the focus stands out, so it is repainted with it.
bool StrayRow::eventFilter(QObject* object, QEvent* event) {
    m_pressGuard.follow(*event);
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        update();
    }
    return QWidget::eventFilter(object, event);
}

// Keyboard and menu

std::optional<StrayRow::Column> StrayRow::focusedColumn() const {
    for (size_t index = 0; index < m_buttons.size(); ++index) {
        if (m_buttons.at(index)->hasFocus()) {
            return static_cast<Column>(index);
        }
    }
    return std::nullopt;
}

void StrayRow::focusColumn(Column column) {
    if (button(column)->isHidden()) {
        column = Column::hide; // only the lock is ever missing
    }
    button(column)->setFocus(Qt::TabFocusReason);
}

void StrayRow::moveFocus(bool isToTheRight) {
    const auto focused = focusedColumn();
    if (!focused) {
        return;
    }
    window()->setAttribute(Qt::WA_KeyboardFocusChange); // the ring is to be seen
    const int step = isToTheRight == (layoutDirection() == Qt::LeftToRight) ? 1 : -1;
    for (int index = static_cast<int>(*focused) + step; index >= 0 && index < 4; index += step) {
        IconButton* const next = m_buttons.at(static_cast<size_t>(index));
        if (!next->isHidden()) {
            next->setFocus(Qt::TabFocusReason);
            return;
        }
    }
}

std::vector<QWidget*> StrayRow::focusOrder() const {
    return {m_buttons.begin(), m_buttons.end()};
}

void StrayRow::contextMenuEvent(QContextMenuEvent* event) {
    StrayMenu::popUp(m_model, m_row.item, event->globalPos(), window());
}

} // namespace Vintrel
