#include "Vintrel/engine/ProtectedFolders.h"

#include "Vintrel/engine/Background.h"
#include "VintrelCore/platform/Platform.h"

#include <chrono>
#include <utility>

#include <QTimer>

namespace Vintrel {

using VintrelCore::Protection;

namespace {

/// A folder that takes longer does not answer.
constexpr std::chrono::seconds patience{2};

} // namespace

ProtectedFolders::ProtectedFolders(QObject* parent)
    : QObject(parent), m_protection{.home = VintrelCore::Platform::homeFolder()} {}

void ProtectedFolders::setEntries(std::vector<std::string> entries) {
    if (entries != m_protection.entries) {
        m_protection.entries = std::move(entries);
        followLinks();
    }
}

void ProtectedFolders::adopt(Protection found, bool metDeadMount) {
    m_areUnreachable = metDeadMount;
    // They may have changed since the scan began; what is known of the new ones stays.
    m_protection.home = std::move(found.home);
    found.resolved.merge(m_protection.resolved);
    m_protection.resolved = std::move(found.resolved);
}

void ProtectedFolders::whenKnown(std::function<void()> action) {
    if (m_finished == m_lastNumber) {
        action();
    } else {
        m_waiting.push_back(std::move(action));
    }
}

void ProtectedFolders::followLinks() {
    if (m_areUnreachable) {
        return; // the next scan sees whether they still are
    }
    const int number = ++m_lastNumber;
    const auto work = [entries = m_protection.entries, home = m_protection.home](int) {
        return Protection::resolve(entries, home);
    };
    Background::shared().run(this, work, [this, number](Protection::Forms forms) {
        m_protection.resolved.merge(forms);
        finish(number);
    });
    QTimer::singleShot(patience, this, [this, number] {
        if (number == m_lastNumber && m_finished < number) {
            m_areUnreachable = true;
            finish(number);
        }
    });
}

void ProtectedFolders::finish(int number) {
    if (number != m_lastNumber || m_finished == number) {
        return; // another lookup is under way
    }
    m_finished = number;
    for (const auto& action : std::exchange(m_waiting, {})) {
        action();
    }
}

} // namespace Vintrel
