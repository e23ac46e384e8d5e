#include "Vintrel/views/CleanedView.h"

#include "Vintrel/engine/CleanLogStore.h"
#include "Vintrel/views/CleanedFacts.h"
#include "Vintrel/views/RelativeTime.h"
#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Chip.h"
#include "Vintrel/views/parts/FittingScrollArea.h"
#include "Vintrel/views/parts/FlowLayout.h"
#include "Vintrel/views/parts/Painting.h"
#include "Vintrel/views/parts/TextLabel.h"

#include <chrono>

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

constexpr int margin = 16;
constexpr int sectionSpacing = 8;
constexpr TextLabel::Style heading{.size = TextSize::body, .weight = TextWeight::bold};

QString shown(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

/// One cleaning: what and whose, how much memory and how long ago.
class CleanedRow : public QWidget {
public:
    explicit CleanedRow(QWidget* parent) : QWidget(parent) {
        AccessibleRole::set(*this, QAccessible::ListItem);
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        m_kind = new TextLabel({}, {.size = TextSize::caption, .weight = TextWeight::bold}, this);
        m_project = new TextLabel(
            {}, {.size = TextSize::small, .tone = TextLabel::Tone::secondary, .elide = Qt::ElideRight}, this);
        constexpr Qt::Alignment trailing = Qt::AlignTrailing | Qt::AlignVCenter;
        m_ram =
            new TextLabel({}, {.size = TextSize::caption, .hasFigures = true, .alignment = trailing}, this);
        m_age = new TextLabel(
            {}, {.size = TextSize::small, .tone = TextLabel::Tone::tertiary, .alignment = trailing}, this);
        auto* const layout = new QHBoxLayout(this);
        layout->setContentsMargins(0, 4, 0, 4);
        layout->setSpacing(12);
        layout->addLayout(stacked(m_kind, m_project), 1);
        for (TextLabel* const whole : {m_ram, m_age}) {
            whole->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
        }
        layout->addLayout(stacked(m_ram, m_age));
    }

    void setTexts(const CleanedRowTexts& texts) {
        m_kind->setText(shown(texts.kind));
        m_project->setText(shown(texts.projectLabel));
        m_ram->setText(shown(texts.ram));
        m_age->setText(shown(texts.age));
        const QString sentence = shown(cleanedSentence(texts));
        if (accessibleName() != sentence) {
            setAccessibleName(sentence);
        }
    }

private:
    static QVBoxLayout* stacked(TextLabel* upper, TextLabel* lower) {
        auto* const column = new QVBoxLayout;
        column->setSpacing(1);
        column->addWidget(upper);
        column->addWidget(lower);
        return column;
    }

    TextLabel* m_kind = nullptr;
    TextLabel* m_project = nullptr;
    TextLabel* m_ram = nullptr;
    TextLabel* m_age = nullptr;
};

CleanedView::CleanedView(CleanLogStore& store, QWidget* parent) : QWidget(parent), m_store(store) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    addNothing(*layout);
    addScrollArea(*layout);
    m_scrollArea->hide();

    constexpr std::chrono::minutes ageing{1};
    m_timer.setInterval(ageing);
    connect(&m_timer, &QTimer::timeout, this, &CleanedView::redraw);
    connect(&store, &CleanLogStore::eventsChanged, this, [this] {
        if (isVisible()) { // otherwise when it is shown
            redraw();
        }
    });
}

void CleanedView::addNothing(QVBoxLayout& layout) {
    m_nothing = new QWidget(this);
    auto* const lines = new QVBoxLayout(m_nothing);
    lines->setContentsMargins(margin, 24, margin, 24);
    lines->addWidget(new TextLabel(
        QStringLiteral("No cleaned processes yet."),
        {.tone = TextLabel::Tone::secondary, .wraps = true, .alignment = Qt::AlignHCenter | Qt::AlignVCenter},
        m_nothing));
    lines->addStretch(1);
    layout.addWidget(m_nothing);
}

void CleanedView::addScrollArea(QVBoxLayout& layout) {
    m_content = new QWidget;
    m_scrollArea = new FittingScrollArea(m_content, this);
    m_scrollArea->setAccessibleName(QStringLiteral("Cleaned processes"));
    m_scrollArea->installEventFilter(this);
    // By the keyboard it is scrolled as a whole, if there is anything to scroll.
    connect(m_scrollArea->verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int, int maximum) {
        m_scrollArea->setFocusPolicy(maximum > 0 ? Qt::StrongFocus : Qt::NoFocus);
    });
    auto* const column = new QVBoxLayout(m_content);
    column->setContentsMargins(margin, sectionSpacing, margin, sectionSpacing);
    column->setSpacing(sectionSpacing);
    addWeek(*column);
    addRecent(*column);
    column->addStretch(1);
    layout.addWidget(m_scrollArea);
}

void CleanedView::addWeek(QVBoxLayout& column) {
    auto* const strip = new QVBoxLayout;
    strip->setSpacing(6);
    strip->addWidget(new TextLabel(QStringLiteral("This week"), heading, m_content));
    auto* const line = new QHBoxLayout;
    line->setSpacing(6);
    m_cleaned = new TextLabel({}, {.hasFigures = true}, m_content);
    auto* const dot = new TextLabel(QStringLiteral("·"), {.tone = TextLabel::Tone::tertiary}, m_content);
    m_reclaimed = new TextLabel({}, {.hasFigures = true}, m_content);
    for (TextLabel* const label : {m_cleaned, dot, m_reclaimed}) {
        line->addWidget(label);
    }
    line->addStretch(1);
    strip->addLayout(line);
    m_chips = new QWidget(m_content);
    m_chipsLayout = new FlowLayout(m_chips);
    strip->addWidget(m_chips);
    column.addLayout(strip);
}

void CleanedView::addRecent(QVBoxLayout& column) {
    auto* const recent = new QVBoxLayout;
    recent->setSpacing(0);
    recent->addWidget(new TextLabel(QStringLiteral("Recently cleaned"), heading, m_content));
    recent->addSpacing(2);
    m_rowList = new QWidget(m_content);
    AccessibleRole::set(*m_rowList, QAccessible::List);
    m_rowList->setAccessibleName(QStringLiteral("Recently cleaned"));
    m_rowsLayout = new QVBoxLayout(m_rowList);
    m_rowsLayout->setContentsMargins(0, 0, 0, 0);
    m_rowsLayout->setSpacing(0);
    recent->addWidget(m_rowList);
    column.addLayout(recent);
}

void CleanedView::showEvent(QShowEvent* event) {
    redraw();
    m_timer.start();
    QWidget::showEvent(event);
}

void CleanedView::hideEvent(QHideEvent* event) {
    m_timer.stop();
    QWidget::hideEvent(event);
}

void CleanedView::redraw() {
    const auto now =
        std::chrono::time_point_cast<VintrelCore::Instant::duration>(std::chrono::system_clock::now());
    const CleanedFacts facts = cleanedFacts(m_store.events(), now, RelativeTime());
    m_nothing->setVisible(facts.isEmpty);
    m_scrollArea->setVisible(!facts.isEmpty);
    m_cleaned->setText(shown(facts.cleaned));
    m_reclaimed->setText(shown(facts.reclaimed));
    showChips(facts.chips);
    while (m_rows.size() > facts.rows.size()) {
        delete m_rows.back();
        m_rows.pop_back();
    }
    while (m_rows.size() < facts.rows.size()) {
        m_rows.push_back(new CleanedRow(m_rowList));
        m_rowsLayout->addWidget(m_rows.back());
    }
    for (size_t index = 0; index < m_rows.size(); ++index) {
        m_rows[index]->setTexts(facts.rows[index]);
    }
}

void CleanedView::showChips(const std::vector<std::string>& texts) {
    m_chips->setVisible(!texts.empty());
    if (m_chipTexts == texts) {
        return;
    }
    m_chipTexts = texts;
    qDeleteAll(m_chips->findChildren<Chip*>());
    for (const std::string& text : texts) {
        m_chipsLayout->addWidget(new Chip(shown(text), Chip::Tint::accent, m_chips));
    }
}

bool CleanedView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        update();
    }
    return QWidget::eventFilter(watched, event);
}

void CleanedView::paintEvent(QPaintEvent* /*event*/) {
    if (Painting::showsFocus(*m_scrollArea)) {
        constexpr double radius = 6;
        QPainter painter(this);
        Painting::focusRing(painter, rect().adjusted(4, 0, -4, 0), radius);
    }
}

} // namespace Vintrel
