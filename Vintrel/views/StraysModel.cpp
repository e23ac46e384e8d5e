#include "Vintrel/views/StraysModel.h"

#include "Vintrel/engine/Announcements.h"
#include "Vintrel/engine/ByteCount.h"
#include "Vintrel/engine/ScanEngine.h"
#include "VintrelCore/base/Saturating.h"
#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

#include <QPointer>
#include <QTimer>

namespace Vintrel {

namespace {

using VintrelCore::Bucket;
using VintrelCore::UnicodeText::printable;

/// Names of tools keep their small letters.
std::string withCapital(std::string sentence) {
    const bool isTool = sentence.starts_with("lsof ") || sentence.starts_with("ps ");
    if (!isTool && !sentence.empty() && sentence.front() >= 'a' && sentence.front() <= 'z') {
        sentence.front() = static_cast<char>(sentence.front() - 'a' + 'A');
    }
    return sentence;
}

} // namespace

std::string StraysModel::Row::sentence() const {
    std::string text = label + (descriptor == label ? "" : ", " + descriptor) + ", " + figures;
    if (isProtected) {
        text += ". Protected — kept out of “Clean all”";
    }
    if (isEnding) {
        text += ", ending";
    }
    return failure.empty() ? text : text + ". " + failure;
}

StraysModel::StraysModel(ScanEngine& engine, FileBrowser& fileBrowser, QObject* parent)
    : QObject(parent), m_engine(engine), m_fileBrowser(fileBrowser), m_hasScanned(engine.hasScanned()) {
    connect(&engine, &ScanEngine::changed, this, &StraysModel::follow);
    initCollapsedKinds();
}

void StraysModel::follow(EngineField field) {
    if (field == EngineField::items) {
        initCollapsedKinds();
        forgetWhatIsGone();
    } else if (field == EngineField::isScanning && !m_engine.isScanning()) {
        m_hasScanned = true;
        concludeWhatIsOver();
    }
    scheduleChange();
}

/// Whether the last scan could not find out which processes there are.
bool StraysModel::hasNoProcesses() const {
    return std::ranges::find(m_engine.problems(), Problem::Source::processes, &Problem::source) !=
           m_engine.problems().end();
}

/// What should have ended but is still listed says so.
void StraysModel::concludeWhatIsOver() {
    if (hasNoProcesses()) { // what is listed is from before
        return;
    }
    for (const Item& item : m_engine.items()) {
        const auto ending = m_endings.find({item.pid, item.startTime});
        if (ending != m_endings.end() && ending->second.isOver) {
            ending->second = {.failure = "Not ended: still there"};
        }
    }
    std::erase_if(m_endings, [](const auto& entry) { return entry.second.isOver; });
}

/// The engine tells of a scan field by field; redrawing once is enough.
void StraysModel::scheduleChange() {
    if (!std::exchange(m_isChangeScheduled, true)) {
        QTimer::singleShot(0, this, [this] {
            m_isChangeScheduled = false;
            emit changed();
        });
    }
}

void StraysModel::initCollapsedKinds() {
    for (const StrayList::Group& group : StrayList::grouped(m_engine.items(), m_engine.cwds())) {
        if (m_seenKinds.insert(group.kind).second && StrayList::startsCollapsed(group)) {
            m_collapsedKinds.insert(group.kind);
        }
    }
}

/// Numbers may come to mean other processes, which nobody has expanded or tried to end.
void StraysModel::forgetWhatIsGone() {
    std::map<int32_t, RowKey> keys;
    for (const Item& item : m_engine.items()) {
        keys.emplace(item.pid, RowKey{item.pid, item.startTime});
    }
    std::erase_if(m_expandedPIDs, [&](int32_t pid) {
        const auto now = keys.find(pid);
        const auto before = m_expandedKeys.find(pid);
        return now == keys.end() || (before != m_expandedKeys.end() && before->second != now->second);
    });
    std::erase_if(m_expandedKeys,
                  [this](const auto& entry) { return !m_expandedPIDs.contains(entry.first); });
    std::erase_if(m_endings, [&](const auto& entry) {
        const auto now = keys.find(entry.first.pid);
        return (now == keys.end() || now->second != entry.first) &&
               (!entry.second.isUnderWay || entry.second.isOver);
    });
}

// What is shown

bool StraysModel::matchesFilter(const Item& item) const {
    return m_filter.matches(item, m_engine.cwds(), m_engine.listeningPorts());
}

bool StraysModel::isListed(const Item& item) const {
    return std::ranges::any_of(m_engine.items(), [&item](const Item& listed) {
        return listed.pid == item.pid && listed.startTime == item.startTime;
    });
}

StraysModel::Items StraysModel::itemsIn(Bucket bucket) const {
    Items items;
    std::ranges::copy_if(m_engine.items(), std::back_inserter(items), [this, bucket](const Item& item) {
        return item.bucket() == bucket && matchesFilter(item);
    });
    return items;
}

StraysModel::Items StraysModel::safeItems() const {
    return itemsIn(Bucket::safe);
}

StraysModel::Items StraysModel::reviewItems() const {
    return itemsIn(Bucket::needsReview);
}

StraysModel::Section StraysModel::section(Bucket bucket, size_t mostRows) const {
    const Items items = itemsIn(bucket);
    Section section{.bucket = bucket, .count = items.size()};
    for (const StrayList::Group& group : StrayList::grouped(items, m_engine.cwds())) {
        Group shown{.kind = group.kind,
                    .count = group.items.size(),
                    .isCollapsed = m_collapsedKinds.contains(group.kind)};
        if (!shown.isCollapsed) {
            const bool isSole = bucket == Bucket::safe && items.size() == 1;
            const size_t count = std::min(group.items.size(), mostRows);
            mostRows -= count;
            std::ranges::transform(std::span(group.items).first(count), std::back_inserter(shown.rows),
                                   [this, isSole](const Item& item) { return row(item, isSole); });
        }
        section.groups.push_back(std::move(shown));
    }
    return section;
}

StraysModel::Row StraysModel::row(const Item& item, bool isSoleSafe) const {
    Row row{.item = item,
            .label = printable(item.displayLabel()),
            .descriptor = printable(StrayList::rowDescriptor(item, m_engine.cwds())),
            .figures = StrayList::ageString(item.elapsed) + " · " + StrayList::cpuText(item.cpuPercent) +
                       " · " + memoryTextOfKB(item.rssKB),
            .isProtected = item.bucket() == Bucket::safe && m_engine.isProtected(item),
            .isSoleSafe = isSoleSafe};
    const auto ending = m_endings.find(row.key());
    if (ending != m_endings.end()) {
        row.isEnding = ending->second.isUnderWay;
        row.failure = ending->second.failure;
    }
    if (m_expandedPIDs.contains(item.pid)) {
        row.reasoning = Reasoning::of(item, m_engine);
    }
    return row;
}

StraysModel::Items StraysModel::sweepableSafeItems() const {
    Items items = safeItems();
    std::erase_if(items, [this](const Item& item) {
        return m_engine.isProtected(item) || m_engine.staysOutOfSweeps(item);
    });
    return items;
}

int64_t StraysModel::memoryKB(const Items& items) {
    int64_t sum = 0;
    for (const Item& item : items) {
        sum = VintrelCore::Saturating::sum(sum, item.rssKB);
    }
    return sum;
}

std::optional<StraysModel::Item> StraysModel::soleSafeItem() const {
    const Items items = safeItems();
    return items.size() == 1 ? std::optional(items.front()) : std::nullopt;
}

std::optional<std::string> StraysModel::emptyText() const {
    const Items& items = m_engine.items();
    if (items.empty()) {
        if (m_engine.isScanning() && !m_hasScanned) {
            return "Scanning…";
        }
        return hasNoProcesses() ? std::nullopt : std::optional("No stray processes detected.");
    }
    if (std::ranges::any_of(items, [this](const Item& item) { return matchesFilter(item); })) {
        return std::nullopt;
    }
    return "No processes match “" + m_filterText + "”";
}

std::vector<std::string> StraysModel::problems() const {
    std::vector<std::string> sentences;
    for (const Problem& problem : m_engine.problems()) {
        if (problem.source != Problem::Source::containers) { // the containers tab tells of those
            sentences.push_back(withCapital(problem.text));
        }
    }
    return sentences;
}

// What the user does

void StraysModel::setFilterText(std::string text) {
    if (m_filterText != text) {
        m_filterText = std::move(text);
        m_filter = StrayList::Filter(m_filterText);
        emit changed();
    }
}

void StraysModel::toggleExpanded(int32_t pid) {
    if (m_expandedPIDs.erase(pid) > 0) {
        m_expandedKeys.erase(pid);
    } else {
        m_expandedPIDs.insert(pid);
        const auto item = std::ranges::find(m_engine.items(), pid, &Item::pid);
        if (item != m_engine.items().end()) {
            m_expandedKeys.insert_or_assign(pid, RowKey{pid, item->startTime});
        }
        if (!m_engine.openFiles().contains(pid)) {
            m_engine.loadOpenFiles(pid);
        }
    }
    emit changed();
}

void StraysModel::toggleCollapsed(ProcessKind kind) {
    if (m_collapsedKinds.erase(kind) == 0) {
        m_collapsedKinds.insert(kind);
    }
    emit changed();
}

void StraysModel::rescan() {
    m_engine.restoreHiddenAndScan();
}

void StraysModel::dismiss(const Item& item) {
    if (isListed(item)) { // a scan may have come in between
        m_engine.dismiss(item.pid);
    }
}

void StraysModel::toggleProtected(const Item& item) {
    const auto cwd = m_engine.cwds().find(item.pid);
    if (cwd == m_engine.cwds().end() || !isListed(item)) {
        return;
    }
    std::vector<std::string> folders = m_engine.protectedProjects();
    if (m_engine.isProtected(item)) {
        std::erase_if(folders, [&](const std::string& entry) { return m_engine.isProtected(item, entry); });
    } else {
        folders.push_back(cwd->second.projectRoot.value_or(cwd->second.fullPath));
    }
    m_engine.setProtectedProjects(std::move(folders));
}

void StraysModel::kill(const Item& item) {
    const RowKey key{item.pid, item.startTime};
    if (m_endings[key].isUnderWay) {
        return;
    }
    m_endings[key] = {.isUnderWay = true};
    emit changed();
    const QPointer<StraysModel> self(this); // the view may be gone before the grace period is over
    m_engine.kill(item, [self, key](const auto& result) {
        if (self) {
            self->concludeEnding(key, Announcements::notEnded(result));
        }
    });
}

void StraysModel::concludeEnding(const RowKey& key, const std::optional<std::string>& failure) {
    if (failure) {
        m_endings[key] = {.failure = *failure};
    } else if (m_engine.isScanning()) {
        m_endings[key].isOver = true; // what is shown is from before, until that scan ends
    } else {
        m_endings.erase(key);
    }
    scheduleChange();
}

void StraysModel::cleanAll() {
    cleanAll(sweepableSafeItems());
}

void StraysModel::cleanAll(const Items& shown) {
    const auto keyOf = [](const Item& item) { return RowKey{item.pid, item.startTime}; };
    Items items = sweepableSafeItems();
    std::erase_if(items, [&](const Item& item) {
        const auto ending = m_endings.find(keyOf(item)); // they may be ended one by one already
        return (ending != m_endings.end() && ending->second.isUnderWay) ||
               std::ranges::find(shown, keyOf(item), keyOf) == shown.end();
    });
    if (items.empty() || m_isCleaning) {
        return;
    }
    m_isCleaning = true;
    for (const Item& item : items) {
        m_endings[keyOf(item)] = {.isUnderWay = true};
    }
    emit changed();
    const QPointer<StraysModel> self(this);
    m_engine.clean(items, [self, items, keyOf](const auto&, const KillService::Outcomes& outcomes) {
        StraysModel* const model = self.data();
        if (model == nullptr) {
            return;
        }
        model->m_isCleaning = false;
        for (const Item& item : items) {
            const auto outcome = outcomes.find(item.pid);
            if (outcome == outcomes.end()) {
                model->m_endings.erase(keyOf(item)); // it was not touched
            } else {
                model->concludeEnding(keyOf(item), Announcements::notEnded(outcome->second));
            }
        }
        model->scheduleChange();
    });
}

void StraysModel::soleSafeKillShortcut() {
    const auto item = soleSafeItem();
    if (!item) {
        return;
    }
    if (m_collapsedKinds.contains(item->kind)) {
        toggleCollapsed(item->kind); // nobody ends what they do not see
    } else {
        kill(*item);
    }
}

std::optional<std::string> StraysModel::workingDirectory(const Item& item) const {
    const auto cwd = m_engine.cwds().find(item.pid);
    if (cwd == m_engine.cwds().end()) {
        return std::nullopt;
    }
    const std::string& path = cwd->second.fullPath;
    const bool isBelowHome = path == "~" || path.starts_with("~/");
    return isBelowHome ? VintrelCore::Platform::homeFolder() + path.substr(1) : path;
}

} // namespace Vintrel
