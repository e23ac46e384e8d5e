#include "Vintrel/engine/ContainerOwners.h"

#include "Vintrel/engine/Background.h"

#include <utility>

#include <QPointer>

namespace Vintrel {

void ContainerOwners::update(bool mayHoldContainers) {
    if (mayHoldContainers) {
        ask();
    } else if (!m_isAsking) {
        take({.engine = m_answer.engine}); // as far as is known, it is as it was
    }
}

void ContainerOwners::ask() {
    if (std::exchange(m_isAsking, true)) {
        m_isToAskAgain = true; // the answer may be from before what is asked about now
        return;
    }
    Background::shared().run(this, m_source, [this](Answer answer) {
        m_isAsking = false;
        if (std::exchange(m_isToAskAgain, false)) {
            ask();
        }
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
