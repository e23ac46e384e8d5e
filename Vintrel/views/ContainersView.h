#pragma once

#include "Vintrel/engine/DockerService.h"
#include "VintrelCore/docker/DockerCore.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <QWidget>

class QVBoxLayout;

namespace Vintrel {

class ContainerList;
class ContainerRow;
class ScanEngine;
class TextLabel;
enum class ContainerAction;

/// What the containers view asks about containers, as functions, so that prepared answers can stand in. The
/// defaults are those of `DockerService`.
struct ContainerSources {
    std::function<std::optional<std::string>()> cliPath;
    std::function<void(QObject* owner, DockerService::OnContainers onComplete)> list;
    std::function<void(QObject* owner,
                       std::function<void(const VintrelCore::DockerCore::StatsMap&)> onComplete)>
        stats;
    std::function<void(const std::string& id, QObject* owner, DockerService::OnContainers onComplete)> remove;
    std::function<void(std::vector<DockerService::Arguments> commands, QObject* owner,
                       DockerService::OnContainers onComplete)>
        performThenRefresh;

    /// The real ones.
    ContainerSources();
};

/// The containers tab: the running containers by compose project, what they use, and buttons to restart, stop
/// and remove them. Owns no model: it keeps the last answers.
class ContainersView : public QWidget {
    Q_OBJECT

public:
    /// The engine tells what is wrong with the containers' engine; it must outlive the view.
    ContainersView(ScanEngine& engine, ContainerSources sources, QWidget* parent);
    ~ContainersView() override;

    /// Another token asks for another list and other figures.
    void setRefreshToken(int refreshToken);

    /// Asks for the containers. When the answer comes it replaces those shown.
    void reload();

    /// Asks for the figures.
    void reloadStats();

    [[nodiscard]] const std::vector<VintrelCore::Container>& containers() const { return m_containers; }

    [[nodiscard]] const VintrelCore::DockerCore::StatsMap& stats() const { return m_stats; }

    /// Whether the first list has arrived.
    [[nodiscard]] bool isLoaded() const { return m_isLoaded; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    using Containers = std::vector<VintrelCore::Container>;

    /// Lists are numbered as they are asked for: the one asked for last is shown, whenever it comes.
    using Request = uint64_t;

    void addMessage(QVBoxLayout& layout);
    void takeList(Request request, const Containers& containers);
    void perform(ContainerRow* row, ContainerAction action);
    void finishAction(const std::string& id, Request request, const Containers& containers);
    void redraw();
    void updateMessage();

    ScanEngine& m_engine;
    ContainerSources m_sources;
    Containers m_containers;
    VintrelCore::DockerCore::StatsMap m_stats;
    bool m_isLoaded = false;

    int m_refreshToken = 0;
    bool m_wasShown = false;
    Request m_lastListRequest = 0;
    Request m_shownList = 0;
    Request m_lastStatsRequest = 0;
    Request m_shownStats = 0;
    std::unordered_map<std::string, Request> m_busy; // by id; the list that ends it, once that is known
    bool m_isToRedraw = false;                       // once no button is held down any more

    QWidget* m_message = nullptr;
    TextLabel* m_messageText = nullptr;
    TextLabel* m_messageDetail = nullptr;
    ContainerList* m_list = nullptr;
};

} // namespace Vintrel
