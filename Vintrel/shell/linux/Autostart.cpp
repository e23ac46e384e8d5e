#include "Vintrel/shell/linux/Autostart.h"

#include "Vintrel/shell/Desktop.h"
#include "VintrelCore/base/AtomicFile.h"
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <expected>
#include <filesystem>
#include <system_error>
#include <utility>

#include <QCoreApplication>
#include <QFile>

#include <unistd.h>

namespace Vintrel {

using VintrelCore::AtomicFile::target;
using Found = std::expected<std::string, int>;
namespace File = VintrelCore::File;
namespace Path = VintrelCore::Path;
namespace Text = VintrelCore::Text;

namespace {

constexpr size_t largestEntry = size_t{1} << 20;

constexpr std::string_view hiddenKey = "Hidden";
constexpr std::string_view switchKey = "X-GNOME-Autostart-enabled"; // that desktop's own way to say the same
constexpr std::string_view execKey = "Exec";

/// All that an entry of this program's own consists of.
constexpr auto ownKeys =
    std::to_array<std::string_view>({"Type", "Name", "Comment", "Icon", execKey, "X-GNOME-Autostart-Delay",
                                     "X-KDE-autostart-after", "X-LXQt-Need-Tray", hiddenKey, switchKey});

/// The rest of an entry. Where the user chose other values, those stand. The last three have the icon appear
/// on panels that start later than the programs.
constexpr auto usualValues = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"Name", "Vintrel"},
    {"Comment", "Finds stray development processes and ends them safely"},
    {"Icon", "dev.vintrel.Vintrel"},
    {"X-GNOME-Autostart-Delay", "2"},
    {"X-KDE-autostart-after", "panel"},
    {"X-LXQt-Need-Tray", "true"},
});

std::string environmentValue(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return value != nullptr ? value : "";
}

std::vector<std::string> pieces(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    for (const std::string_view piece : Text::split(text, separator)) {
        if (!piece.empty()) {
            pieces.emplace_back(piece);
        }
    }
    return pieces;
}

std::string entryBelow(std::string_view folder) {
    return std::string(Path::withoutTrailingSlashes(folder)) + "/autostart/" +
           std::string(Autostart::fileName);
}

/// "" without a home.
std::string userEntry() {
    const std::string folder = VintrelCore::Platform::settingsFolder();
    return folder.empty() ? folder : entryBelow(folder);
}

/// Those that may be there for all users, best first.
std::vector<std::string> entriesForAll() {
    const std::string configured = environmentValue("XDG_CONFIG_DIRS");
    std::vector<std::string> entries;
    for (const std::string& folder : pieces(configured.empty() ? "/etc/xdg" : configured, ':')) {
        if (folder.starts_with('/')) {
            entries.push_back(entryBelow(folder));
        }
    }
    return entries;
}

bool isMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

Found read(const std::string& path) {
    return path.empty() ? std::unexpected(ENOENT) : File::readOrError(path, largestEntry);
}

/// The first entry for all users that there is, whether or not it can be read.
Found readForAll() {
    for (const std::string& path : entriesForAll()) {
        if (Found found = read(path); found || !isMissing(found.error())) {
            return found;
        }
    }
    return std::unexpected(ENOENT);
}

bool isProgram(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

bool isFound(const std::string& program, const std::vector<std::string>& folders) {
    if (program.contains('/')) {
        return isProgram(program);
    }
    return std::ranges::any_of(folders, [&program](const std::string& folder) {
        return isProgram(std::string(Path::withoutTrailingSlashes(folder)) + "/" + program);
    });
}

bool fits(const DesktopEntry& entry, const std::vector<std::string>& desktops) {
    const auto only = entry.list("OnlyShowIn");
    const auto except = entry.list("NotShowIn");
    const auto names = [](const auto& list, const std::string& desktop) {
        return list && std::ranges::find(*list, desktop) != list->end();
    };
    for (const std::string& desktop : desktops) { // the first that is named decides
        if (names(only, desktop)) {
            return true;
        }
        if (names(except, desktop)) {
            return false;
        }
    }
    return !only;
}

bool write(const std::string& path, const std::string& text) {
    const auto file = target(path);
    return file && VintrelCore::AtomicFile::write(*file, text);
}

} // namespace

Autostart::Autostart(std::string program) : m_program(std::move(program)) {}

Autostart::Surroundings Autostart::Surroundings::present() {
    return {.desktops = pieces(environmentValue("XDG_CURRENT_DESKTOP"), ':'),
            .programs = pieces(environmentValue("PATH"), ':')};
}

bool Autostart::isInEffect(const DesktopEntry& entry, const Surroundings& surroundings) {
    const std::string needed = entry.value("TryExec").value_or("");
    return !entry.value(execKey).value_or("").empty() && !entry.flag(hiddenKey).value_or(false) &&
           entry.flag(switchKey).value_or(true) && fits(entry, surroundings.desktops) &&
           (needed.empty() || isFound(needed, surroundings.programs));
}

std::optional<std::string> Autostart::enabling(std::string_view entry, std::string_view program) {
    const auto command = DesktopEntry::commandFor(program);
    if (!command || !program.starts_with('/')) {
        return std::nullopt;
    }
    DesktopEntry changed(entry);
    changed.remove(hiddenKey);
    changed.remove(switchKey);
    changed.set("Type", "Application");
    changed.set(execKey, *command + " --service");
    for (const auto& [key, value] : usualValues) {
        if (!changed.value(key)) {
            changed.set(key, value);
        }
    }
    return changed.text();
}

std::optional<std::string> Autostart::disabling(std::string_view entry, std::string_view program,
                                                bool hidesAnother) {
    if (!hidesAnother && DesktopEntry(entry).holdsOnly(ownKeys)) {
        return std::nullopt;
    }
    // A desktop disregards an incomplete entry and would start the other one: it has to be a whole one.
    DesktopEntry changed(entry.empty() ? enabling(entry, program).value_or("") : entry);
    changed.set(hiddenKey, "true");
    return changed.text();
}

bool Autostart::isEnabled() const {
    Found found = read(userEntry());
    if (!found && isMissing(found.error())) {
        found = readForAll();
    }
    return found && isInEffect(DesktopEntry(*found), Surroundings::present());
}

bool Autostart::setEnabled(bool isEnabled) {
    const std::string path = userEntry();
    const Found found = read(path);
    if (path.empty() || (!found && !isMissing(found.error()))) {
        return false;
    }
    const std::string present = found.value_or("");
    if (isEnabled) {
        const auto text = enabling(present, m_program);
        return text && isProgram(m_program) && isInEffect(DesktopEntry(*text), Surroundings::present()) &&
               (text == present || write(path, *text));
    }
    const Found another = readForAll();
    const bool hidesAnother = another || !isMissing(another.error());
    if (!hidesAnother && !found) {
        return true;
    }
    if (const auto text = disabling(present, m_program, hidesAnother)) {
        return text == present || write(path, *text);
    }
    return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

namespace Desktop {

std::unique_ptr<LoginItem> makeLoginItem() {
    const QByteArray program = QFile::encodeName(QCoreApplication::applicationFilePath());
    return std::make_unique<Autostart>(program.toStdString());
}

} // namespace Desktop

} // namespace Vintrel
