#include "tests/app/preferences/StoredPreferences.h"

#include "tests/app/preferences/Description.h"
#include "tests/core/base/FolderContent.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <sstream>
#include <stdexcept>

#include <QSettings>
#include <gtest/gtest.h>

namespace VintrelTests {

namespace fs = std::filesystem;

using Vintrel::Preferences;

std::string described(const Preferences& values) {
    return descriptionOf(values);
}

Preferences distinctValues() {
    using VintrelCore::ProcessKind;
    return {.elapsedThreshold = 900.5,
            .scanInterval = 45,
            .ignoredNames = {"node @ ~/work", "vite"},
            .protectedProjects = {"~/src/shop", "/srv/app"},
            .disabledKinds = {ProcessKind::vite, ProcessKind::goRun},
            .customRules = {{"ssh-agent", "Keys"}, {"hugo", "Site"}},
            .notificationsEnabled = true};
}

Preferences manyEntries(size_t count, std::string_view mark) {
    Preferences values = distinctValues();
    values.ignoredNames.clear();
    for (size_t entry = 0; entry < count; ++entry) {
        values.ignoredNames.push_back(std::string(mark) + " number " + std::to_string(entry) + " @ ~/work");
    }
    values.protectedProjects = {"~/" + std::string(mark)};
    return values;
}

std::string readByAnotherProgram() {
    Process program({.argv = {VINTREL_TEST_PREFERENCES}});
    std::string output = program.readAll();
    if (program.wait() != 0) {
        throw std::runtime_error("the program that reads the settings failed");
    }
    return output;
}

void expectStored(const Preferences& values) {
    const auto [read, problem] = Preferences::load();
    EXPECT_EQ(problem, std::nullopt);
    EXPECT_EQ(described(read), described(values));
    EXPECT_EQ(readByAnotherProgram(), described(values));
}

QMap<QString, QVariant> storedIn(const fs::path& file) {
    const TemporaryFolder elsewhere; // Qt knows files by their paths, and might know this one already
    const fs::path copy = elsewhere.path() / "copy.conf";
    fs::copy_file(file, copy);
    const QSettings settings(QString::fromStdString(copy.string()), QSettings::IniFormat);
    QMap<QString, QVariant> values;
    for (const QString& key : settings.allKeys()) {
        values[key] = settings.value(key);
    }
    EXPECT_EQ(settings.status(), QSettings::NoError);
    return values;
}

Picture pictureOf(const fs::path& folder) {
    Picture picture;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".writing") {
            continue; // the lock
        }
        std::ostringstream what;
        what << static_cast<int>(entry.symlink_status().type()) << ' ' << std::oct << modeOf(entry.path())
             << ' ';
        if (entry.is_symlink()) {
            what << fs::read_symlink(entry.path());
        } else {
            what << bytesOf(entry.path()).value_or("");
        }
        picture[entry.path().string()] = what.str();
    }
    return picture;
}

std::set<std::string> keptWith(const std::string& bytes, const fs::path& settingsFile) {
    std::set<std::string> names;
    for (const std::string& name : namesIn(settingsFile.parent_path())) {
        if (name != settingsFile.filename() && bytesOf(settingsFile.parent_path() / name) == bytes) {
            names.insert(name);
        }
    }
    return names;
}

} // namespace VintrelTests
