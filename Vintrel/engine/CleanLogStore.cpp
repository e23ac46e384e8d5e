#include "Vintrel/engine/CleanLogStore.h"

#include "VintrelCore/base/AtomicFile.h"
#include "VintrelCore/base/File.h"
#include "VintrelCore/log/CleanLog.h"
#include "VintrelCore/log/CleanLogFile.h"

#include <chrono>
#include <system_error>
#include <utility>

#include <sys/stat.h>

namespace Vintrel {

using VintrelCore::CleanEvent;
namespace CleanLog = VintrelCore::CleanLog;
namespace CleanLogFile = VintrelCore::CleanLogFile;

CleanLogStore::CleanLogStore(std::string fileURL, int64_t cap, QObject* parent)
    : QObject(parent), m_fileURL(std::move(fileURL)), m_cap(cap), m_version(versionOnDisk()) {
    m_saved = CleanLogFile::load(m_fileURL, m_cap);
    m_events = m_saved;
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &CleanLogStore::watchFolder);
    watchFolder();
}

void CleanLogStore::record(const CleanEvent& event) {
    record({&event, 1});
}

void CleanLogStore::record(std::span<const CleanEvent> newEvents) {
    if (newEvents.empty()) {
        return;
    }
    for (CleanEvent event : newEvents) {
        event.timestamp = std::chrono::floor<std::chrono::seconds>(event.timestamp); // as the file has it
        m_unsaved.push_back(std::move(event));
    }
    m_unsaved = CleanLog::capped(std::move(m_unsaved), m_cap);
    CleanLogFile::Appended appended = CleanLogFile::append(m_unsaved, m_fileURL, m_cap, m_saved);
    if (appended.isSaved) {
        m_saved = std::move(appended.events);
        m_unsaved.clear();
    }
    updateEvents();
    watchFolder();
}

CleanLogStore::Version CleanLogStore::versionOnDisk() const {
    struct stat status{};
    if (::stat(m_fileURL.c_str(), &status) != 0) {
        return {};
    }
    std::error_code error;
    return {.device = static_cast<uint64_t>(status.st_dev),
            .node = static_cast<uint64_t>(status.st_ino),
            .size = static_cast<int64_t>(status.st_size),
            .changed = std::filesystem::last_write_time(m_fileURL, error)};
}

void CleanLogStore::watchFolder() {
    // The folder, not the file: each write puts another file in its place. As long as it is missing, the one
    // that it is to appear in.
    std::filesystem::path folder =
        std::filesystem::path(VintrelCore::AtomicFile::target(m_fileURL).value_or(m_fileURL)).parent_path();
    while (folder.has_relative_path() && !VintrelCore::File::exists(folder.string())) {
        folder = folder.parent_path();
    }
    const QStringList watched = m_watcher.directories();
    const QString name = QString::fromStdString(folder.string());
    if (!name.isEmpty() && watched != QStringList{name}) {
        if (!watched.isEmpty()) {
            m_watcher.removePaths(watched);
        }
        m_watcher.addPath(name);
    }
    lookAtFile(); // after that: somebody may have written just before
}

void CleanLogStore::lookAtFile() {
    const Version version = versionOnDisk();
    if (version == m_version) {
        return;
    }
    m_version = version;
    // What is damaged now was whole before: the next write brings it back.
    if (auto events = CleanLogFile::loadIfWhole(m_fileURL, m_cap)) {
        m_saved = *std::move(events);
        updateEvents();
    }
}

void CleanLogStore::updateEvents() {
    std::vector<CleanEvent> events = m_saved;
    events.insert(events.end(), m_unsaved.begin(), m_unsaved.end());
    events = CleanLog::capped(std::move(events), m_cap);
    if (events != m_events) {
        m_events = std::move(events);
        emit eventsChanged();
    }
}

} // namespace Vintrel
