#include "Vintrel/engine/Preferences.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace Vintrel {

namespace {

using VintrelCore::CustomRule;

const QString organisation = QStringLiteral("Vintrel");
const QString application = QStringLiteral("Vintrel");

/// A stored number when it is a usable period, else nothing.
std::optional<double> period(const QSettings& store, const char* key) {
    const double value = store.value(QLatin1String(key)).toDouble(); // 0 for what is absent or no number
    return std::isfinite(value) && value > 0 ? std::optional(value) : std::nullopt;
}

std::vector<std::string> texts(const QSettings& store, const char* key) {
    const QVariant value = store.value(QLatin1String(key));
    // The store's text form writes a list of one as a plain string, and an empty list as an invalid value.
    const bool isList = value.typeId() == QMetaType::QStringList || value.typeId() == QMetaType::QString ||
                        value.typeId() == QMetaType::QVariantList;
    std::vector<std::string> entries;
    if (isList) {
        for (const QString& entry : value.toStringList()) {
            entries.push_back(entry.toStdString());
        }
    }
    return entries;
}

bool flag(const QSettings& store, const char* key) {
    const QString text = store.value(QLatin1String(key)).toString().trimmed().toLower();
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return text == QLatin1String("true") || text == QLatin1String("yes") || (isNumber && number != 0);
}

/// Whether quotation marks in an INI file do not end on the line where they begin. QSettings takes all that
/// follows a lost one for part of the value and reports no error; it never writes such a line itself.
bool losesQuotes(std::string_view bytes) {
    bool isQuoted = false;
    for (size_t index = 0; index < bytes.size(); ++index) {
        const char byte = bytes[index];
        if (byte == '\\') {
            ++index; // whatever follows is taken as it is, also the end of the line
        } else if (byte == '"') {
            isQuoted = !isQuoted;
        } else if (isQuoted && (byte == '\n' || byte == '\r')) {
            return true;
        } else if (!isQuoted && byte == ';') { // a comment, to the end of the line
            index = std::min(bytes.find('\n', index), bytes.size());
        }
    }
    return isQuoted;
}

/// The file that the store is kept in, without opening it: what stands there may be a pipe, and opening that
/// waits.
QString storeFile() {
    const QSettings neighbour(organisation, QStringLiteral("none")); // does not exist
    QString path = neighbour.fileName();
    return path.replace(path.lastIndexOf(QStringLiteral("none")), 4, application);
}

/// What is wrong with the store's file, if anything, in words that go behind its name.
std::optional<std::string> problemOf(const QString& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path.toStdString(), error);
    const bool isLink =
        std::filesystem::is_symlink(std::filesystem::symlink_status(path.toStdString(), error));
    if (status.type() == std::filesystem::file_type::not_found && !isLink) {
        return std::nullopt; // nothing has been stored yet
    }
    constexpr size_t largestFile = size_t{16} << 20;
    const auto bytes =
        VintrelCore::File::read(path.toStdString(), largestFile); // of a regular file, and no other
    if (!bytes) {
        return "cannot be read";
    }
    const bool isText = path.endsWith(QStringLiteral(".conf")); // other systems keep a format of their own
    if (isText && (bytes->contains('\0') || !VintrelCore::Text::isValidUTF8(*bytes) || losesQuotes(*bytes))) {
        return "are damaged";
    }
    return std::nullopt;
}

std::string sentence(const QString& path, const std::string& problem) {
    return "the settings in " + path.toStdString() + " " + problem;
}

} // namespace

Preferences::Loaded Preferences::load() {
    const QString path = storeFile();
    if (const auto problem = problemOf(path)) {
        return {.problem = sentence(path, *problem)};
    }
    QSettings store(organisation, application);
    store.setFallbacksEnabled(false);                            // one file, one truth
    [[maybe_unused]] const QStringList parsed = store.allKeys(); // only now does it look at every line
    if (store.status() != QSettings::NoError) {
        return {.problem = sentence(path, "are damaged")};
    }
    Loaded loaded;
    Preferences& values = loaded.values;
    values.elapsedThreshold = period(store, "elapsedThreshold").value_or(values.elapsedThreshold);
    values.scanInterval = period(store, "scanInterval").value_or(values.scanInterval);
    values.ignoredNames = texts(store, "ignoredNames");
    values.protectedProjects = texts(store, "protectedProjects");
    for (const std::string& rawValue : texts(store, "disabledKinds")) {
        if (const auto kind = VintrelCore::ProcessKinds::fromRawValue(rawValue)) {
            values.disabledKinds.insert(*kind);
        }
    }
    for (const std::string& line : texts(store, "customRules")) {
        if (auto rule = CustomRule::parse(line)) {
            values.customRules.push_back(*std::move(rule));
        }
    }
    values.notificationsEnabled = flag(store, "notificationsEnabled");
    return loaded;
}

} // namespace Vintrel
