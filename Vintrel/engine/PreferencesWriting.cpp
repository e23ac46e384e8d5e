// QSettings leaves an empty or truncated file on a full disk and says that all went well, and it overwrites a
// damaged file. So it never writes to the user's file: it writes to a scratch file, which is read back, and
// whose bytes then replace the user's.
#include "Vintrel/engine/Preferences.h"
#include "Vintrel/engine/PreferencesStore.h"
#include "VintrelCore/base/AtomicFile.h"
#include "VintrelCore/base/DamagedFile.h"
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileLock.h"
#include "VintrelCore/base/Path.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <expected>
#include <filesystem>
#include <iterator>
#include <map>
#include <string_view>
#include <system_error>

#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

namespace Vintrel {

namespace {

using VintrelCore::AtomicFile::target;
using Key = Preferences::Key;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A writer holds the lock for milliseconds.
constexpr std::chrono::seconds lockTimeout{5};

constexpr std::string_view lockEnding = ".writing";
constexpr std::string_view scratchEnding = ".scratch-";
constexpr std::string_view placeholder = "XXXXXX";

/// As Qt takes them: it drops a mark of the byte order in front.
QStringList asList(const std::vector<std::string>& texts) {
    QStringList list;
    std::ranges::transform(texts, std::back_inserter(list), QString::fromStdString);
    return list;
}

/// The texts that a list is stored as; empty for what is no list.
std::vector<std::string> storedTexts(const Preferences& values, Key key) {
    std::vector<std::string> texts;
    if (key == Key::ignoredNames) {
        texts = values.ignoredNames;
    } else if (key == Key::protectedProjects) {
        texts = values.protectedProjects;
    } else if (key == Key::disabledKinds) {
        std::ranges::transform(values.disabledKinds, std::back_inserter(texts),
                               [](auto kind) { return std::string(VintrelCore::rawValue(kind)); });
    } else if (key == Key::customRules) {
        std::ranges::transform(values.customRules, std::back_inserter(texts),
                               VintrelCore::CustomRule::serialize);
    }
    return texts;
}

QVariant storedValue(const Preferences& values, Key key) {
    switch (key) {
    case Key::elapsedThreshold:
        return values.elapsedThreshold;
    case Key::scanInterval:
        return values.scanInterval;
    case Key::notificationsEnabled:
        return values.notificationsEnabled;
    default:
        return asList(storedTexts(values, key));
    }
}

/// Whether what was read back is what was meant.
bool isStored(const QSettings& store, const Preferences& values, Key key) {
    const QVariant read = store.value(PreferencesStore::nameOf(key));
    switch (key) {
    case Key::elapsedThreshold:
        return read.toDouble() == values.elapsedThreshold;
    case Key::scanInterval:
        return read.toDouble() == values.scanInterval;
    case Key::notificationsEnabled:
        return read.toBool() == values.notificationsEnabled;
    default:
        return asList(PreferencesStore::texts(store, key)) == asList(storedTexts(values, key));
    }
}

/// One change of a settings file, made on scratch files in a folder of their own.
class Rewriting {
public:
    Rewriting(const Preferences& values, const std::set<Key>& keys, const std::string& path)
        : m_values(values),
          m_keys(keys),
          m_folder(QString::fromStdString(path + std::string(scratchEnding) + std::string(placeholder))) {}

    enum class Failure {
        damaged,     ///< the present bytes make no sense
        notPossible, ///< the new ones could not be made
    };

    /// The file's new bytes. `old` are its present ones.
    std::expected<std::string, Failure> newBytes(const std::string& old) {
        // Names that QSettings has not seen: it remembers what it has read under a name.
        const std::string before = (fs::path(m_folder.path().toStdString()) / "before.conf").string();
        const std::string after = (fs::path(m_folder.path().toStdString()) / "after.conf").string();
        if (!m_folder.isValid() || !VintrelCore::AtomicFile::write(before, old)) {
            return std::unexpected(Failure::notPossible);
        }
        QSettings store(QString::fromStdString(before), QSettings::IniFormat);
        if (!PreferencesStore::isWhole(store)) {
            return std::unexpected(Failure::damaged);
        }
        std::error_code error;
        if (!write(store) || (fs::rename(before, after, error), error) || !isAsMeant(after)) {
            return std::unexpected(Failure::notPossible);
        }
        auto bytes = PreferencesStore::read(after);
        return bytes ? std::expected<std::string, Failure>(*std::move(bytes))
                     : std::unexpected(Failure::notPossible);
    }

private:
    bool write(QSettings& store) {
        for (const QString& name : store.allKeys()) {
            m_others.emplace(name, store.value(name));
        }
        for (const Key key : m_keys) {
            m_others.erase(PreferencesStore::nameOf(key));
            store.setValue(PreferencesStore::nameOf(key), storedValue(m_values, key));
        }
        store.sync();
        return store.status() == QSettings::NoError;
    }

    [[nodiscard]] bool isAsMeant(const std::string& path) const {
        const auto bytes = PreferencesStore::read(path);
        if (!bytes || PreferencesStore::areDamaged(*bytes)) {
            return false;
        }
        const QSettings store(QString::fromStdString(path), QSettings::IniFormat);
        return PreferencesStore::isWhole(store) &&
               std::ranges::all_of(m_keys, [&](Key key) { return isStored(store, m_values, key); }) &&
               std::ranges::all_of(m_others, [&store](const auto& other) {
                   return store.contains(other.first) && store.value(other.first) == other.second;
               });
    }

    const Preferences& m_values;
    const std::set<Key>& m_keys;
    QTemporaryDir m_folder;
    std::map<QString, QVariant> m_others; // not to be touched
};

/// What stands where the settings are to be.
struct Found {
    enum class Kind { nothing, settings, damaged, unreachable };

    Kind kind = Kind::unreachable;
    std::string bytes{}; ///< of settings
};

Found find(const std::string& path) {
    std::error_code error;
    const auto status = fs::symlink_status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return {.kind = Found::Kind::nothing};
    }
    if (status.type() != fs::file_type::regular) {
        return {};
    }
    auto bytes = PreferencesStore::read(path);
    if (!bytes) {
        // A file that this account may not read is as good as damaged; other failures to read it may pass.
        const bool isForGood = bytes.error() == EACCES || bytes.error() == EFBIG;
        return {.kind = isForGood ? Found::Kind::damaged : Found::Kind::unreachable};
    }
    if (PreferencesStore::areDamaged(*bytes)) {
        return {.kind = Found::Kind::damaged};
    }
    return {.kind = Found::Kind::settings, .bytes = *std::move(bytes)};
}

void removeLeftoversOf(const std::string& path) {
    VintrelCore::AtomicFile::removeLeftovers(path);
    const fs::path file(path);
    const std::string start = file.filename().string() + std::string(scratchEnding);
    std::error_code error;
    for (fs::directory_iterator entry(file.parent_path(), error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with(start) && name.size() == start.size() + placeholder.size()) {
            std::error_code whatever;
            fs::remove_all(entry->path(), whatever);
        }
    }
}

auto changedAt(const std::string& path) {
    std::error_code error; // the earliest time then
    return std::chrono::floor<std::chrono::milliseconds>(fs::last_write_time(path, error));
}

/// QSettings takes a file of the same size and time for the one that it has read before, and file systems
/// keep time in steps of milliseconds or seconds.
void setLaterThan(decltype(changedAt({})) before, const std::string& path) {
    for (const auto step : {1ms, 10ms, 2'000ms}) {
        if (changedAt(path) > before) {
            return;
        }
        std::error_code error; // the next step then
        fs::last_write_time(path, before + step, error);
    }
}

/// On systems with a settings store of their own, which looks after itself.
bool saveNatively(const Preferences& values, const std::set<Key>& keys) {
    QSettings store(PreferencesStore::organisation, PreferencesStore::application);
    for (const Key key : keys) {
        store.setValue(PreferencesStore::nameOf(key), storedValue(values, key));
    }
    store.sync();
    return store.status() == QSettings::NoError;
}

} // namespace

bool Preferences::save(const std::set<Key>& keys) const {
    const QString file = PreferencesStore::file();
    if (!PreferencesStore::isText(file)) {
        return saveNatively(*this, keys);
    }
    const auto path = target(file.toStdString());
    if (!path) {
        return false;
    }
    VintrelCore::File::makeFolders(std::string(VintrelCore::Path::parent(*path)));
    const auto lock = VintrelCore::FileLock::take(*path + std::string(lockEnding), lockTimeout);
    if (!lock) {
        return false; // somebody else is writing, and one of the two would lose what it writes
    }
    removeLeftoversOf(*path);
    const auto before = changedAt(*path);
    const Found found = find(*path);
    if (found.kind == Found::Kind::unreachable) {
        return false;
    }
    auto bytes = Rewriting(*this, keys, *path).newBytes(found.bytes);
    const bool isDamaged =
        found.kind == Found::Kind::damaged || (!bytes && bytes.error() == Rewriting::Failure::damaged);
    if (isDamaged && !bytes) {
        bytes = Rewriting(*this, keys, *path).newBytes("");
    }
    if (!bytes) {
        return false;
    }
    const bool isWritten = isDamaged ? VintrelCore::DamagedFile::replace(*path, *bytes)
                                     : VintrelCore::AtomicFile::write(*path, *bytes);
    if (isWritten) {
        setLaterThan(before, *path);
    }
    return isWritten;
}

void Preferences::removeLeftovers() {
    const auto path = target(PreferencesStore::file().toStdString());
    if (path && VintrelCore::File::exists(std::string(VintrelCore::Path::parent(*path)))) {
        if (const auto lock = VintrelCore::FileLock::take(*path + std::string(lockEnding), lockTimeout)) {
            removeLeftoversOf(*path);
        }
    }
}

} // namespace Vintrel
