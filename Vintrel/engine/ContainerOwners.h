#pragma once

#include "VintrelCore/docker/DockerService.h"

#include <functional>
#include <vector>

#include <QObject>

namespace Vintrel {

/// Which containers own the processes of the last scan. The engine's client can be slow, so a scan publishes
/// its processes first; code that needs the owners waits for them with `whenKnown`.
class ContainerOwners : public QObject {
    Q_OBJECT

public:
    using Answer = VintrelCore::DockerService::OwnersAnswer;
    using Source = std::function<Answer(int interrupt)>;

    explicit ContainerOwners(Source source, QObject* parent = nullptr)
        : QObject(parent), m_source(std::move(source)) {}

    [[nodiscard]] const Answer& answer() const { return m_answer; }

    [[nodiscard]] const auto& owners() const { return m_answer.owners; }

    [[nodiscard]] VintrelCore::DockerService::EngineState engine() const { return m_answer.engine; }

    /// Call it after a scan. Asks the engine's client if a process of the scan may live in a container.
    void update(bool mayHoldContainers);

    /// Asks the engine's client. During a query, schedules one more.
    void ask();

    /// Calls `action` when no query is pending.
    void whenKnown(std::function<void()> action);

signals:
    /// The answer has changed.
    void changed();

private:
    void take(Answer answer);

    Source m_source;
    Answer m_answer;
    bool m_isAsking = false; // off the main thread
    bool m_isToAskAgain = false;
    std::vector<std::function<void()>> m_waiting;
};

} // namespace Vintrel
