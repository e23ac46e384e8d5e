#include "Vintrel/engine/PreferencesStore.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <array>

#include <QStringList>
#include <QVariant>

namespace Vintrel::PreferencesStore {

const QString organisation = QStringLiteral("Vintrel");
const QString application = QStringLiteral("Vintrel");

namespace {

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

} // namespace

QString nameOf(Preferences::Key key) {
    static constexpr std::array<const char*, 7> names{"elapsedThreshold",    "scanInterval",  "ignoredNames",
                                                      "protectedProjects",   "disabledKinds", "customRules",
                                                      "notificationsEnabled"};
    return QLatin1String(names.at(static_cast<size_t>(key)));
}

QString file() {
    // The toolkit's own idea of that folder: below "/" without HOME, and relative to a relative variable.
    if (const std::string folder = VintrelCore::Platform::settingsFolder(); !folder.empty()) {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(folder));
    }
    const QSettings neighbour(organisation, QStringLiteral("none")); // does not exist
    QString path = neighbour.fileName();
    return path.replace(path.lastIndexOf(QStringLiteral("none")), 4, application);
}

bool isText(const QString& path) {
    return path.endsWith(QStringLiteral(".conf"));
}

std::expected<std::string, int> read(const std::string& path) {
    constexpr size_t largestFile = size_t{16} << 20;
    return VintrelCore::File::readOrError(path, largestFile); // of a regular file, and no other
}

bool areDamaged(std::string_view bytes) {
    return bytes.contains('\0') || !VintrelCore::Text::isValidUTF8(bytes) || losesQuotes(bytes);
}

bool isWhole(const QSettings& store) {
    [[maybe_unused]] const QStringList parsed = store.allKeys(); // only now does it look at every line
    return store.status() == QSettings::NoError;
}

std::vector<std::string> texts(const QSettings& store, Preferences::Key key) {
    const QVariant value = store.value(nameOf(key));
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

} // namespace Vintrel::PreferencesStore
