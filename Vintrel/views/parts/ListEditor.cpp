#include "Vintrel/views/parts/ListEditor.h"

#include "Vintrel/engine/TextLists.h"
#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <QFocusEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScopedValueRollback>
#include <QTextCursor>
#include <QTextDocument>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

/// A text as the editor takes it over: each way to end a line is a line feed.
QString withLineFeeds(QString text) {
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (const QChar ending : {QChar('\r'), QChar(QChar::ParagraphSeparator), QChar(QChar::LineSeparator)}) {
        text.replace(ending, QLatin1Char('\n'));
    }
    return text;
}

/// How many code units the texts have in common at their beginning.
qsizetype commonStart(QStringView one, QStringView other) {
    const qsizetype most = std::min(one.size(), other.size());
    return std::mismatch(one.begin(), one.begin() + most, other.begin()).first - one.begin();
}

/// The same from their end, of `most` at the most.
qsizetype commonEnd(QStringView one, QStringView other, qsizetype most) {
    return std::mismatch(one.rbegin(), one.rbegin() + most, other.rbegin()).first - one.rbegin();
}

bool holds(const ListEditor::Entries& entries, const std::string& entry) {
    return std::ranges::find(entries, entry) != entries.end();
}

} // namespace

ListEditor::ListEditor(const QString& name, const QString& hint, Binding binding, QWidget* parent)
    : QWidget(parent), m_binding(std::move(binding)), m_editor(new QPlainTextEdit(this)) {
    constexpr int roomForRing = 2;
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(roomForRing, roomForRing, roomForRing, roomForRing);
    column->addWidget(m_editor);
    m_editor->setFixedHeight(editorHeight);
    m_editor->setFrameShape(QFrame::NoFrame);
    m_editor->setTabChangesFocus(true);
    m_editor->document()->setDocumentMargin(8);
    m_editor->viewport()->setAutoFillBackground(false); // the card shows through
    m_editor->setAccessibleName(name);
    m_editor->setAccessibleDescription(hint);
    m_editor->installEventFilter(this);
    setFocusProxy(m_editor);
    adoptTheme();
    showStored();
    connect(m_editor, &QPlainTextEdit::textChanged, this, &ListEditor::storeText);
}

ListEditor::Entries ListEditor::merged(const Entries& base, const Entries& theirs, Entries mine) {
    std::erase_if(mine,
                  [&](const std::string& entry) { return holds(base, entry) && !holds(theirs, entry); });
    std::ranges::copy_if(theirs, std::back_inserter(mine), [&, own = mine](const std::string& entry) {
        return !holds(base, entry) && !holds(own, entry);
    });
    return mine;
}

QString ListEditor::text() const {
    return withLineFeeds(m_editor->document()->toRawText()); // the plain one loses no-break spaces
}

void ListEditor::storeText() {
    if (m_isBusy) {
        return;
    }
    const QScopedValueRollback busy(m_isBusy, true);
    const Entries mine = m_binding.entries(text().toStdString());
    const Entries theirs = m_binding.stored();
    // Somebody else changed the list while this editor had the focus, and the text does not show it yet.
    m_binding.store(theirs == m_base ? mine : merged(m_base, theirs, mine));
    m_base = mine;
}

void ListEditor::follow() {
    if (!m_isBusy && !m_editor->hasFocus()) {
        showStored();
    }
}

void ListEditor::showStored() {
    const QScopedValueRollback busy(m_isBusy, true);
    Entries stored = m_binding.stored();
    const QString shown = withLineFeeds(QString::fromStdString(TextLists::text(stored)));
    const bool isForeign = stored != m_base;
    if (shown != text()) {
        replaceText(shown);
    }
    if (isForeign) { // undoing is for the user's own edits
        m_editor->document()->clearUndoRedoStacks();
    }
    m_base = std::move(stored);
}

void ListEditor::replaceText(const QString& text) {
    const QString before = this->text();
    const qsizetype start = commonStart(before, text);
    const qsizetype end = commonEnd(before, text, std::min(before.size(), text.size()) - start);
    // Only what differs: the cursor and what is scrolled to stay.
    QTextCursor cursor(m_editor->document());
    cursor.setPosition(static_cast<int>(start));
    cursor.setPosition(static_cast<int>(before.size() - end), QTextCursor::KeepAnchor);
    cursor.insertText(text.mid(start, text.size() - end - start));
}

bool ListEditor::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn) {
        update();
    } else if (event->type() == QEvent::FocusOut) {
        update();
        const auto reason = static_cast<const QFocusEvent*>(event)->reason();
        // Those who look something up in another window come back to where they were. So do those who open
        // the menu, and they act on what they see.
        const bool comesBack = reason == Qt::ActiveWindowFocusReason && m_binding.stored() == m_base;
        if (reason != Qt::PopupFocusReason && !comesBack) {
            showStored();
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ListEditor::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) { // not only minimised
        showStored();
    }
}

void ListEditor::paintEvent(QPaintEvent* /*event*/) {
    if (m_editor->hasFocus()) { // whichever way it came: this is where letters go
        constexpr double radius = 8;
        QPainter painter(this);
        Painting::focusRing(painter, rect(), radius);
    }
}

void ListEditor::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange ||
        event->type() == QEvent::StyleChange) {
        adoptTheme();
    }
}

void ListEditor::adoptTheme() {
    const Theme& theme = Theme::current();
    QPalette palette = m_editor->palette();
    palette.setColor(QPalette::Text, theme.primary);
    palette.setColor(QPalette::Base, theme.field);
    palette.setColor(QPalette::Highlight, theme.accent);
    palette.setColor(QPalette::HighlightedText, theme.onAccent);
    m_editor->setPalette(palette); // the editor's alone: this widget hears only of the desktop's changes
    m_editor->setFont(codeFont(TextSize::small));
}

} // namespace Vintrel
