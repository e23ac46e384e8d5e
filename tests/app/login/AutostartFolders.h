#pragma once

#include "Vintrel/shell/linux/Autostart.h"
#include "tests/core/base/FolderContent.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace VintrelTests {

/// Folders of a test's own for the user's entry, two for those for all users, and a program to be started.
class AutostartFolders {
public:
    AutostartFolders() { program = addProgram("bin/vintrel-app"); }

    [[nodiscard]] std::filesystem::path userEntry() const { return entryIn("config"); }

    [[nodiscard]] std::optional<std::string> userText() const { return bytesOf(userEntry()); }

    void writeUser(std::string_view text) const { write("config", text); }

    /// For all users; "first" counts before "second".
    void write(const std::string& folder, std::string_view text) const {
        root.write(std::filesystem::relative(entryIn(folder), root.path()), text);
    }

    [[nodiscard]] std::filesystem::path entryIn(const std::string& folder) const {
        return root.path() / folder / "autostart" / "dev.vintrel.Vintrel.desktop";
    }

    [[nodiscard]] std::string addProgram(const std::filesystem::path& relative) const {
        const auto path = root.write(relative, "#!/bin/sh\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path.string();
    }

    [[nodiscard]] Vintrel::Autostart item() const { return Vintrel::Autostart(program); }

    /// What is written where nothing was.
    [[nodiscard]] std::string freshEntry() const {
        return "[Desktop Entry]\n"
               "Type=Application\n"
               "Exec=" +
               program +
               " --service\n"
               "Name=Vintrel\n"
               "Comment=Finds stray development processes and ends them safely\n"
               "Icon=dev.vintrel.Vintrel\n"
               "X-GNOME-Autostart-Delay=2\n"
               "X-KDE-autostart-after=panel\n"
               "X-LXQt-Need-Tray=true\n";
    }

    TemporaryFolder root;
    std::string program;

private:
    ScopedEnvironment m_home{"HOME", (root.path() / "home").string()};
    ScopedEnvironment m_configHome{"XDG_CONFIG_HOME", (root.path() / "config").string()};
    ScopedEnvironment m_configDirs{"XDG_CONFIG_DIRS", (root.path() / "first").string() + ":" +
                                                          (root.path() / "second").string()};
    ScopedEnvironment m_desktop{"XDG_CURRENT_DESKTOP", "ubuntu:GNOME"};
    ScopedEnvironment m_path{"PATH", (root.path() / "bin").string()};
};

} // namespace VintrelTests
