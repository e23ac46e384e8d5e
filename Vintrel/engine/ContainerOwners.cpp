#include "Vintrel/engine/ContainerOwners.h"

#include "Vintrel/engine/Background.h"

#include <utility>

#include <QPointer>

namespace Vintrel {

void ContainerOwners::update(bool mayHoldContainers) {
    if (m_isAsking) {
        return;
    }
    if (!mayHoldContainers) {
        take({});
        return;
    }
    m_isAsking = true;
    Background::shared().run(this, m_source, [this](Answer answer) {
        m_isAsking = false;
        take(std::move(answer));
    });
}

void ContainerOwners::take(Answer answer) {
    const bool isNew = answer.owners != m_answer.owners || answer.engine != m_answer.engine;
    m_answer = std::move(answer);
    const QPointer<ContainerOwners> self(this);
    if (isNew) {
        emit changed();
    }
    while (self && !m_isAsking && !m_waiting.empty()) {
        const auto action = m_waiting.front();
        m_waiting.erase(m_waiting.begin());
        action();
    }
}

void ContainerOwners::whenKnown(std::function<void()> action) {
    if (m_isAsking) {
        m_waiting.push_back(std::move(action));
    } else {
        action();
    }
}

} // namespace Vintrel
