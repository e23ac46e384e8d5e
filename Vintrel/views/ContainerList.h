#pragma once

#include "Vintrel/views/ContainerGroups.h"
#include "Vintrel/views/parts/FittingScrollArea.h"
#include "VintrelCore/docker/DockerCore.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

class QVBoxLayout;

namespace Vintrel {

class ContainerGroupHeader;
class ContainerRow;
enum class ContainerAction;

/// The rows of containers: each compose project under its header, then the rest. A new listing is merged into
/// the rows there are, so that the focus and the place in the list stay.
class ContainerList : public FittingScrollArea {
    Q_OBJECT

public:
    explicit ContainerList(QWidget* parent);

    /// Not while a button is held down: rows may come to stand elsewhere.
    void setContents(std::span<const VintrelCore::Container> containers,
                     const VintrelCore::DockerCore::StatsMap& stats,
                     const std::function<bool(const std::string& id)>& isBusy);

    /// From top to bottom.
    [[nodiscard]] const std::vector<ContainerRow*>& rows() const { return m_rows; }

    /// Whether a row's button is held down.
    [[nodiscard]] bool isPressed() const;

signals:
    void actionRequested(Vintrel::ContainerRow* row, Vintrel::ContainerAction action);

    /// No button is held down any more.
    void released();

private:
    struct Arrangement;
    struct Focus;

    [[nodiscard]] Arrangement arrangementOf(std::span<const VintrelCore::Container> containers,
                                            const VintrelCore::DockerCore::StatsMap& stats);
    ContainerGroupHeader* headerFor(const ComposeGroup& group);
    ContainerRow* makeRow(const std::string& id, const ContainerTexts& texts);
    [[nodiscard]] std::optional<Focus> focus() const;
    void arrange(const std::vector<QWidget*>& order);
    void noteMoved(const std::unordered_map<const ContainerRow*, int>& placesBefore) const;
    void updateTabOrder();
    void moveFocus(const ContainerRow* row, int step);

    QVBoxLayout* m_layout = nullptr;
    QWidget* m_separator = nullptr; // between the projects and the rest
    std::vector<ContainerRow*> m_rows;
    std::vector<ContainerGroupHeader*> m_headers;
};

} // namespace Vintrel
