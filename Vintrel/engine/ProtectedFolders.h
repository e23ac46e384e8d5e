#pragma once

#include "VintrelCore/scan/Protection.h"

#include <functional>
#include <string>
#include <vector>

#include <QObject>
#include <QTimer>

namespace Vintrel {

/// The folders that the user protects, as they are now. Who protects a folder by a link means the folder
/// behind it, and that is where processes work; links are followed off the main thread, because a folder may
/// lie on a mount that does not answer.
class ProtectedFolders : public QObject {
    Q_OBJECT

public:
    explicit ProtectedFolders(QObject* parent = nullptr);

    [[nodiscard]] const VintrelCore::Protection& protection() const { return m_protection; }

    /// They count at once; where they are links, what is behind them does as soon as that is known.
    void setEntries(std::vector<std::string> entries);

    /// Looks again at what is behind the links: they may lead elsewhere by now.
    void followLinks();

    /// Calls `action` once it is known what is behind the links, or that this cannot be known.
    void whenKnown(std::function<void()> action);

    /// Whether what is behind the links could not be found out in time.
    [[nodiscard]] bool areUnreachable() const { return m_areUnreachable; }

private:
    void finish();

    VintrelCore::Protection m_protection;
    bool m_areUnreachable = false;
    bool m_isLooking = false;     // off the main thread
    bool m_isToLookAgain = false; // for other entries
    QTimer m_linkTimer;
    std::vector<std::function<void()>> m_waiting;
};

} // namespace Vintrel
