#include "Vintrel/views/StrayListView.h"

#include "Vintrel/engine/ByteCount.h"
#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/views/GroupHeader.h"
#include "Vintrel/views/SectionHeader.h"
#include "Vintrel/views/StrayRow.h"
#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/PushButton.h"
#include "Vintrel/views/parts/Separator.h"
#include "Vintrel/views/parts/TextLabel.h"

#include <algorithm>
#include <span>
#include <unordered_set>

#include <QApplication>
#include <QKeyEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>

namespace Vintrel {

namespace {

using VintrelCore::Bucket;

constexpr int emptyHeight = 96;
constexpr int bottomPadding = 8;

int heightOf(const QWidget& widget, int width) {
    const int height = widget.hasHeightForWidth() ? widget.heightForWidth(width) : widget.sizeHint().height();
    return std::max(height, widget.minimumHeight());
}

} // namespace

StrayListView::StrayListView(StraysModel& model, QWidget* parent) : QWidget(parent), m_model(model) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    AccessibleRole::set(*this, QAccessible::List);
    setAccessibleName(tr("Stray processes"));
    m_safeHeader = new SectionHeader(Bucket::safe, this);
    m_separator = new Separator(this);
    m_reviewHeader = new SectionHeader(Bucket::needsReview, this);
    m_empty = new TextLabel(
        {}, {.tone = TextLabel::Tone::secondary, .wraps = true, .alignment = Qt::AlignCenter}, this);
    m_empty->setMinimumHeight(emptyHeight);
    m_more = new PushButton({}, PushButton::Emphasis::quiet, this);
    for (QWidget* const widget :
         std::initializer_list<QWidget*>{m_safeHeader, m_separator, m_reviewHeader, m_empty, m_more}) {
        widget->hide();
    }
    connect(m_safeHeader->cleanButton(), &QAbstractButton::clicked, &m_model,
            [this] { m_model.cleanAll(m_sweepable); });
    connect(m_more, &QAbstractButton::clicked, this, &StrayListView::showMore);
    connect(&m_model, &StraysModel::changed, this, &StrayListView::refresh);
}

void StrayListView::setScrollArea(QScrollArea* scrollArea) {
    m_scrollArea = scrollArea;
    connect(scrollArea->verticalScrollBar(), &QScrollBar::valueChanged, this, [this](int value) {
        constexpr int nearTheEnd = 200;
        if (!m_more->isHidden() && value >= m_scrollArea->verticalScrollBar()->maximum() - nearTheEnd) {
            QTimer::singleShot(0, this, &StrayListView::showMore);
        }
    });
}

// Merging

void StrayListView::refresh() {
    m_isStale = true;
    if (!isVisible()) {
        return;
    }
    if (const QAbstractButton* const pressed = pressedButton()) {
        qApp->installEventFilter(this); // until it is released, by hand or by a screen reader
        connect(pressed, &QAbstractButton::released, this, &StrayListView::refresh,
                // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): Qt wants it like this
                static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection));
        return;
    }
    merge();
}

/// The button that is down; null when none is. Its row must not change its place now.
const QAbstractButton* StrayListView::pressedButton() const {
    const QList<QAbstractButton*> buttons = findChildren<QAbstractButton*>();
    const auto pressed = std::ranges::find_if(buttons, &QAbstractButton::isDown);
    return pressed != buttons.end() ? *pressed : nullptr;
}

bool StrayListView::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease || event->type() == QEvent::KeyRelease) {
        qApp->removeEventFilter(this);
        QTimer::singleShot(0, this, &StrayListView::refresh);
    }
    return QWidget::eventFilter(object, event);
}

void StrayListView::merge() {
    emit merging();
    m_isStale = false;
    m_hadRows = !m_rows.empty();
    followFilter();
    const std::vector<QWidget*> before = std::exchange(m_entries, {});
    const std::vector<Anchor> anchorsBefore = anchors(before);
    m_rowCount = 0;
    const StraysModel::Section safe = m_model.section(Bucket::safe, m_rowLimit);
    const StraysModel::Section review = m_model.section(Bucket::needsReview, m_rowLimit);
    // With a filter that hides them all, their header stays and says so.
    const bool hasSafe = std::ranges::any_of(m_model.engine().items(), [](const StraysModel::Item& item) {
        return item.bucket() == Bucket::safe;
    });
    if (hasSafe) {
        displaySafeHeader(safe);
        place(m_safeHeader);
        addGroups(safe);
    }
    if (const auto text = m_model.emptyText()) {
        m_empty->setText(QString::fromStdString(VintrelCore::UnicodeText::printable(*text)));
        place(m_empty);
    }
    if (review.count > 0) {
        if (hasSafe) {
            place(m_separator);
        }
        m_reviewHeader->displayTitle(tr("Needs review (%1)").arg(review.count));
        place(m_reviewHeader);
        addGroups(review);
    }
    addMoreRow();
    moveFocusOffWhatGoes(before);
    discard(before);
    arrange();
    if (before != m_entries) {
        chainFocus();
    }
    keepInView(anchorsBefore);
}

/// What another filter finds is seen from its beginning.
void StrayListView::followFilter() {
    if (std::exchange(m_filterText, m_model.filterText()) != m_model.filterText()) {
        m_rowLimit = rowsWhileTyping;
        if (m_scrollArea != nullptr) {
            m_scrollArea->verticalScrollBar()->setValue(0);
        }
    }
}

void StrayListView::displaySafeHeader(const StraysModel::Section& section) {
    m_safeHeader->displayTitle(tr("Safe to clean (%1)").arg(section.count));
    m_sweepable = m_model.sweepableSafeItems();
    const QString memory = QString::fromStdString(memoryTextOfKB(StraysModel::memoryKB(m_sweepable)));
    m_safeHeader->displayDetail(tr("%1 reclaimable").arg(memory));
    PushButton* const button = m_safeHeader->cleanButton();
    const auto reason = m_model.engine().reasonNotToClean();
    button->setEnabled(!m_sweepable.empty() && !reason && !m_model.isCleaning());
    button->setToolTip(reason ? QString::fromStdString(*reason) : QString());
    button->setAccessibleDescription(button->toolTip());
}

void StrayListView::place(QWidget* widget) {
    m_entries.push_back(widget);
}

void StrayListView::addGroups(const StraysModel::Section& section) {
    for (const StraysModel::Group& group : section.groups) {
        addGroup(section.bucket, group);
    }
}

void StrayListView::addGroup(Bucket bucket, const StraysModel::Group& group) {
    GroupHeader*& header = m_groups[{bucket, group.kind}];
    if (header == nullptr) {
        const std::string_view label = VintrelCore::label(group.kind);
        header = new GroupHeader(QString::fromUtf8(label.data(), static_cast<qsizetype>(label.size())), this);
        connect(header, &QAbstractButton::clicked, &m_model,
                [this, kind = group.kind] { m_model.toggleCollapsed(kind); });
    }
    header->display(group.count, group.isCollapsed);
    place(header);
    const size_t room = m_rowLimit - std::min(m_rowLimit, m_rowCount);
    m_rowCount += group.isCollapsed ? 0 : group.count;
    for (const StraysModel::Row& row : std::span(group.rows).first(std::min(room, group.rows.size()))) {
        StrayRow*& widget = m_rows[row.key()];
        if (widget == nullptr) {
            widget = new StrayRow(m_model, this);
        }
        widget->display(row);
        place(widget);
    }
}

void StrayListView::addMoreRow() {
    if (m_rowCount > m_rowLimit) {
        m_more->setLabel(tr("Show %1 more").arg(m_rowCount - m_rowLimit));
        place(m_more);
    }
}

void StrayListView::showMore() {
    if (m_rowCount > m_rowLimit) {
        m_rowLimit += rowsAtATime;
        refresh();
    }
}

void StrayListView::discard(const std::vector<QWidget*>& before) {
    const std::unordered_set<QWidget*> kept(m_entries.begin(), m_entries.end());
    for (QWidget* const widget : before) {
        if (kept.contains(widget)) {
            continue;
        }
        widget->hide();
        if (auto* const row = qobject_cast<StrayRow*>(widget)) {
            m_rows.erase(row->row().key());
            row->deleteLater(); // one of its own buttons may be what led here
        }
    }
}

void StrayListView::noteAllMoved() {
    for (const auto& [key, row] : m_rows) {
        row->noteMoved();
    }
}

void StrayListView::freeRows() {
    discard(std::exchange(m_entries, {}));
    m_rowLimit = rowsAtATime;
    m_isStale = true;
    // Objects that are to be deleted are, at the next turn of the event loop, before this.
    QTimer::singleShot(0, this, Desktop::giveMemoryBack);
}

// Geometry

QSize StrayListView::sizeHint() const {
    const int width = std::max(this->width(), 320);
    return {width, heightForWidth(width)};
}

int StrayListView::heightForWidth(int width) const {
    int height = bottomPadding;
    for (const QWidget* const entry : m_entries) {
        height += heightOf(*entry, width);
    }
    return height;
}

void StrayListView::arrange() {
    int y = 0;
    for (QWidget* const entry : m_entries) {
        const QRect place(0, y, width(), heightOf(*entry, width()));
        auto* const row = qobject_cast<StrayRow*>(entry);
        // Where nothing stood before, nobody can have meant anything else.
        if (row != nullptr && m_hadRows && (row->isHidden() || row->y() != y)) {
            row->noteMoved();
        }
        entry->setGeometry(place);
        entry->show();
        y += place.height();
    }
    if (m_scrollArea != nullptr) {
        resize(width(), std::max(y + bottomPadding, m_scrollArea->viewport()->height()));
        m_scrollArea->updateGeometry();
    }
    updateGeometry();
}

void StrayListView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (event->oldSize().width() != event->size().width()) {
        arrange();
    }
}

void StrayListView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        arrange();
    }
}

void StrayListView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_isStale) {
        merge();
    }
}

/// What is seen, from top to bottom; nothing unless the list is scrolled.
std::vector<StrayListView::Anchor> StrayListView::anchors(const std::vector<QWidget*>& entries) const {
    std::vector<Anchor> seen;
    const int top = m_scrollArea != nullptr ? m_scrollArea->verticalScrollBar()->value() : 0;
    const int bottom = m_scrollArea != nullptr ? top + m_scrollArea->viewport()->height() : 0;
    for (QWidget* const entry : entries) {
        if (top > 0 && entry->y() + entry->height() > top && entry->y() < bottom) {
            seen.push_back({entry, entry->y() - top});
        }
    }
    return seen;
}

/// The first of them that is still there stays where it was.
void StrayListView::keepInView(const std::vector<Anchor>& anchors) {
    const auto kept = std::ranges::find_if(anchors, [this](const Anchor& anchor) {
        return std::ranges::find(m_entries, anchor.entry) != m_entries.end();
    });
    if (kept != anchors.end()) {
        m_scrollArea->verticalScrollBar()->setValue(kept->entry->y() - kept->offset);
    }
}

// Focus

/// Tab goes from top to bottom, whatever was built first.
void StrayListView::chainFocus() {
    QWidget* previous = this;
    const auto append = [&previous](QWidget* widget) {
        QWidget::setTabOrder(previous, widget);
        previous = widget;
    };
    for (QWidget* const entry : m_entries) {
        if (const auto* const row = qobject_cast<StrayRow*>(entry)) {
            std::ranges::for_each(row->focusOrder(), append);
        } else if (entry == m_safeHeader) {
            append(m_safeHeader->cleanButton());
        } else if (entry->focusPolicy() != Qt::NoFocus) {
            append(entry);
        }
    }
}

QWidget* StrayListView::entryWithFocus(const std::vector<QWidget*>& entries) {
    const QWidget* const focused = QApplication::focusWidget();
    const auto found = std::ranges::find_if(entries, [focused](const QWidget* entry) {
        return focused != nullptr && (entry == focused || entry->isAncestorOf(focused));
    });
    return found != entries.end() ? *found : nullptr;
}

void StrayListView::moveFocusOffWhatGoes(const std::vector<QWidget*>& before) {
    QWidget* const leaving = entryWithFocus(before);
    if (leaving == nullptr || std::ranges::find(m_entries, leaving) != m_entries.end()) {
        return;
    }
    const auto* const row = qobject_cast<StrayRow*>(leaving);
    auto column =
        row != nullptr ? row->focusedColumn().value_or(StrayRow::Column::info) : StrayRow::Column::info;
    if (column == StrayRow::Column::kill) {
        column = StrayRow::Column::info; // another Enter must not end a neighbour
    }
    const auto place = std::ranges::find(before, leaving);
    std::vector<QWidget*> nearest(place, before.end()); // downwards first
    nearest.insert(nearest.end(), std::make_reverse_iterator(place), before.rend());
    for (QWidget* const entry : nearest) {
        if (std::ranges::find(m_entries, entry) != m_entries.end() && focusEntry(entry, column)) {
            return;
        }
    }
}

/// False for what takes no focus.
bool StrayListView::focusEntry(QWidget* entry, StrayRow::Column column) {
    QWidget* target = entry == m_safeHeader ? m_safeHeader->cleanButton() : entry;
    if (auto* const row = qobject_cast<StrayRow*>(entry)) {
        row->focusColumn(column);
        target = row;
    } else if (target->focusPolicy() == Qt::NoFocus || !target->isEnabled()) {
        return false;
    } else {
        target->setFocus(Qt::TabFocusReason);
    }
    if (m_scrollArea != nullptr) {
        m_scrollArea->ensureWidgetVisible(target, 0, 8);
    }
    return true;
}

void StrayListView::moveFocusVertically(int step) {
    window()->setAttribute(Qt::WA_KeyboardFocusChange); // the ring is to be seen
    QWidget* const from = entryWithFocus(m_entries);
    const auto place = std::ranges::find(m_entries, from);
    if (place == m_entries.end()) {
        return;
    }
    const auto* const row = qobject_cast<StrayRow*>(from);
    const auto column = row != nullptr ? row->focusedColumn().value_or(m_column) : m_column;
    m_column = column; // kept across headers in between
    const auto count = static_cast<int>(m_entries.size());
    for (int index = static_cast<int>(place - m_entries.begin()) + step; index >= 0 && index < count;
         index += step) {
        if (focusEntry(m_entries[static_cast<size_t>(index)], column)) {
            return;
        }
    }
}

void StrayListView::keyPressEvent(QKeyEvent* event) {
    auto* const row = qobject_cast<StrayRow*>(entryWithFocus(m_entries));
    switch (event->key()) {
    case Qt::Key_Up:
        moveFocusVertically(-1);
        return;
    case Qt::Key_Down:
        moveFocusVertically(1);
        return;
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (row != nullptr) {
            row->moveFocus(event->key() == Qt::Key_Right);
        }
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

} // namespace Vintrel
