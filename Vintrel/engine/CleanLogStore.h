#pragma once

#include "VintrelCore/log/CleanEvent.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <QFileSystemWatcher>
#include <QObject>

namespace Vintrel {

/// The clean log in memory, for views to observe. The command line writes the same file: what it adds is
/// noticed and shown, and neither loses the other's events.
class CleanLogStore : public QObject {
    Q_OBJECT

public:
    /// Loads the file at once. `cap` is the most events that are kept.
    CleanLogStore(std::string fileURL, int64_t cap, QObject* parent = nullptr);

    /// Oldest first.
    [[nodiscard]] const std::vector<VintrelCore::CleanEvent>& events() const { return m_events; }

    [[nodiscard]] const std::string& fileURL() const { return m_fileURL; }

    [[nodiscard]] int64_t cap() const { return m_cap; }

    /// Adds an event, here and to the file.
    void record(const VintrelCore::CleanEvent& event);

    /// Adds many with one write.
    void record(std::span<const VintrelCore::CleanEvent> newEvents);

    /// Whether all that was recorded is in the file. If not, it is here, and the next write that succeeds
    /// takes it along.
    [[nodiscard]] bool isSaved() const { return m_unsaved.empty(); }

signals:
    /// `events` are other ones than before.
    void eventsChanged();

private:
    /// Which file it was and in what state: every write makes a new file.
    struct Version {
        uint64_t device = 0;
        uint64_t node = 0;
        int64_t size = -1;
        std::filesystem::file_time_type changed{};

        bool operator==(const Version&) const = default;
    };

    [[nodiscard]] Version versionOnDisk() const;
    void watchFolder();
    void lookAtFile();
    void updateEvents();

    std::string m_fileURL;
    int64_t m_cap;
    std::vector<VintrelCore::CleanEvent> m_events; // the next two together
    std::vector<VintrelCore::CleanEvent> m_saved;  // what the file holds, as far as it is known
    std::vector<VintrelCore::CleanEvent> m_unsaved;
    Version m_version;
    QFileSystemWatcher m_watcher;
};

} // namespace Vintrel
