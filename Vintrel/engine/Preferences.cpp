#include "Vintrel/engine/Preferences.h"

#include "Vintrel/engine/PreferencesStore.h"
#include "VintrelCore/base/AtomicFile.h"
#include "VintrelCore/base/DamagedFile.h"
#include "VintrelCore/base/File.h"

#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

#include <QSettings>
#include <QString>

namespace Vintrel {

namespace {

using PreferencesStore::texts;
using VintrelCore::CustomRule;

/// A stored number when it is a usable period, else nothing.
std::optional<double> period(const QSettings& store, Preferences::Key key) {
    const double value =
        store.value(PreferencesStore::nameOf(key)).toDouble(); // 0 for what is absent or no number
    return std::isfinite(value) && value > 0 ? std::optional(value) : std::nullopt;
}

bool flag(const QSettings& store, Preferences::Key key) {
    const QString text = store.value(PreferencesStore::nameOf(key)).toString().trimmed().toLower();
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return text == QLatin1String("true") || text == QLatin1String("yes") || (isNumber && number != 0);
}

/// What is wrong with the file before it is parsed, if anything, in words that go behind its name.
std::optional<std::string> problemOf(const QString& path) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path.toStdString(), error);
    if (status.type() == std::filesystem::file_type::not_found) {
        return std::nullopt; // nothing has been stored yet
    }
    const auto bytes = PreferencesStore::read(path.toStdString());
    if (!bytes) {
        return "cannot be read";
    }
    const bool isDamaged = PreferencesStore::isText(path) && PreferencesStore::areDamaged(*bytes);
    return isDamaged ? std::optional<std::string>("are damaged") : std::nullopt;
}

/// Whether a damaged file was kept when this one took its place.
bool wasDamaged(const QString& path) {
    const auto target = VintrelCore::AtomicFile::target(path.toStdString());
    return target && VintrelCore::File::exists(VintrelCore::DamagedFile::nameBeside(*target));
}

std::string sentence(const QString& path, const std::string& problem) {
    return "the settings in " + path.toStdString() + " " + problem;
}

} // namespace

Preferences::Loaded Preferences::load() {
    const QString path = PreferencesStore::file();
    if (const auto problem = problemOf(path)) {
        return {.problem = sentence(path, *problem)};
    }
    QSettings store(PreferencesStore::organisation, PreferencesStore::application);
    store.setFallbacksEnabled(false); // one file, one truth
    if (!PreferencesStore::isWhole(store)) {
        return {.problem = sentence(path, "are damaged")};
    }
    Loaded loaded;
    Preferences& values = loaded.values;
    values.elapsedThreshold = period(store, Key::elapsedThreshold).value_or(values.elapsedThreshold);
    values.scanInterval = period(store, Key::scanInterval).value_or(values.scanInterval);
    values.ignoredNames = texts(store, Key::ignoredNames);
    values.protectedProjects = texts(store, Key::protectedProjects);
    for (const std::string& rawValue : texts(store, Key::disabledKinds)) {
        if (const auto kind = VintrelCore::ProcessKinds::fromRawValue(rawValue)) {
            values.disabledKinds.insert(*kind);
        }
    }
    for (const std::string& line : texts(store, Key::customRules)) {
        if (auto rule = CustomRule::parse(line)) {
            values.customRules.push_back(*std::move(rule));
        }
    }
    if (!store.contains(PreferencesStore::nameOf(Key::protectedProjects)) && wasDamaged(path)) {
        loaded.problem = sentence(path, "were damaged, and may have protected projects");
    }
    values.notificationsEnabled = flag(store, Key::notificationsEnabled);
    return loaded;
}

} // namespace Vintrel
