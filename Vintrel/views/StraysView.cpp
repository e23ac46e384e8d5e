#include "Vintrel/views/StraysView.h"

#include "Vintrel/views/StrayListView.h"
#include "Vintrel/views/parts/FittingScrollArea.h"
#include "Vintrel/views/parts/SearchField.h"
#include "Vintrel/views/parts/TextLabel.h"

#include <chrono>

#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

constexpr std::chrono::seconds rowsLifetime{30};
constexpr int margin = 12;

bool isTextField(const QWidget* widget) {
    return qobject_cast<const QLineEdit*>(widget) != nullptr ||
           qobject_cast<const QPlainTextEdit*>(widget) != nullptr;
}

} // namespace

StraysView::StraysView(StraysModel& model, QWidget* parent) : QWidget(parent), m_model(model) {
    m_search = new SearchField(tr("Filter by command, project, or port"), tr("Clear filter"), this);
    m_problems =
        new TextLabel({}, {.size = TextSize::caption, .tone = TextLabel::Tone::review, .wraps = true}, this);
    m_list = new StrayListView(model, nullptr);
    auto* const scrollArea = new FittingScrollArea(m_list, this);
    m_list->setScrollArea(scrollArea);

    auto* const head = new QVBoxLayout;
    head->setContentsMargins(margin, 0, margin, 0);
    head->setSpacing(8);
    head->addWidget(m_search);
    head->addWidget(m_problems);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addLayout(head);
    layout->addWidget(scrollArea, 1);

    connect(m_search, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_model.setFilterText(text.toStdString()); });
    // Not before the list: what stands above it must not shift rows that are being pressed.
    connect(m_list, &StrayListView::merging, this, &StraysView::displayProblems);
    m_problems->hide();
    displayProblems();
    auto* const shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_K), this);
    shortcut->setAutoRepeat(false);
    connect(shortcut, &QShortcut::activated, this, [this] {
        if (!isTextField(QApplication::focusWidget())) { // who types must not end anything
            m_model.soleSafeKillShortcut();
        }
    });
    m_freeing.setSingleShot(true);
    m_freeing.setInterval(rowsLifetime);
    connect(&m_freeing, &QTimer::timeout, m_list, &StrayListView::freeRows);
}

void StraysView::displayProblems() {
    QStringList sentences;
    for (const std::string& problem : m_model.problems()) {
        sentences.append(QString::fromStdString(problem));
    }
    const QString text = sentences.join(QLatin1Char('\n'));
    if (text == m_problems->text()) {
        return;
    }
    m_list->noteAllMoved();
    m_problems->setText(text);
    m_problems->setVisible(!sentences.isEmpty());
}

void StraysView::focusFilter() {
    m_search->setFocus(Qt::ShortcutFocusReason);
    m_search->selectAll();
}

bool StraysView::clearFilter() {
    const bool hadText = !m_search->text().isEmpty();
    m_search->clear();
    return hadText;
}

void StraysView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_freeing.stop();
}

void StraysView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_freeing.start();
}

} // namespace Vintrel
