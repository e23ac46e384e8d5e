#pragma once

#include "Vintrel/engine/CleanLogStore.h"
#include "Vintrel/engine/CleanSummary.h"
#include "Vintrel/engine/ContainerOwners.h"
#include "Vintrel/engine/EngineField.h"
#include "Vintrel/engine/KillService.h"
#include "Vintrel/engine/Preferences.h"
#include "Vintrel/engine/Problem.h"
#include "Vintrel/engine/ProtectedFolders.h"
#include "Vintrel/engine/ScanSources.h"
#include "Vintrel/engine/UserNotifications.h"
#include "VintrelCore/command/URLScheme.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <QObject>
#include <QTimer>

namespace Vintrel {

/// The application's one model: candidates, settings, scans and what is ended. Views observe it and drive it
/// on the main thread. Slow work is done elsewhere and comes back; the engine may die meanwhile.
class ScanEngine : public QObject {
    Q_OBJECT

public:
    using Item = VintrelCore::ProcessItem;
    using Items = std::vector<Item>;
    using PIDSet = VintrelCore::ScanCore::PIDSet;
    using Field = EngineField;

    /// Loads the settings and starts the timer, which brings the first scan. `notifications` must outlive it.
    explicit ScanEngine(UserNotifications& notifications, ScanSources sources = {},
                        QObject* parent = nullptr);

    /// The candidates of the last scan, less what was dismissed since. Before it, nothing is found.
    [[nodiscard]] const Items& items() const { return m_found.items; }

    [[nodiscard]] bool isScanning() const { return m_isScanning; }

    [[nodiscard]] const auto& listeningPorts() const { return m_found.listeningPorts; }

    [[nodiscard]] const auto& containerOwners() const { return m_containers.owners(); }

    [[nodiscard]] const auto& cwds() const { return m_found.cwds; }

    [[nodiscard]] const auto& processTable() const { return m_found.processTable; }

    /// Filled one pid at a time, by `loadOpenFiles`.
    [[nodiscard]] const auto& openFiles() const { return m_openFiles; }

    /// By pid, the unit or the program that looks after a candidate.
    [[nodiscard]] const auto& managers() const { return m_found.managers; }

    /// What is wrong at the moment.
    [[nodiscard]] const std::vector<Problem>& problems() const { return m_problems; }

    [[nodiscard]] const VintrelCore::ScanHistory& scanHistory() const { return m_scanHistory; }

    [[nodiscard]] CleanLogStore& cleanLog() { return m_cleanLog; }

    [[nodiscard]] const PIDSet& dismissedPIDs() const { return m_dismissedPIDs; }

    [[nodiscard]] bool hasScanned() const { return m_hasScanned; }

    /// The pids of the last completed scan; absent when the next one is to announce nothing.
    [[nodiscard]] const std::optional<PIDSet>& previousPIDs() const { return m_previousPIDs; }

    // The settings. A change is written at once and takes effect with the next scan.
    [[nodiscard]] double scanInterval() const { return m_preferences.scanInterval; }

    [[nodiscard]] double elapsedThreshold() const { return m_preferences.elapsedThreshold; }

    [[nodiscard]] const auto& ignoredNames() const { return m_preferences.ignoredNames; }

    [[nodiscard]] const auto& protectedProjects() const { return m_preferences.protectedProjects; }

    [[nodiscard]] const auto& disabledKinds() const { return m_preferences.disabledKinds; }

    [[nodiscard]] const auto& customRules() const { return m_preferences.customRules; }

    [[nodiscard]] bool notificationsEnabled() const { return m_preferences.notificationsEnabled; }

    /// In seconds; what is not above 0 is disregarded. The first one restarts the timer.
    void setScanInterval(double seconds);
    void setElapsedThreshold(double seconds);
    void setIgnoredNames(std::vector<std::string> rules);
    void setProtectedProjects(std::vector<std::string> folders);
    void setDisabledKinds(std::set<VintrelCore::ProcessKind> kinds);
    void setCustomRules(std::vector<VintrelCore::CustomRule> rules);
    /// Turning it on asks the desktop, and turns it off again when that refuses.
    void setNotificationsEnabled(bool isEnabled);

    /// Scans, unless a scan is under way. Returns at once.
    void scan();

    /// Brings hidden items back with a scan that announces nothing.
    void restoreHiddenAndScan();

    /// Hides a candidate, and what is folded into its row, until `restoreHiddenAndScan` or the end.
    void dismiss(int32_t pid);

    [[nodiscard]] bool isProtected(const Item& item) const;
    /// Whether this one entry of the protected projects covers the item.
    [[nodiscard]] bool isProtected(const Item& item, const std::string& entry) const;

    /// Whether rules go by folders, and that of the item is unknown: it is ended by itself or not at all.
    [[nodiscard]] bool staysOutOfSweeps(const Item& item) const;

    /// What "Clean all" ends: the safe items that are not protected, as far as that can be told.
    [[nodiscard]] Items sweepableSafeItems() const;

    /// Why nothing may be swept now: a fact that protects is missing.
    [[nodiscard]] std::optional<std::string> reasonNotToClean() const;

    /// Ends one item, records it, and scans; then calls `completion`.
    void kill(const Item& item,
              const std::function<void(const VintrelCore::KillCore::KillResult&)>& completion = {});

    /// Ends these items at once, less those that are protected, records what has ended, and scans; then calls
    /// `completion`. With a reason not to clean nothing is ended, and the summary is empty.
    void clean(const Items& items, const CleanCompletion& completion);

    /// `clean` for what is sweepable, after a first scan if there has been none.
    void cleanAllSafe(const std::function<void(const CleanSummary&)>& completion);

    /// What an address asks for. A scan announces every stray; a clean is followed by a notification.
    void perform(VintrelCore::URLScheme::Command command);
    void fireCleanResultNotification(const CleanSummary& summary);

    /// Updates the state of the container engine without a scan.
    void askForContainers() { m_containers.ask(); }

    /// Looks up what a process and those folded into its row have open.
    void loadOpenFiles(int32_t pid);

    /// Adds to the clean log which of the items have ended.
    void recordCleaned(const Items& items, const KillService::Outcomes& outcomes);

signals:
    /// A field has another value now.
    void changed(Vintrel::EngineField field);

private:
    template <typename Value>
    void setPreference(Value& current, Value value, Preferences::Key key, Field field);
    template <typename Value>
    void publish(Value& current, Value value, Field field);

    void startTimer();
    void finishScan(VintrelCore::Scan::Result result, const VintrelCore::CPUSampler::Reading& usedCPU);
    void publishResult(VintrelCore::Scan::Result result, const VintrelCore::CPUSampler::Reading& usedCPU);
    std::vector<Field> adopt(VintrelCore::Scan::Result result);
    bool concludeScan();
    void dropWhatIsGone(Items& items) const;
    void forgetOpenFilesOfOthers(const Items& oldItems);
    void afterFirstScan(std::function<void()> action);
    void requestAuthorization();
    void fireNotificationIfNeeded(const Items& newItems, const std::optional<PIDSet>& previousPIDs);
    void post(const UserNotification& notification);
    void end(const Items& items, const std::function<void(const KillService::Outcomes&)>& completion);
    void record(const Items& items, const KillService::Outcomes& outcomes,
                const VintrelCore::CwdResolver::CwdMap& cwds);
    [[nodiscard]] VintrelCore::ScanRules rules() const;
    [[nodiscard]] VintrelCore::ScanFaults presentFaults() const;
    void savePreferences();
    void updateProblems();

    UserNotifications& m_notifications;
    ScanSources m_sources;
    VintrelCore::Scan::Result m_found;
    ContainerOwners m_containers;
    bool m_isScanning = false;
    bool m_isToRestore = false;
    std::unordered_map<int32_t, VintrelCore::OpenFileList> m_openFiles;
    std::vector<Problem> m_problems;
    Preferences m_preferences;
    ProtectedFolders m_protectedFolders;
    std::optional<std::string> m_settingsProblem;
    std::set<Preferences::Key> m_unsavedPreferences;
    CleanLogStore m_cleanLog;
    PIDSet m_dismissedPIDs;
    std::optional<PIDSet> m_previousPIDs;
    VintrelCore::ScanHistory m_scanHistory;
    VintrelCore::CPUSampler m_cpuSampler;
    QTimer m_timer;
    bool m_hasScanned = false;
    std::vector<std::function<void()>> m_afterFirstScan;
    Items m_endedDuringScan;
    Items m_ending;
};

} // namespace Vintrel
