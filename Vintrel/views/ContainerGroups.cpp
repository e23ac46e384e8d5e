#include "Vintrel/views/ContainerGroups.h"

#include "VintrelCore/base/UnicodeText.h"

#include <algorithm>
#include <map>

#include <QString>

namespace Vintrel {

using VintrelCore::Container;
using VintrelCore::ContainerStats;
using VintrelCore::UnicodeText::printable;

namespace {

bool isGrouped(const Container& container) {
    return container.composeProject && !container.composeProject->empty();
}

std::string sentenceOf(const ContainerTexts& texts, const ContainerStats* stats) {
    std::string sentence = texts.name + ", image " + texts.image;
    if (!texts.status.empty()) {
        sentence += ", " + texts.status;
    }
    if (stats != nullptr) {
        sentence += ", processor " + printable(stats->cpu) + ", memory " + printable(stats->memory);
    }
    return sentence;
}

} // namespace

std::vector<ComposeGroup> composeGroups(std::span<const Container> containers) {
    std::map<std::string, std::vector<Container>> byProject; // UTF-8 sorts as its characters' values do
    for (const Container& container : containers) {
        if (isGrouped(container)) {
            byProject[*container.composeProject].push_back(container);
        }
    }
    std::vector<ComposeGroup> groups;
    groups.reserve(byProject.size());
    for (auto& [project, rows] : byProject) {
        groups.push_back({.project = project, .rows = std::move(rows)});
    }
    return groups;
}

std::vector<Container> ungrouped(std::span<const Container> containers) {
    std::vector<Container> rest;
    std::ranges::remove_copy_if(containers, std::back_inserter(rest), isGrouped);
    return rest;
}

std::string groupHeader(const ComposeGroup& group) {
    return printable(group.project) + " (" + std::to_string(group.rows.size()) + ")";
}

std::string figuresText(const ContainerStats& stats) {
    return printable(stats.cpu) + " · " + printable(stats.memory);
}

ContainersState containersState(bool hasClient, bool isLoaded, bool hasContainers) {
    if (!hasClient) {
        return ContainersState::notInstalled;
    }
    if (hasContainers) {
        return ContainersState::listed;
    }
    return isLoaded ? ContainersState::none : ContainersState::loading;
}

std::string stateMessage(ContainersState state) {
    switch (state) {
    case ContainersState::notInstalled:
        return "Docker isn’t installed.";
    case ContainersState::loading:
        return "Loading…";
    case ContainersState::none:
        return "No running containers.";
    case ContainersState::listed:
        break;
    }
    return "";
}

std::string stateDetail(std::span<const Problem> problems) {
    const auto problem = std::ranges::find(problems, Problem::Source::containers, &Problem::source);
    if (problem == problems.end()) {
        return "";
    }
    QString text = QString::fromStdString(problem->text);
    if (!text.isEmpty()) {
        text[0] = text[0].toUpper();
    }
    return text.toStdString();
}

ContainerTexts containerTexts(const Container& container, const VintrelCore::DockerCore::StatsMap& stats) {
    const auto entry = stats.find(container.id);
    const ContainerStats* const own = entry == stats.end() ? nullptr : &entry->second;
    ContainerTexts texts{.name = printable(container.name),
                         .image = printable(container.image),
                         .status = printable(container.status)};
    texts.figures = own == nullptr ? "" : figuresText(*own);
    texts.restartHelp = "Restart " + texts.name;
    texts.stopHelp = "Stop " + texts.name;
    texts.sentence = sentenceOf(texts, own);
    return texts;
}

} // namespace Vintrel
