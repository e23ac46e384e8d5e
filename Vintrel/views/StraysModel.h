#pragma once

#include "Vintrel/engine/EngineField.h"
#include "Vintrel/views/Reasoning.h"
#include "Vintrel/views/StrayList.h"
#include "VintrelCore/model/Bucket.h"
#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/model/ProcessItem.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include <QObject>

namespace Vintrel {

class FileBrowser;
class ScanEngine;

/// The first tab without its widgets: which rows there are and what they say, what the user has expanded,
/// collapsed and typed, and what the buttons do. Lives on the main thread.
class StraysModel : public QObject {
    Q_OBJECT

public:
    using Item = VintrelCore::ProcessItem;
    using Items = std::vector<Item>;
    using ProcessKind = VintrelCore::ProcessKind;

    /// Which process a row is about. A number alone may come to mean another one.
    struct RowKey {
        int32_t pid = 0;
        std::optional<VintrelCore::ProcStartTime> startTime{};

        auto operator<=>(const RowKey&) const = default;
    };

    /// What a row shows.
    struct Row {
        Item item{};
        std::string label{};                  ///< of the kind, or the user's own
        std::string descriptor{};             ///< whose it is
        std::string figures{};                ///< age, processor and memory
        bool isProtected = false;             ///< only ever on safe rows
        bool isEnding = false;                ///< the user asked for it, and it is under way
        bool isSoleSafe = false;              ///< the one that the shortcut ends
        std::string failure{};                ///< why it could not be ended; empty if nobody tried
        std::optional<Reasoning> reasoning{}; ///< of an expanded row

        bool operator==(const Row&) const = default;

        [[nodiscard]] RowKey key() const { return {item.pid, item.startTime}; }

        /// As a sentence, for who cannot see it.
        [[nodiscard]] std::string sentence() const;
    };

    /// The rows of one kind in one section.
    struct Group {
        ProcessKind kind = ProcessKind::custom;
        size_t count = 0; ///< also of a collapsed group, which has no rows
        bool isCollapsed = false;
        std::vector<Row> rows{};
    };

    struct Section {
        VintrelCore::Bucket bucket = VintrelCore::Bucket::safe;
        size_t count = 0;
        std::vector<Group> groups{};
    };

    /// Both must outlive the model.
    StraysModel(ScanEngine& engine, FileBrowser& fileBrowser, QObject* parent = nullptr);

    [[nodiscard]] ScanEngine& engine() const { return m_engine; }

    // What is shown.
    /// The safe candidates that match the filter, in the engine's order.
    [[nodiscard]] Items safeItems() const;
    /// Those that need review and match the filter, in the engine's order.
    [[nodiscard]] Items reviewItems() const;
    [[nodiscard]] bool matchesFilter(const Item& item) const;
    /// Whether the last scan still knows that very process.
    [[nodiscard]] bool isListed(const Item& item) const;
    /// With its first rows only, for who shows no more of them.
    [[nodiscard]] Section section(VintrelCore::Bucket bucket,
                                  size_t mostRows = std::numeric_limits<size_t>::max()) const;
    /// What "Clean all" ends: the safe items that match the filter, less the protected ones.
    [[nodiscard]] Items sweepableSafeItems() const;

    /// The memory of those, in KiB.
    [[nodiscard]] int64_t safeReclaimableKB() const { return memoryKB(sweepableSafeItems()); }

    /// The memory of all these, in KiB.
    [[nodiscard]] static int64_t memoryKB(const Items& items);
    /// The only safe item that is listed; absent when there are none or several.
    [[nodiscard]] std::optional<Item> soleSafeItem() const;
    /// The line in place of rows; absent when there are rows.
    [[nodiscard]] std::optional<std::string> emptyText() const;
    /// What is wrong, a sentence each.
    [[nodiscard]] std::vector<std::string> problems() const;

    // What the user has done. It lasts as long as this does.
    [[nodiscard]] const std::string& filterText() const { return m_filterText; }

    [[nodiscard]] const std::unordered_set<int32_t>& expandedPIDs() const { return m_expandedPIDs; }

    [[nodiscard]] const std::set<ProcessKind>& collapsedKinds() const { return m_collapsedKinds; }

    [[nodiscard]] const std::set<ProcessKind>& seenKinds() const { return m_seenKinds; }

    [[nodiscard]] bool isCleaning() const { return m_isCleaning; }

    void setFilterText(std::string text);
    void toggleExpanded(int32_t pid);
    void toggleCollapsed(ProcessKind kind);

    // What buttons do.
    void rescan();
    /// What is not listed any more stays as it is.
    void dismiss(const Item& item);
    void toggleProtected(const Item& item);
    void kill(const Item& item);
    /// Ends what is sweepable.
    void cleanAll();
    /// The same, less what was not in these items: nobody ends what they have not seen.
    void cleanAll(const Items& shown);
    /// Ends the only safe item that is listed, if there is exactly one; shows it first, if its group is
    /// collapsed.
    void soleSafeKillShortcut();
    /// Where the process works, as an absolute path; absent when it is not known.
    [[nodiscard]] std::optional<std::string> workingDirectory(const Item& item) const;

    [[nodiscard]] FileBrowser& fileBrowser() const { return m_fileBrowser; }

signals:
    /// What is shown may have changed. Once for all that the engine tells in one go.
    void changed();

private:
    void follow(EngineField field);
    void initCollapsedKinds();
    void forgetWhatIsGone();
    void concludeWhatIsOver();
    [[nodiscard]] bool hasNoProcesses() const;
    void scheduleChange();
    void concludeEnding(const RowKey& key, const std::optional<std::string>& failure);
    [[nodiscard]] Items itemsIn(VintrelCore::Bucket bucket) const;
    [[nodiscard]] Row row(const Item& item, bool isSoleSafe) const;

    /// How the wish to end a row stands.
    struct Ending {
        bool isUnderWay = false;
        bool isOver = false; ///< it has ended, but no scan has seen that yet
        std::string failure{};
    };

    ScanEngine& m_engine;
    FileBrowser& m_fileBrowser;
    std::unordered_set<int32_t> m_expandedPIDs;
    std::map<int32_t, RowKey> m_expandedKeys; // which processes the user meant by them
    std::set<ProcessKind> m_collapsedKinds;
    std::set<ProcessKind> m_seenKinds;
    std::string m_filterText;
    StrayList::Filter m_filter{""};
    std::map<RowKey, Ending> m_endings;
    bool m_hasScanned;
    bool m_isCleaning = false;
    bool m_isChangeScheduled = false;
};

} // namespace Vintrel
