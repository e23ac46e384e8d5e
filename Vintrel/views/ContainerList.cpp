#include "Vintrel/views/ContainerList.h"

#include "Vintrel/views/ContainerRow.h"
#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/Separator.h"
#include "Vintrel/views/parts/Symbol.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "Vintrel/views/parts/Theme.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <QAccessible>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace Vintrel {

using VintrelCore::Container;
using VintrelCore::DockerCore::StatsMap;

namespace {

constexpr int symbolSize = 16;

class SymbolLabel : public QWidget {
public:
    SymbolLabel(QString name, QWidget* parent) : QWidget(parent), m_name(std::move(name)) {
        setFixedSize(symbolSize, symbolSize);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter(this).drawPixmap(
            0, 0, Symbol::pixmap(m_name, Theme::current().secondary, symbolSize, devicePixelRatioF()));
    }

private:
    QString m_name;
};

} // namespace

/// What stands above the containers of a project.
class ContainerGroupHeader : public QWidget {
public:
    ContainerGroupHeader(std::string project, QWidget* parent)
        : QWidget(parent), m_project(std::move(project)) {
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        auto* const layout = new QHBoxLayout(this);
        layout->setContentsMargins(8, 6, 8, 4);
        layout->setSpacing(6);
        layout->addWidget(new SymbolLabel(QStringLiteral("square.stack.3d.up"), this));
        m_text = new TextLabel(
            {}, {.size = TextSize::caption, .weight = TextWeight::bold, .tone = TextLabel::Tone::secondary},
            this);
        layout->addWidget(m_text, 1);
    }

    [[nodiscard]] const std::string& project() const { return m_project; }

    void setText(const std::string& text) { m_text->setText(QString::fromStdString(text)); }

private:
    std::string m_project;
    TextLabel* m_text = nullptr;
};

/// What is to be shown, with the widgets that show it.
struct ContainerList::Arrangement {
    std::vector<QWidget*> order; ///< all, from top to bottom
    std::vector<ContainerRow*> rows;
    std::vector<ContainerGroupHeader*> headers;
    bool isSeparated = false;
};

/// Where the focus is.
struct ContainerList::Focus {
    size_t row = 0;
    ContainerAction column{};
};

// The rows' buttons have the focus, and bring their rows into view.
ContainerList::ContainerList(QWidget* parent) : FittingScrollArea(new QWidget, parent) {
    AccessibleRole::set(*widget(), QAccessible::List);
    widget()->setAccessibleName(QStringLiteral("Containers"));
    m_layout = new QVBoxLayout(widget());
    m_layout->setContentsMargins(8, 4, 8, 8);
    m_layout->setSpacing(0);
    m_layout->addStretch(1);
    m_separator = new Separator(widget());
    m_separator->hide();
}

bool ContainerList::isPressed() const {
    return std::ranges::any_of(m_rows, &ContainerRow::isPressed);
}

void ContainerList::setContents(std::span<const Container> containers, const StatsMap& stats,
                                const std::function<bool(const std::string& id)>& isBusy) {
    std::unordered_map<const ContainerRow*, int> placesBefore;
    for (const ContainerRow* const row : m_rows) {
        placesBefore.emplace(row, row->y());
    }
    Arrangement next = arrangementOf(containers, stats);
    const std::optional<Focus> focusBefore = focus();
    const std::unordered_set<QWidget*> kept(next.order.begin(), next.order.end());
    const auto isGone = [&kept](QWidget* widget) { return !kept.contains(widget); };
    // The focus leaves a row before it goes, for the one that takes its place.
    const bool isToMoveFocus = focusBefore && isGone(m_rows[focusBefore->row]);

    std::vector<QWidget*> gone;
    std::ranges::copy_if(m_rows, std::back_inserter(gone), isGone);
    std::ranges::copy_if(m_headers, std::back_inserter(gone), isGone);
    m_rows = std::move(next.rows);
    m_headers = std::move(next.headers);
    for (QWidget* const widget : gone) {
        m_layout->removeWidget(widget);
    }
    arrange(next.order);
    m_separator->setVisible(next.isSeparated);
    noteMoved(placesBefore);
    for (ContainerRow* const row : m_rows) {
        row->setBusy(isBusy(row->id()));
    }
    if (isToMoveFocus && !m_rows.empty()) {
        m_rows[std::min(focusBefore->row, m_rows.size() - 1)]->focusRow();
    }
    for (QWidget* const widget : gone) {
        widget->hide();
        widget->deleteLater(); // it may be a button of its own that has led here
    }
}

ContainerList::Arrangement ContainerList::arrangementOf(std::span<const Container> containers,
                                                        const StatsMap& stats) {
    Arrangement next;
    std::unordered_map<std::string, ContainerRow*> present;
    for (ContainerRow* const row : m_rows) {
        present.emplace(row->id(), row);
    }
    const auto addRows = [&](const std::vector<Container>& listed) {
        for (const Container& container : listed) {
            const ContainerTexts texts = containerTexts(container, stats);
            const auto found = present.extract(container.id);
            ContainerRow* const row = found ? found.mapped() : makeRow(container.id, texts);
            row->setTexts(texts);
            next.rows.push_back(row);
            next.order.push_back(row);
        }
    };
    for (const ComposeGroup& group : composeGroups(containers)) {
        next.headers.push_back(headerFor(group));
        next.order.push_back(next.headers.back());
        addRows(group.rows);
    }
    const std::vector<Container> rest = ungrouped(containers);
    next.isSeparated = !rest.empty() && !next.headers.empty();
    if (next.isSeparated) {
        next.order.push_back(m_separator);
    }
    addRows(rest);
    return next;
}

ContainerGroupHeader* ContainerList::headerFor(const ComposeGroup& group) {
    const auto found = std::ranges::find(m_headers, group.project, &ContainerGroupHeader::project);
    ContainerGroupHeader* const header =
        found != m_headers.end() ? *found : new ContainerGroupHeader(group.project, widget());
    header->setText(groupHeader(group));
    return header;
}

ContainerRow* ContainerList::makeRow(const std::string& id, const ContainerTexts& texts) {
    auto* const row = new ContainerRow(id, texts, widget());
    connect(row, &ContainerRow::actionRequested, this,
            [this, row](ContainerAction action) { emit actionRequested(row, action); });
    connect(row, &ContainerRow::released, this, &ContainerList::released);
    connect(row, &ContainerRow::moveRequested, this, [this, row](int step) { moveFocus(row, step); });
    return row;
}

std::optional<ContainerList::Focus> ContainerList::focus() const {
    for (size_t index = 0; index < m_rows.size(); ++index) {
        if (const auto column = m_rows[index]->focusedColumn()) {
            return Focus{.row = index, .column = *column};
        }
    }
    return std::nullopt;
}

void ContainerList::arrange(const std::vector<QWidget*>& order) {
    bool isChanged = false;
    for (int index = 0; std::cmp_less(index, order.size()); ++index) {
        QWidget* const widget = order[static_cast<size_t>(index)];
        if (m_layout->itemAt(index)->widget() != widget) {
            m_layout->removeWidget(widget);
            m_layout->insertWidget(index, widget);
            widget->show();
            isChanged = true;
        }
    }
    if (isChanged) {
        updateTabOrder();
    }
}

/// Where nothing stood before, nobody can have meant anything else.
void ContainerList::noteMoved(const std::unordered_map<const ContainerRow*, int>& placesBefore) const {
    m_layout->activate();
    for (ContainerRow* const row : m_rows) {
        const auto before = placesBefore.find(row);
        if (!placesBefore.empty() && (before == placesBefore.end() || before->second != row->y())) {
            row->noteMoved();
        }
    }
}

void ContainerList::updateTabOrder() {
    QWidget* previous = this;
    for (ContainerRow* const row : m_rows) {
        setTabOrder(previous, row);
        previous = row;
        for (const auto column : {ContainerAction::restart, ContainerAction::stop, ContainerAction::remove}) {
            setTabOrder(previous, row->button(column));
            previous = row->button(column);
        }
    }
}

void ContainerList::moveFocus(const ContainerRow* row, int step) {
    const auto found = std::ranges::find(m_rows, row);
    const auto target = (found - m_rows.begin()) + step;
    const auto column = row->focusedColumn();
    if (found == m_rows.end() || !column || target < 0 || std::cmp_greater_equal(target, m_rows.size())) {
        return;
    }
    window()->setAttribute(Qt::WA_KeyboardFocusChange);
    ContainerRow* const next = m_rows[static_cast<size_t>(target)];
    next->focusColumn(*column);
    ensureWidgetVisible(next, 0, 8);
}

} // namespace Vintrel
