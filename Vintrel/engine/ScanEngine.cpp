#include "Vintrel/engine/ScanEngine.h"

#include "Vintrel/engine/Announcements.h"
#include "Vintrel/engine/Background.h"
#include "VintrelCore/base/Saturating.h"
#include "VintrelCore/log/CleanLog.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "VintrelCore/scan/Protection.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include <QPointer>

namespace Vintrel {

using namespace VintrelCore;
using KillCore::KillResult;

namespace {

std::optional<std::string> complaintAbout(VintrelCore::DockerService::EngineState engine) {
    switch (engine) {
    case VintrelCore::DockerService::EngineState::notAnswering:
        return "the container engine does not answer";
    case VintrelCore::DockerService::EngineState::notPermitted:
        return "this account may not use the container engine";
    default:
        return std::nullopt;
    }
}

/// Whether the very process is among the items.
bool contains(const std::vector<ProcessItem>& items, const ProcessItem& item) {
    return std::ranges::any_of(items, [&item](const ProcessItem& other) {
        return other.pid == item.pid && other.startTime == item.startTime;
    });
}

/// Whether nothing of an item is there any more, whoever ended it.
bool isGone(const KillCore::KillResult& result) {
    return KillCore::isCleaned(result) ||
           (result.detail == KillCore::KillDetail::alreadyGone && !KillCore::isLeftRunning(result));
}

bool isCleaned(const ProcessItem& item, const KillService::Outcomes& outcomes) {
    const auto outcome = outcomes.find(item.pid);
    return outcome != outcomes.end() && KillCore::isCleaned(outcome->second);
}

} // namespace

ScanEngine::ScanEngine(UserNotifications& notifications, ScanSources sources, QObject* parent)
    : QObject(parent),
      m_notifications(notifications),
      m_sources(std::move(sources)),
      m_containers(m_sources.containerOwners),
      m_cleanLog(CleanLogFile::defaultURL(), CleanLogFile::retentionCap) {
    Preferences::removeLeftovers();
    Preferences::Loaded loaded = Preferences::load();
    m_preferences = std::move(loaded.values);
    m_settingsProblem = std::move(loaded.problem);
    m_protectedFolders.setEntries(m_preferences.protectedProjects);
    updateProblems();
    connect(&m_cleanLog, &CleanLogStore::eventsChanged, this, &ScanEngine::updateProblems);
    connect(&m_containers, &ContainerOwners::changed, this, [this] {
        const QPointer<ScanEngine> self(this);
        emit changed(Field::containerOwners);
        if (self) {
            updateProblems();
        }
    });
    connect(&m_timer, &QTimer::timeout, this, &ScanEngine::scan);
    startTimer();
}

// Scanning

void ScanEngine::startTimer() {
    const double milliseconds =
        std::min(std::ceil(m_preferences.scanInterval * 1'000), double{std::numeric_limits<int>::max()});
    m_timer.start(static_cast<int>(milliseconds));
}

void ScanEngine::scan() {
    if (m_isScanning) {
        return;
    }
    m_endedDuringScan.clear();
    m_protectedFolders.followLinks();
    publish(m_isScanning, true, Field::isScanning);
    const Scan::Inputs inputs{
        .rules = rules(), .dismissedPIDs = m_dismissedPIDs, .home = m_protectedFolders.protection().home};
    const auto work = [inputs, scan = m_sources.scan, usedCPU = m_sources.usedCPU](int interrupt) {
        Scan::Result result = scan(inputs, interrupt);
        CPUSampler::Reading used = usedCPU(result.items);
        return std::pair(std::move(result), std::move(used));
    };
    Background::shared().run(this, work, [this](std::pair<Scan::Result, CPUSampler::Reading> found) {
        finishScan(std::move(found.first), found.second);
    });
}

ScanRules ScanEngine::rules() const {
    return {.elapsedThreshold = m_preferences.elapsedThreshold,
            .ignoredNames = m_preferences.ignoredNames,
            .protectedProjects = m_preferences.protectedProjects,
            .disabledKinds = m_preferences.disabledKinds,
            .customRules = m_preferences.customRules};
}

template <typename Value>
void ScanEngine::publish(Value& current, Value value, Field field) {
    if (current != value) {
        current = std::move(value);
        emit changed(field);
    }
}

void ScanEngine::finishScan(Scan::Result result, const CPUSampler::Reading& usedCPU) {
    const QPointer<ScanEngine> self(this);
    if (result.faults.table == Shell::Fault::none) {
        m_hasScanned = true;
        publishResult(std::move(result), usedCPU);
    } else { // nothing was found out; what was known before may still hold
        m_found.faults = result.faults;
        concludeScan();
    }
    while (self && !m_afterFirstScan.empty()) {
        const auto action = m_afterFirstScan.front();
        m_afterFirstScan.erase(m_afterFirstScan.begin());
        action();
    }
}

void ScanEngine::publishResult(Scan::Result result, const CPUSampler::Reading& usedCPU) {
    dropWhatIsGone(result.items);
    std::optional<PIDSet> previousPIDs = PIDSet();
    std::ranges::transform(result.items, std::inserter(*previousPIDs, previousPIDs->end()),
                           &ProcessItem::pid);
    previousPIDs.swap(m_previousPIDs);
    const Items newItems = result.items; // observers may dismiss some of them
    const Items oldItems = m_found.items;
    const QPointer<ScanEngine> self(this);
    const std::vector<Field> fields = adopt(std::move(result));
    m_containers.update(m_found.mayHoldContainers);
    if (!self) {
        return; // an observer ended the engine
    }
    for (const Field field : fields) {
        emit changed(field);
        if (!self) {
            return;
        }
    }
    if (m_cpuSampler.isDue(usedCPU)) {
        m_scanHistory = m_scanHistory.recording(m_cpuSampler.observe(newItems, usedCPU));
    }
    forgetOpenFilesOfOthers(oldItems);
    if (!self || !concludeScan()) {
        return;
    }
    fireNotificationIfNeeded(newItems, previousPIDs);
    if (std::exchange(m_isToRestore, false)) {
        m_previousPIDs.reset();
        scan();
    }
}

/// Whether no observer ended the engine.
bool ScanEngine::concludeScan() {
    const QPointer<ScanEngine> self(this);
    updateProblems();
    if (self) {
        publish(m_isScanning, false, Field::isScanning);
    }
    return !self.isNull();
}

/// Takes all of it over before anybody is told of any of it: who acts on new items must find what is known of
/// them. What has changed, in the order in which it is to be told.
std::vector<ScanEngine::Field> ScanEngine::adopt(Scan::Result result) {
    std::vector<Field> fields;
    const auto note = [&fields](const auto& before, const auto& after, Field field) {
        if (before != after) {
            fields.push_back(field);
        }
    };
    note(m_found.items, result.items, Field::items);
    note(m_found.listeningPorts, result.listeningPorts, Field::listeningPorts);
    note(m_found.cwds, result.cwds, Field::cwds);
    note(m_found.processTable, result.processTable, Field::processTable);
    note(m_found.managers, result.managers, Field::managers);
    m_found = std::move(result);
    return fields;
}

/// What was dismissed or ended after the scan had begun.
void ScanEngine::dropWhatIsGone(Items& items) const {
    std::erase_if(items, [this](const Item& item) {
        return m_dismissedPIDs.contains(item.pid) || contains(m_endedDuringScan, item);
    });
}

void ScanEngine::updateProblems() {
    std::vector<Problem> problems;
    const ScanFaults faults = presentFaults();
    const auto add = [&problems](Problem::Source source, std::optional<std::string> text) {
        if (text) {
            problems.push_back({.source = source, .text = *std::move(text)});
        }
    };
    add(Problem::Source::processes, complaintAboutTable(faults));
    add(Problem::Source::details, complaintAboutDetails(faults));
    if (faults.metDeadMount && rules().goByFolders()) {
        add(Problem::Source::mount, "a mount does not answer: what is protected is unknown");
    }
    if (faults.details == Shell::Fault::none && faults.foldersUnknown && rules().goByFolders()) {
        add(Problem::Source::details,
            "no working directory could be found out: what is protected is unknown");
    }
    add(Problem::Source::containers, complaintAbout(m_containers.engine()));
    add(Problem::Source::settings, m_settingsProblem);
    if (!m_unsavedPreferences.empty()) {
        add(Problem::Source::settings, "the settings could not be written");
    }
    if (!m_cleanLog.isSaved()) {
        add(Problem::Source::cleanLog, "the clean log could not be written");
    }
    publish(m_problems, std::move(problems), Field::problems);
}

void ScanEngine::restoreHiddenAndScan() {
    m_dismissedPIDs.clear();
    m_previousPIDs.reset();
    m_isToRestore = m_isScanning; // the scan under way still leaves them out
    scan();
}

void ScanEngine::dismiss(int32_t pid) {
    m_dismissedPIDs.insert(pid);
    Items kept;
    for (const Item& item : m_found.items) {
        if (item.pid != pid) {
            kept.push_back(item);
            continue;
        }
        // Alone, a server would come back as a row of its own.
        for (const FoldedProcess& process : item.folded) {
            m_dismissedPIDs.insert(process.pid);
        }
    }
    publish(m_found.items, std::move(kept), Field::items);
}

/// Of what has gone, and of whose number means another process than in `oldItems`.
void ScanEngine::forgetOpenFilesOfOthers(const Items& oldItems) {
    auto openFiles = m_openFiles;
    std::erase_if(openFiles, [this, &oldItems](const auto& entry) {
        const auto item = std::ranges::find(m_found.items, entry.first, &ProcessItem::pid);
        const auto before = std::ranges::find(oldItems, entry.first, &ProcessItem::pid);
        return item == m_found.items.end() ||
               (before != oldItems.end() && before->startTime != item->startTime);
    });
    publish(m_openFiles, std::move(openFiles), Field::openFiles);
}

void ScanEngine::loadOpenFiles(int32_t pid) {
    std::vector<int32_t> pids{pid};
    const auto item = std::ranges::find(m_found.items, pid, &ProcessItem::pid);
    if (item != m_found.items.end()) {
        pids = allPIDsOf({&*item, 1});
    }
    const auto work = [pids, openFiles = m_sources.openFiles](int interrupt) {
        return openFiles(pids, interrupt);
    };
    Background::shared().run(this, work, [this, pid](OpenFileList files) {
        auto openFiles = m_openFiles;
        openFiles.insert_or_assign(pid, std::move(files));
        publish(m_openFiles, std::move(openFiles), Field::openFiles);
    });
}

// Ending

bool ScanEngine::isProtected(const Item& item) const {
    return m_protectedFolders.protection().covers(item, m_found.cwds);
}

bool ScanEngine::isProtected(const Item& item, const std::string& entry) const {
    Protection one = m_protectedFolders.protection();
    one.entries = {entry};
    return one.covers(item, m_found.cwds);
}

bool ScanEngine::staysOutOfSweeps(const Item& item) const {
    return VintrelCore::isFolderUnknown(item, m_found.cwds, m_found.ended) && rules().goByFolders();
}

ScanEngine::Items ScanEngine::sweepableSafeItems() const {
    Items items;
    std::ranges::copy_if(m_found.items, std::back_inserter(items), [this](const Item& item) {
        return item.bucket() == Bucket::safe && !isProtected(item) && !staysOutOfSweeps(item);
    });
    return items;
}

std::optional<std::string> ScanEngine::reasonNotToClean() const {
    return VintrelCore::reasonNotToClean(presentFaults(), rules(), m_settingsProblem);
}

/// Those of the last scan, and what has been learned of folders since.
ScanFaults ScanEngine::presentFaults() const {
    ScanFaults faults = m_found.faults;
    faults.metDeadMount = faults.metDeadMount || m_protectedFolders.areUnreachable();
    return faults;
}

void ScanEngine::kill(const Item& item, const std::function<void(const KillResult&)>& completion) {
    end({item}, [item, completion](const KillService::Outcomes& outcomes) {
        if (completion) {
            completion(outcomes.at(item.pid));
        }
    });
}

void ScanEngine::clean(const Items& items, const CleanCompletion& completion) {
    const auto sweep = [this, items, cwds = m_found.cwds, ended = m_found.ended, completion] {
        if (reasonNotToClean()) {
            updateProblems(); // it may have come up just now
            completion({}, {});
            return;
        }
        Items chosen = items;
        std::erase_if(chosen, [this, &cwds, &ended](const Item& item) {
            return isProtected(item) || m_protectedFolders.protection().covers(item, cwds) ||
                   (VintrelCore::isFolderUnknown(item, cwds, ended) && rules().goByFolders()) ||
                   m_dismissedPIDs.contains(item.pid) || contains(m_ending, item);
        });
        end(chosen, [chosen, completion](const KillService::Outcomes& outcomes) {
            CleanSummary summary{.requested = static_cast<int>(chosen.size())};
            for (const Item& item : chosen) {
                if (isCleaned(item, outcomes)) {
                    ++summary.cleaned;
                    summary.reclaimedKB = Saturating::sum(summary.reclaimedKB, item.rssKB);
                }
            }
            completion(summary, outcomes);
        });
    };
    // Choose what to sweep last: the user may protect or hide rows during the wait.
    m_protectedFolders.whenKnown([this, sweep] { m_containers.whenKnown(sweep); });
}

/// Ends items, records what has ended, and scans; then calls `completion`.
void ScanEngine::end(const Items& items,
                     const std::function<void(const KillService::Outcomes&)>& completion) {
    m_ending.insert(m_ending.end(), items.begin(), items.end());
    const auto finish = [this, items, cwds = m_found.cwds, completion](const auto& outcomes) {
        record(items, outcomes, cwds);
        std::erase_if(m_ending, [&items](const Item& item) { return contains(items, item); });
        scan();
        completion(outcomes);
    };
    // Until the owners are known, a container's process must not be ended like an ordinary one.
    m_containers.whenKnown([this, items, finish] {
        KillService::kill(items, m_containers.answer(), this, finish, m_sources.kill);
    });
}

void ScanEngine::cleanAllSafe(const std::function<void(const CleanSummary&)>& completion) {
    afterFirstScan([this, completion] {
        clean(sweepableSafeItems(),
              [completion](const CleanSummary& summary, const auto&) { completion(summary); });
    });
}

void ScanEngine::afterFirstScan(std::function<void()> action) {
    if (m_hasScanned) {
        action();
        return;
    }
    m_afterFirstScan.push_back(std::move(action));
    scan();
}

void ScanEngine::recordCleaned(const Items& items, const KillService::Outcomes& outcomes) {
    record(items, outcomes, m_found.cwds);
}

/// `cwds` are those from before the items ended: a scan may have come in between that knows no more of them.
void ScanEngine::record(const Items& items, const KillService::Outcomes& outcomes,
                        const CwdResolver::CwdMap& cwds) {
    std::vector<CleanEvent> events;
    for (const Item& item : items) {
        if (isCleaned(item, outcomes)) {
            events.push_back(CleanLog::makeCleanEvent(item, cwds, m_sources.now()));
        }
        const auto outcome = outcomes.find(item.pid);
        if (outcome != outcomes.end() && isGone(outcome->second)) {
            m_endedDuringScan.push_back(item);
        }
    }
    m_cleanLog.record(events);
}

void ScanEngine::perform(URLScheme::Command command) {
    if (command == URLScheme::Command::scan) {
        m_previousPIDs = PIDSet(); // so that the scan announces every stray
        scan();
        return;
    }
    afterFirstScan([this] {
        if (!reasonNotToClean() && sweepableSafeItems().empty()) {
            fireCleanResultNotification({}); // without another scan
            return;
        }
        cleanAllSafe([this](const CleanSummary& summary) {
            const auto reason = reasonNotToClean();
            if (reason && summary.requested == 0) {
                post(Announcements::cleanRefused(*reason));
            } else {
                fireCleanResultNotification(summary);
            }
        });
    });
}

// Telling the user

void ScanEngine::fireNotificationIfNeeded(const Items& newItems, const std::optional<PIDSet>& previousPIDs) {
    if (!m_preferences.notificationsEnabled || !previousPIDs) {
        return;
    }
    if (const auto notification = Announcements::newStrays(newItems, *previousPIDs)) {
        m_notifications.add(*notification);
    }
}

void ScanEngine::fireCleanResultNotification(const CleanSummary& summary) {
    post(Announcements::cleanResult(summary));
}

void ScanEngine::post(const UserNotification& notification) {
    using Authorization = UserNotifications::Authorization;
    UserNotifications* const notifications = &m_notifications; // outlive the engine
    notifications->readAuthorization([notifications, notification](Authorization authorization) {
        if (authorization != Authorization::notDetermined) {
            notifications->add(notification);
            return;
        }
        notifications->requestAuthorization(
            [notifications, notification](bool) { notifications->add(notification); });
    });
}

} // namespace Vintrel
