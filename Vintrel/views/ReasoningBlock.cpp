#include "Vintrel/views/ReasoningBlock.h"

#include "Vintrel/views/parts/AccessibleRole.h"
#include "Vintrel/views/parts/Chip.h"
#include "Vintrel/views/parts/FlowLayout.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "Vintrel/views/parts/Theme.h"
#include "VintrelCore/base/UnicodeText.h"

#include <QPainter>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

QString shown(const std::string& text) {
    return QString::fromStdString(VintrelCore::UnicodeText::printable(text));
}

void addLine(QVBoxLayout& layout, const QString& text, bool isCode, QWidget* parent) {
    const TextLabel::Style style{
        .size = TextSize::caption, .tone = TextLabel::Tone::secondary, .wraps = !isCode, .isCode = isCode};
    auto* const line = new TextLabel(text, style, parent);
    layout.addWidget(line);
    line->show(); // what is hidden takes no room, and the row is laid out at once
}

} // namespace

ReasoningBlock::ReasoningBlock(QWidget* parent) : QWidget(parent) {
    AccessibleRole::set(*this, QAccessible::Grouping);
    setAccessibleName(tr("Why it is listed"));
}

void ReasoningBlock::display(const Reasoning& reasoning) {
    if (!m_isBuilt || m_reasoning != reasoning) {
        m_reasoning = reasoning;
        m_isBuilt = true;
        build();
    }
}

void ReasoningBlock::build() {
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
    delete layout();
    auto* const lines = new QVBoxLayout(this);
    lines->setContentsMargins(10, 8, 10, 8);
    lines->setSpacing(4);
    if (!m_reasoning.tags.empty()) {
        auto* const tags = new QWidget(this);
        auto* const flow = new FlowLayout(tags);
        for (const std::string& tag : m_reasoning.tags) {
            auto* const chip = new Chip(shown(tag), Chip::Tint::neutral, tags);
            flow->addWidget(chip);
            chip->show();
        }
        lines->addWidget(tags); // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the flow has a parent
        tags->show();
    }
    for (const std::string& fact : m_reasoning.facts) {
        addLine(*lines, shown(fact), false, this);
    }
    if (!m_reasoning.ancestry.empty()) {
        addLine(*lines, shown(m_reasoning.ancestry), false, this);
    }
    if (!m_reasoning.openFiles) {
        addLine(*lines, tr("Looking up open files…"), false, this);
    } else {
        addLine(*lines, shown(m_reasoning.openFiles->count), false, this);
        for (const std::string& path : m_reasoning.openFiles->paths) {
            addLine(*lines, shown(path), true, this);
        }
        if (!m_reasoning.openFiles->rest.empty()) {
            addLine(*lines, shown(m_reasoning.openFiles->rest), false, this);
        }
    }
}

void ReasoningBlock::paintEvent(QPaintEvent* /*event*/) {
    constexpr double radius = 6;
    const Theme& theme = Theme::current();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.hairline);
    painter.setBrush(theme.field);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace Vintrel
