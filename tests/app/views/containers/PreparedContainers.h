#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/views/ContainerList.h"
#include "Vintrel/views/ContainerRow.h"
#include "Vintrel/views/ContainersView.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/PreparedSources.h"
#include "tests/app/support/ViewTest.h"
#include "tests/core/docker/Printing.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QPointer>
#include <QTest>
#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::Container;
using VintrelCore::DockerCore::StatsMap;
using VintrelTests::spinFor;
using VintrelTests::spinUntil;
using Containers = std::vector<Container>;
using Texts = std::vector<std::string>;

inline Container container(const std::string& name, std::optional<std::string> project = std::nullopt) {
    return {.id = "id-" + name,
            .name = name,
            .image = name + "-image",
            .status = "Up 2 hours",
            .ports = "",
            .composeProject = std::move(project)};
}

/// Stands in for the containers' engine: it keeps what it is asked, and answers when the test says so.
class PreparedContainers {
public:
    std::optional<std::string> client = "/usr/bin/docker";

    /// A list that was asked for, by itself or at the end of an action.
    struct ListQuestion {
        std::string what; ///< "list", "remove ID", or the commands, such as "restart ID"
        QPointer<QObject> owner;
        DockerService::OnContainers onComplete;

        void answer(const Containers& containers) const {
            if (owner) {
                onComplete(containers);
            }
        }
    };

    struct StatsQuestion {
        QPointer<QObject> owner;
        std::function<void(const StatsMap&)> onComplete;

        void answer(const StatsMap& figures) const {
            if (owner) {
                onComplete(figures);
            }
        }
    };

    std::vector<ListQuestion> lists;
    std::vector<StatsQuestion> stats;

    [[nodiscard]] ContainerSources sources() {
        ContainerSources sources;
        sources.cliPath = [this] { return client; };
        sources.list = [this](QObject* owner, DockerService::OnContainers onComplete) {
            lists.push_back({"list", owner, std::move(onComplete)});
        };
        sources.stats = [this](QObject* owner, std::function<void(const StatsMap&)> onComplete) {
            stats.push_back({owner, std::move(onComplete)});
        };
        sources.remove = [this](const std::string& id, QObject* owner,
                                DockerService::OnContainers onComplete) {
            lists.push_back({"remove " + id, owner, std::move(onComplete)});
        };
        sources.performThenRefresh = [this](const std::vector<DockerService::Arguments>& commands,
                                            QObject* owner, DockerService::OnContainers onComplete) {
            lists.push_back({joined(commands), owner, std::move(onComplete)});
        };
        return sources;
    }

    /// What was asked for that ends in a list, in order.
    [[nodiscard]] Texts asked() const {
        Texts all;
        for (const ListQuestion& question : lists) {
            all.push_back(question.what);
        }
        return all;
    }

private:
    static std::string joined(const std::vector<DockerService::Arguments>& commands) {
        std::string all;
        for (const DockerService::Arguments& command : commands) {
            all += all.empty() ? "" : "; ";
            for (const std::string& argument : command) {
                all += (&argument == &command.front() ? "" : " ") + argument;
            }
        }
        return all;
    }
};

} // namespace Vintrel
