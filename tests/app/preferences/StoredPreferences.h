#pragma once

#include "Vintrel/engine/Preferences.h"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include <QMap>
#include <QString>
#include <QVariant>

namespace VintrelTests {

using Key = Vintrel::Preferences::Key;

inline const std::set<Key> allKeys = {Key::elapsedThreshold,    Key::scanInterval,  Key::ignoredNames,
                                      Key::protectedProjects,   Key::disabledKinds, Key::customRules,
                                      Key::notificationsEnabled};

/// All values as text; different ones give different texts.
std::string described(const Vintrel::Preferences& values);

/// Settings of which none has its default.
Vintrel::Preferences distinctValues();

/// Settings with a list of so many entries, for files of any size. Which of two such lists it is can be seen
/// at each entry.
Vintrel::Preferences manyEntries(size_t count, std::string_view mark);

/// What a program that is started now reads: the values, described, or what the problem is.
std::string readByAnotherProgram();

/// Expects the store to load without a problem, here and in another program, as these values.
void expectStored(const Vintrel::Preferences& values);

/// The values as they stand in the file, whatever their names are.
QMap<QString, QVariant> storedIn(const std::filesystem::path& file);

/// What stands in a folder and below: the kind, the permissions and the bytes (or where it leads) of each by
/// its path. Without the lock of the writers, that stays where it is.
using Picture = std::map<std::string, std::string>;
Picture pictureOf(const std::filesystem::path& folder);

/// The files in the folder of the settings that hold exactly these bytes, the settings themselves apart.
std::set<std::string> keptWith(const std::string& bytes, const std::filesystem::path& settingsFile);

} // namespace VintrelTests
