#pragma once

#include "VintrelCore/docker/DockerService.h"

#include <functional>
#include <vector>

#include <QObject>

namespace Vintrel {

/// The containers that the processes of the last scan belong to. The engine's client takes its time, so the
/// processes are published before it has answered; what has to know waits for it.
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

    /// After a scan: asks the engine's client, unless no process of it lives in a container.
    void update(bool mayHoldContainers);

    /// Asks the engine's client; once more when it is being asked.
    void ask();

    /// Calls `action` once no question is open.
    void whenKnown(std::function<void()> action);

signals:
    /// Another answer than before.
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
