#pragma once

#include "Vintrel/engine/Problem.h"
#include "VintrelCore/docker/DockerCore.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

/// What the containers tab says about the containers. No widgets and no state.
namespace Vintrel {

/// The containers of one compose project.
struct ComposeGroup {
    std::string project;
    std::vector<VintrelCore::Container> rows; ///< as they were listed

    bool operator==(const ComposeGroup&) const = default;
};

/// Those with a compose project, by that project; the projects in the order of their characters' values, so
/// that capitals come first.
[[nodiscard]] std::vector<ComposeGroup> composeGroups(std::span<const VintrelCore::Container> containers);

/// Those without a compose project, as they were listed. A project without a name is none.
[[nodiscard]] std::vector<VintrelCore::Container>
ungrouped(std::span<const VintrelCore::Container> containers);

/// The text above a group, such as "shop (3)".
[[nodiscard]] std::string groupHeader(const ComposeGroup& group);

/// What a container uses, such as "0.15% · 12.5MiB".
[[nodiscard]] std::string figuresText(const VintrelCore::ContainerStats& stats);

/// What the tab shows.
enum class ContainersState {
    notInstalled, ///< there is no client that may be run
    loading,      ///< the first list is under way
    none,
    listed,
};

/// The first state, in that order, that applies.
[[nodiscard]] ContainersState containersState(bool hasClient, bool isLoaded, bool hasContainers);

/// What stands in place of the list; "" where there is one.
[[nodiscard]] std::string stateMessage(ContainersState state);

/// The line under that message: what is wrong with the containers' engine, as a sentence; "" when nothing
/// is.
[[nodiscard]] std::string stateDetail(std::span<const Problem> problems);

/// The texts of one row, fit to be shown.
struct ContainerTexts {
    std::string name;
    std::string image;
    std::string status;
    std::string figures; ///< "" when they are not known
    std::string restartHelp;
    std::string stopHelp;
    std::string sentence; ///< what a screen reader says of the row

    bool operator==(const ContainerTexts&) const = default;
};

[[nodiscard]] ContainerTexts containerTexts(const VintrelCore::Container& container,
                                            const VintrelCore::DockerCore::StatsMap& stats);

} // namespace Vintrel
