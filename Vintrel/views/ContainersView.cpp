#include "Vintrel/views/ContainersView.h"

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/views/ContainerGroups.h"
#include "Vintrel/views/ContainerList.h"
#include "Vintrel/views/ContainerRow.h"
#include "Vintrel/views/parts/TextLabel.h"

#include <limits>
#include <utility>

#include <QTimer>
#include <QVBoxLayout>

namespace Vintrel {

using VintrelCore::DockerCore::StatsMap;

namespace {

QString shown(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

ContainerSources::ContainerSources()
    : cliPath([] { return VintrelCore::DockerService::cliPath(); }),
      list(DockerService::list),
      stats(DockerService::stats),
      remove(DockerService::remove),
      performThenRefresh(DockerService::performThenRefresh) {}

ContainersView::ContainersView(ScanEngine& engine, ContainerSources sources, QWidget* parent)
    : QWidget(parent), m_engine(engine), m_sources(std::move(sources)) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    addMessage(*layout);
    m_list = new ContainerList(this);
    layout->addWidget(m_list);
    connect(m_list, &ContainerList::actionRequested, this, &ContainersView::perform);
    connect(m_list, &ContainerList::released, this, [this] {
        // After the click that may follow: its row has to be there still.
        QTimer::singleShot(0, this, [this] {
            if (m_isToRedraw) {
                redraw();
            }
        });
    });
    connect(&engine, &ScanEngine::changed, this, [this](EngineField field) {
        if (field == EngineField::problems) {
            redraw();
        }
    });
    redraw();
}

ContainersView::~ContainersView() = default;

void ContainersView::addMessage(QVBoxLayout& layout) {
    m_message = new QWidget(this);
    auto* const lines = new QVBoxLayout(m_message);
    lines->setContentsMargins(16, 24, 16, 24);
    lines->setSpacing(4);
    TextLabel::Style style{
        .tone = TextLabel::Tone::secondary, .wraps = true, .alignment = Qt::AlignHCenter | Qt::AlignVCenter};
    m_messageText = new TextLabel({}, style, m_message);
    style.size = TextSize::small;
    style.tone = TextLabel::Tone::tertiary;
    m_messageDetail = new TextLabel({}, style, m_message);
    lines->addWidget(m_messageText);
    lines->addWidget(m_messageDetail);
    lines->addStretch(1);
    layout.addWidget(m_message);
}

void ContainersView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!std::exchange(m_wasShown, true)) {
        reload();
        reloadStats();
    }
}

void ContainersView::setRefreshToken(int refreshToken) {
    if (std::exchange(m_refreshToken, refreshToken) != refreshToken) {
        reload();
        reloadStats();
    }
}

void ContainersView::reload() {
    m_engine.askForContainers(); // for the reason why there are none
    m_sources.list(this, [this, request = ++m_lastListRequest](const Containers& containers) {
        takeList(request, containers);
    });
}

void ContainersView::reloadStats() {
    m_sources.stats(this, [this, request = ++m_lastStatsRequest](const StatsMap& stats) {
        if (request >= m_shownStats) {
            m_shownStats = request;
            m_stats = stats;
            redraw();
        }
    });
}

void ContainersView::takeList(Request request, const Containers& containers) {
    if (request < m_shownList) {
        return;
    }
    m_shownList = request;
    m_containers = containers;
    m_isLoaded = true;
    std::erase_if(m_busy, [request](const auto& entry) { return entry.second <= request; });
    redraw();
}

void ContainersView::perform(ContainerRow* row, ContainerAction action) {
    constexpr Request notYetKnown = std::numeric_limits<Request>::max();
    const std::string id = row->id();
    const Request request = ++m_lastListRequest;
    m_busy[id] = notYetKnown;
    row->setBusy(true);
    const auto finish = [this, id, request](const Containers& containers) {
        finishAction(id, request, containers);
    };
    switch (action) {
    case ContainerAction::restart:
        m_sources.performThenRefresh({VintrelCore::DockerService::restartArguments(id)}, this, finish);
        return;
    case ContainerAction::stop:
        m_sources.performThenRefresh({VintrelCore::DockerService::stopArguments(id)}, this, finish);
        return;
    case ContainerAction::remove:
        m_sources.remove(id, this, finish);
        return;
    }
}

void ContainersView::finishAction(const std::string& id, Request request, const Containers& containers) {
    const bool isLast = request == m_lastListRequest;
    m_busy[id] = isLast ? request : m_lastListRequest + 1;
    takeList(request, containers);
    if (!isLast) {
        reload(); // the lists asked for meanwhile may be from before the action ended
    }
}

void ContainersView::updateMessage() {
    const ContainersState state =
        containersState(m_sources.cliPath().has_value(), m_isLoaded, !m_containers.empty());
    const std::string detail = stateDetail(m_engine.problems());
    m_messageText->setText(shown(stateMessage(state)));
    m_messageDetail->setText(shown(detail));
    m_messageDetail->setVisible(!detail.empty());
    m_message->setVisible(state != ContainersState::listed);
    m_list->setVisible(state == ContainersState::listed);
}

void ContainersView::redraw() {
    m_isToRedraw = m_list->isPressed();
    if (!m_isToRedraw) {
        m_list->setContents(m_containers, m_stats,
                            [this](const std::string& id) { return m_busy.contains(id); });
        updateMessage();
    }
}

} // namespace Vintrel
