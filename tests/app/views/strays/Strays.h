#pragma once

#include "Vintrel/shell/FileBrowser.h"
#include "Vintrel/views/ContainersView.h"
#include "Vintrel/views/StraysModel.h"
#include "tests/app/support/EngineTest.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <QString>

namespace Vintrel {

using namespace std::chrono_literals;
using KillCore::KillDetail;
using KillCore::KillOutcome;
using KillCore::KillResult;
using VintrelCore::Bucket;
using VintrelCore::RiskTier;
using Items = StraysModel::Items;
using Texts = std::vector<std::string>;

/// Keeps what it is asked to show.
class RecordingFileBrowser : public FileBrowser {
public:
    std::vector<std::string> revealed;

    [[nodiscard]] QString revealLabel() const override {
        return QStringLiteral("Reveal working directory in File Manager");
    }

    void reveal(const std::string& folder) override { revealed.push_back(folder); }
};

/// Something that is risky to end.
inline ProcessItem riskyItem(int32_t pid) {
    ProcessItem item = safeItem(pid);
    item.kind = ProcessKind::node;
    item.riskTier = RiskTier::high;
    return item;
}

inline ProcessItem kindItem(int32_t pid, ProcessKind kind) {
    ProcessItem item = safeItem(pid);
    item.kind = kind;
    return item;
}

/// The process that has got the number of this one since.
inline ProcessItem successorOf(ProcessItem item) {
    item.startTime->sec += 1'000;
    return item;
}

inline std::vector<ProcessItem> safeItems(int32_t count, int32_t first = 1'000) {
    std::vector<ProcessItem> items;
    for (int32_t pid = first; pid < first + count; ++pid) {
        items.push_back(safeItem(pid));
    }
    return items;
}

/// A containers tab that asks nobody.
inline ContainerSources noContainers() {
    ContainerSources sources;
    sources.cliPath = [] { return std::nullopt; };
    sources.list = [](QObject*, const DockerService::OnContainers&) {};
    sources.stats = [](QObject*, const auto&) {};
    sources.remove = [](const std::string&, QObject*, const DockerService::OnContainers&) {};
    sources.performThenRefresh = [](const auto&, QObject*, const DockerService::OnContainers&) {};
    return sources;
}

} // namespace Vintrel
