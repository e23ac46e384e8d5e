#pragma once

#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/platform/ProcessHandle.h"
#include "VintrelCore/terminate/KillCore.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace VintrelCore::KillCore {

/// One process on its way through the sequence.
class Target {
public:
    enum class Check {
        same,
        notTheSame,
        gone,
        unreadable, ///< there is a process, but the system does not say which
    };

    Target(const FoldedProcess& process, const World& world);

    [[nodiscard]] int32_t pid() const { return m_handle.pid(); }

    /// Whether it is the process that the scan saw. To be asked before any signal.
    [[nodiscard]] Check check();

    /// Whether the system lets this program signal it.
    [[nodiscard]] bool mayBeAsked() const;

    /// Sends the polite signal.
    [[nodiscard]] Platform::Delivery askToEnd() const;

    /// Sends the forced signal, if it may be; whether it was sent.
    bool forceUnlessEnded();

    [[nodiscard]] bool hasEnded() const { return m_handle.hasEnded(); }

private:
    const World* m_world;
    std::optional<ProcStartTime> m_expected;
    Platform::ProcessHandle m_handle;
    std::optional<ProcStartTime> m_snapshot; // read before the polite signal
    bool m_isStopped = false;
};

/// One item, with what is folded into it, on its way through the sequence. Internal to terminate/.
class RowEnding {
public:
    RowEnding(const ProcessItem& item, const World& world) : m_item(&item), m_world(&world) {}

    [[nodiscard]] const ProcessItem& item() const { return *m_item; }

    /// Final once the row is decided.
    [[nodiscard]] const KillResult& result() const { return m_result; }

    /// Whether nothing more is to be done for it.
    [[nodiscard]] bool isDecided() const { return m_isDecided; }

    void refuseWhatIsNeverEnded();
    void noteStoppedContainer();
    void noteContainerBeingStopped();

    /// Decides that nothing is signalled.
    void giveUp(KillDetail detail);

    /// Signals the item and what is folded into it, top first, each checked on its own. When the item fails
    /// its check, nothing of the row is signalled, not even the shells that started it.
    void askToEnd();

    /// Who was signalled.
    [[nodiscard]] std::vector<int32_t> signalledPIDs() const;

    /// After the wait; whether any process of the row was forced.
    bool forceUnlessEnded();

    /// Whether everybody who was signalled has ended.
    [[nodiscard]] bool hasEnded() const;

    /// Decides by what has become of those who were signalled.
    void conclude(bool wasInterrupted);

private:
    void decide(KillOutcome outcome, KillDetail detail);
    void askFoldedToEnd(bool starters);
    void askFoldedToEnd(const FoldedProcess& process);
    void noteIfLeft(const Target& target);

    const ProcessItem* m_item;
    const World* m_world;
    std::vector<Target> m_targets;   // signalled
    std::vector<Target> m_leftAlone; // not signalled, though they may belong to the row
    bool m_wasThere = false;
    bool m_isDecided = false;
    KillResult m_result;
};

} // namespace VintrelCore::KillCore
