#include "Vintrel/engine/ProtectedFolders.h"

#include "Vintrel/engine/Background.h"
#include "VintrelCore/platform/Platform.h"

#include <chrono>
#include <optional>
#include <utility>

#include <QPointer>

namespace Vintrel {

using VintrelCore::Protection;

namespace {

/// A folder that takes longer does not answer.
constexpr std::chrono::seconds linkTimeout{2};

} // namespace

ProtectedFolders::ProtectedFolders(QObject* parent)
    : QObject(parent),
      m_protection{.home = VintrelCore::resolvedFolder(VintrelCore::Platform::homeFolder())} {
    m_linkTimer.setSingleShot(true);
    connect(&m_linkTimer, &QTimer::timeout, this, [this] {
        m_areUnreachable = true;
        finish();
    });
}

void ProtectedFolders::setEntries(std::vector<std::string> entries) {
    if (entries != m_protection.entries) {
        m_protection.entries = std::move(entries);
        followLinks();
    }
}

void ProtectedFolders::whenKnown(std::function<void()> action) {
    if (m_isLooking && !m_areUnreachable) {
        m_waiting.push_back(std::move(action));
    } else {
        action();
    }
}

void ProtectedFolders::followLinks() {
    if (m_isLooking) { // one at a time: each may hang
        m_isToLookAgain = true;
        return;
    }
    if (m_protection.entries.empty()) {
        m_areUnreachable = false;
        return;
    }
    m_isLooking = true;
    m_linkTimer.start(linkTimeout);
    const auto work = [entries = m_protection.entries, home = m_protection.home](int) {
        return Protection::resolve(entries, home);
    };
    Background::shared().run(this, work, [this](std::optional<Protection::Forms> forms) {
        m_isLooking = false;
        m_areUnreachable = !forms;
        if (forms) {
            m_protection.resolved = *std::move(forms);
        }
        if (std::exchange(m_isToLookAgain, false)) {
            followLinks();
        } else {
            m_linkTimer.stop();
            finish();
        }
    });
}

void ProtectedFolders::finish() {
    const QPointer<ProtectedFolders> self(this);
    for (const auto& action : std::exchange(m_waiting, {})) {
        action();
        if (!self) {
            return; // whoever was called ended the engine
        }
    }
}

} // namespace Vintrel
