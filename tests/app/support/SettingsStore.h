#pragma once

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <QSettings>

namespace VintrelTests {

/// A configuration folder in which the preferences are looked for, until the end of the scope. Each store
/// needs a new one: Qt keeps what it has read of a file for the life of the process.
class SettingsStore {
public:
    SettingsStore();

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder.path(); }

    [[nodiscard]] std::filesystem::path file() const { return folder() / "Vintrel/Vintrel.conf"; }

    /// Where an administrator's settings for all users would stand.
    [[nodiscard]] const std::filesystem::path& systemWide() const { return m_systemWide.path(); }

    /// Writes settings the way the application does. It does so in another place and copies the file: Qt
    /// would remember the values themselves, and reading them back from text is what is being tested.
    void fill(const std::function<void(QSettings&)>& setValues) const;

    /// Writes the file as somebody would with an editor, or as an accident leaves it.
    void write(std::string_view bytes) const { m_folder.write("Vintrel/Vintrel.conf", bytes); }

    /// Every file and folder, with its time of change and its bytes.
    using Contents = std::map<std::string, std::pair<std::filesystem::file_time_type, std::string>>;

    [[nodiscard]] Contents contents() const;

private:
    TemporaryFolder m_folder;
    TemporaryFolder m_systemWide;
    ScopedEnvironment m_configHome{"XDG_CONFIG_HOME", m_folder.path().string()};
    ScopedEnvironment m_configDirs{"XDG_CONFIG_DIRS", m_systemWide.path().string()};
};

} // namespace VintrelTests
